#pragma once

#include "platform/DisplayServer.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace lumivane::test {

/// A display server of plain values that records what is asked of it. Any thread.
///
/// It starts with one display, number 1, of 1440 by 900 points at scale 1, the permission given,
/// no panels and the pointer in the middle.
class FakeDisplayServer final : public DisplayServer {
public:
    static constexpr std::uint32_t firstDisplayID = 1;

    struct Counts {
        int mayCapture = 0;
        int displays = 0;
        int visibleFrame = 0;
        int visibleFrameOffMainThread = 0;
        int pointerLocation = 0;
        int still = 0;
        int stillOnMainThread = 0;

        bool operator==(const Counts&) const = default;
    };

    FakeDisplayServer();

    // What it answers from now on.

    void setPermission(bool mayCapture);
    void setDisplays(std::vector<DisplayInfo> displays);

    /// Without one a display that is attached is free as a whole; none of it says that the
    /// display was detached since.
    void setVisibleFrame(std::uint32_t displayID, std::optional<Rect> visibleFrame);
    void setPointer(std::optional<Point> pointer);

    /// The frame to give, whatever size is asked for; a null one goes back to a grey frame of the
    /// size that is asked for.
    void setImage(QImage image);

    /// Makes `displays` or `still` throw a DisplayServerError of this text; none heals it.
    void failDisplays(std::optional<std::string> text);
    void failStill(std::optional<std::string> text);

    /// While held, `still` does not return. A test releases what it held before it ends.
    void holdStills();
    void releaseStills();

    // What was asked.

    Counts counts() const;
    std::vector<StillRequest> stillRequests() const;

    bool mayCapture() const override;
    std::vector<DisplayInfo> displays() const override;
    std::optional<Rect> visibleFrame(std::uint32_t displayID) const override;
    std::optional<Point> pointerLocation() const override;
    QImage still(const StillRequest& request) const override;

private:
    const DisplayInfo* find(std::uint32_t displayID) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_released;
    mutable Counts m_counts;
    mutable std::vector<StillRequest> m_stillRequests;
    bool m_mayCapture = true;
    std::vector<DisplayInfo> m_displays;
    std::map<std::uint32_t, std::optional<Rect>> m_visibleFrames;
    std::optional<Point> m_pointer;
    QImage m_image;
    std::optional<std::string> m_displaysFailure;
    std::optional<std::string> m_stillFailure;
    bool m_holdsStills = false;
};

} // namespace lumivane::test
