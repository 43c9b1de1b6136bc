#pragma once

#include "platform/linux/XcbWindowStack.h"

#include <xcb/render.h>

#include <functional>
#include <span>

namespace lumivane {

/// A server-side resource that is freed with its object.
class XcbResource {
public:
    using Free = xcb_void_cookie_t (*)(xcb_connection_t*, std::uint32_t);

    XcbResource(const XcbConnection& connection, Free free)
        : m_connection(connection.raw())
        , m_free(free)
        , m_id(xcb_generate_id(m_connection)) {}

    ~XcbResource() { m_free(m_connection, m_id); }

    XcbResource(const XcbResource&) = delete;
    XcbResource& operator=(const XcbResource&) = delete;

    std::uint32_t id() const { return m_id; }

private:
    xcb_connection_t* m_connection;
    Free m_free;
    std::uint32_t m_id;
};

/// Draws a part of the screen anew from the windows below ours.
///
/// Every window keeps its whole content on the server, covered or not, from the moment this is
/// made, which is why that comes before our first window is shown. It holds as long as the
/// connection and does not disturb a compositor. Not locked.
class XcbPatchCompositor {
public:
    /// `connection` outlives it. Throws DisplayServerError.
    explicit XcbPatchCompositor(const XcbConnection& connection);
    ~XcbPatchCompositor();
    XcbPatchCompositor(const XcbPatchCompositor&) = delete;
    XcbPatchCompositor& operator=(const XcbPatchCompositor&) = delete;

    /// What the windows are drawn on and how.
    struct Backdrop {
        xcb_pixmap_t wallpaper = XCB_NONE;
        bool hasCompositor = false; ///< transparent windows blend
    };

    struct BackdropRequest {
        xcb_get_property_cookie_t wallpaper;
        xcb_get_selection_owner_cookie_t compositor;
    };

    BackdropRequest requestBackdrop() const;
    Backdrop backdrop(const BackdropRequest& request) const;

    /// Draws `area` of the root window into a pixmap of that size and calls `use` with it, which
    /// sends what it wants of the pixmap. Does not wait. The server is grabbed, and `windows` are
    /// all viewable ones, lowest first.
    void compose(const QRect& area, const Backdrop& backdrop, std::span<const XcbTopLevel> windows,
                 const std::function<void(xcb_pixmap_t)>& use) const;

private:
    void drawBackground(xcb_render_picture_t target, const QRect& area,
                        xcb_pixmap_t wallpaper) const;
    void drawWindow(xcb_render_picture_t target, const QRect& area, const XcbTopLevel& window,
                    const Backdrop& backdrop) const;
    xcb_render_pictformat_t formatOf(xcb_visualid_t visual) const;

    const XcbConnection& m_connection;
    xcb_atom_t m_rootPixmap;
    xcb_atom_t m_compositorSelection;
    const xcb_render_query_pict_formats_reply_t* m_formats; ///< owned by the library
};

} // namespace lumivane
