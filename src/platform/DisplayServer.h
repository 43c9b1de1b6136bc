#pragma once

#include "domain/Geometry.h"

#include <QImage>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

namespace lumivane {

/// One display of the desktop. Rectangles are in points, in global coordinates with y growing
/// upward and the origin at the bottom left of the primary display.
struct DisplayInfo {
    std::uint32_t displayID = 0;
    Rect frame;                 ///< the whole display
    double pointPixelScale = 1; ///< pixels per point
    bool isPrimary = false;

    bool operator==(const DisplayInfo&) const = default;
};

/// A request for one still frame.
struct StillRequest {
    std::uint32_t displayID = 0;
    std::int64_t excludedProcessID = 0; ///< windows of this process are left out
    std::optional<Rect> sourceRect; ///< points, origin at the display's top left, y down; none: all
    PixelSize size;                 ///< pixels of the image that is wanted
};

/// The display server refused or failed; `what()` is safe to show.
class DisplayServerError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Displays, pointer and still frames of the desktop: mechanism only, no rules.
///
/// Every operation may be called from any thread and answers within a round trip or two;
/// `still` takes milliseconds and belongs on a worker.
class DisplayServer {
public:
    virtual ~DisplayServer() = default;

    /// Whether this process may read the screen now. Never prompts.
    virtual bool mayCapture() const = 0;

    /// The attached displays. Throws DisplayServerError when the server cannot be asked.
    virtual std::vector<DisplayInfo> displays() const = 0;

    /// The part of a display that panels and docks leave free, in the coordinates of
    /// DisplayInfo::frame; none when the display is no longer attached.
    virtual std::optional<Rect> visibleFrame(std::uint32_t displayID) const = 0;

    /// The pointer in global points, y growing upward; none when it cannot be read.
    virtual std::optional<Point> pointerLocation() const = 0;

    /// One still frame without the pointer's image and without the windows of the excluded
    /// process. Throws DisplayServerError.
    virtual QImage still(const StillRequest& request) const = 0;
};

/// The display that holds `location`: minX <= x < maxX and minY < y <= maxY. Answers the first
/// that does, or none.
std::optional<DisplayInfo> displayContaining(const std::vector<DisplayInfo>& displays,
                                             Point location);

/// The display that holds the pointer now; none when nothing does or the server does not answer.
std::optional<DisplayInfo> displayUnderPointer(const DisplayServer& server);

} // namespace lumivane
