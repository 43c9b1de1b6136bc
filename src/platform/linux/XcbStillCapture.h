#pragma once

#include "platform/linux/XcbDesktop.h"
#include "platform/linux/XcbPatchCompositor.h"
#include "platform/linux/XcbSharedMemory.h"

namespace lumivane {

/// Takes still frames over a connection of its own. Not locked.
///
/// The frame is what the server shows, read in one go while the server is grabbed, so nothing
/// moves within it. Only where our windows lie on it is it drawn anew from what is below them;
/// compositor effects elsewhere stay as they are. The pointer's image is never part of it.
class XcbStillCapture {
public:
    /// Throws DisplayServerError on a server that lacks what it takes.
    XcbStillCapture(const QByteArray& displayName, MonitorScale scaleOf);

    /// Throws DisplayServerError when the display is gone or the server fails.
    QImage take(const StillRequest& request);

private:
    struct Patch {
        QRect area;
        std::size_t offset = 0; ///< in the shared memory
        xcb_shm_get_image_cookie_t cookie{};
    };

    XcbMonitor monitor(std::uint32_t displayID);
    std::optional<std::vector<Patch>> grab(const XcbMonitor& monitor, const QRect& area,
                                           std::int64_t excludedProcessID);
    std::vector<Patch> requestPatches(const QRect& area,
                                      const XcbWindowStack::Ownership& ownership) const;

    XcbConnection m_connection;
    XcbDesktop m_desktop;
    XcbSharedMemory m_memory;
    XcbWindowStack m_stack;
    XcbPatchCompositor m_compositor;
    XcbDisplayLayout m_layout{{}}; ///< as of the last frame
    QRect m_root;                  ///< the root window as of the last frame
};

} // namespace lumivane
