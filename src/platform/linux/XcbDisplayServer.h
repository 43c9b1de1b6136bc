#pragma once

#include "platform/DisplayServer.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace lumivane {

/// The display server of an X11 session.
///
/// Make it before the first window of the process is shown: from then on the server keeps the
/// content of covered windows, which is what stands where our own windows are left out. A
/// display's identifier is the atom of its monitor's name, the same for as long as the server
/// runs. When the server goes away every operation fails as its port says, and the process lives.
class XcbDisplayServer final : public DisplayServer {
public:
    /// Pixels per point of a monitor, by its name. Called on the thread of the operation that
    /// needs it; must not wait for another thread. What is not above 0 counts as 1.
    using ScaleOfMonitor = std::function<double(const QString& monitorName)>;

    /// Without a function every scale is 1; an empty name means the display in the environment.
    /// Throws DisplayServerError.
    explicit XcbDisplayServer(ScaleOfMonitor scaleOf = {}, const QByteArray& displayName = {});
    ~XcbDisplayServer() override;

    /// Reads one pixel of the screen, in one round trip: true where that works, false where the
    /// server refuses or is gone. X11 lets every client read unless an extension guards the screen.
    /// In a Wayland session it answers for the X server of that session, so true says nothing about
    /// the windows of other programs: those that are no X clients are not in its frames.
    bool mayCapture() const override;

    std::vector<DisplayInfo> displays() const override;

    /// Also none when the server cannot be asked. Without a window manager the whole frame.
    std::optional<Rect> visibleFrame(std::uint32_t displayID) const override;

    /// Also none where no monitor shows the pointer.
    std::optional<Point> pointerLocation() const override;

    /// The frame is in Format_RGB32. What `size` wants beyond the display is black. Holds all
    /// other clients of the server still for the time of a frame.
    QImage still(const StillRequest& request) const override;

private:
    struct Queries;
    struct Capture;

    std::unique_ptr<Queries> m_queries;
    std::unique_ptr<Capture> m_capture;
};

} // namespace lumivane
