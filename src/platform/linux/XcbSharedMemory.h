#pragma once

#include "platform/linux/XcbConnection.h"

#include <QRect>

#include <xcb/shm.h>

#include <cstddef>

namespace lumivane {

/// Memory that the server draws frames into. Not locked.
///
/// It is kept from frame to frame, since fresh memory costs ten times what the frame itself does.
/// It has no name and no identifier of the system, so nothing of it can outlive the process.
class XcbSharedMemory {
public:
    /// `connection` outlives it. Throws DisplayServerError where the server cannot share memory.
    explicit XcbSharedMemory(const XcbConnection& connection);
    ~XcbSharedMemory();
    XcbSharedMemory(const XcbSharedMemory&) = delete;
    XcbSharedMemory& operator=(const XcbSharedMemory&) = delete;

    /// Makes room for `resident` bytes that are sure to be used and as many again that may be.
    /// What stood here before is lost when it grows. Throws DisplayServerError.
    void reserve(std::size_t resident);

    /// Asks for the pixels of an area, four bytes each, at `offset` bytes.
    xcb_shm_get_image_cookie_t request(xcb_drawable_t drawable, const QRect& area,
                                       std::size_t offset) const;

    /// Waits until the pixels are there. Throws DisplayServerError.
    void await(xcb_shm_get_image_cookie_t cookie) const;

    const std::uint32_t* pixels(std::size_t offset) const;

private:
    void release();

    const XcbConnection& m_connection;
    xcb_shm_seg_t m_segment = XCB_NONE;
    std::byte* m_memory = nullptr;
    std::size_t m_size = 0;
};

} // namespace lumivane
