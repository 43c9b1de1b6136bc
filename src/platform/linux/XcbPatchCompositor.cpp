#include "platform/linux/XcbPatchCompositor.h"

#include <xcb/composite.h>
#include <xcb/xcb_renderutil.h>
#include <xcb/xfixes.h>

#include <string>

namespace lumivane {

namespace {

/// The form in which pictures take a position on the target and a size.
struct Placement {
    std::int16_t x;
    std::int16_t y;
    std::uint16_t width;
    std::uint16_t height;

    explicit Placement(const QRect& area)
        : x(static_cast<std::int16_t>(area.x()))
        , y(static_cast<std::int16_t>(area.y()))
        , width(static_cast<std::uint16_t>(area.width()))
        , height(static_cast<std::uint16_t>(area.height())) {}
};

void draw(xcb_connection_t* connection, xcb_render_pict_op_t operation, xcb_render_picture_t source,
          const QPoint& sourceOrigin, xcb_render_picture_t target, const QRect& targetArea) {
    const Placement place(targetArea);
    xcb_render_composite(connection, static_cast<std::uint8_t>(operation), source, XCB_NONE, target,
                         static_cast<std::int16_t>(sourceOrigin.x()),
                         static_cast<std::int16_t>(sourceOrigin.y()), 0, 0, place.x, place.y,
                         place.width, place.height);
}

} // namespace

XcbPatchCompositor::XcbPatchCompositor(const XcbConnection& connection)
    : m_connection(connection)
    , m_rootPixmap(connection.atom("_XROOTPMAP_ID"))
    , m_compositorSelection(connection.atom("_NET_WM_CM_S0")) {
    connection.requireExtension(xcb_composite_id, "Composite");
    connection.requireExtension(xcb_xfixes_id, "XFIXES");
    connection.requireExtension(xcb_render_id, "RENDER");
    connection.expect(xcb_composite_query_version_reply,
                      xcb_composite_query_version(connection.raw(), 0, 4));
    connection.expect(xcb_xfixes_query_version_reply,
                      xcb_xfixes_query_version(connection.raw(), 4, 0));
    connection.expect(xcb_render_query_version_reply,
                      xcb_render_query_version(connection.raw(), 0, 11));
    m_formats = xcb_render_util_query_formats(connection.raw());
    if (m_formats == nullptr || formatOf(connection.screen().root_visual) == XCB_NONE) {
        xcb_render_util_disconnect(connection.raw());
        throw DisplayServerError("The display server cannot draw its own pixels.");
    }
    connection.expectSuccess(xcb_composite_redirect_subwindows_checked(
        connection.raw(), connection.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC));
}

XcbPatchCompositor::~XcbPatchCompositor() { xcb_render_util_disconnect(m_connection.raw()); }

XcbPatchCompositor::BackdropRequest XcbPatchCompositor::requestBackdrop() const {
    return {m_connection.requestItems(m_connection.root(), m_rootPixmap, XCB_ATOM_PIXMAP),
            xcb_get_selection_owner(m_connection.raw(), m_compositorSelection)};
}

XcbPatchCompositor::Backdrop XcbPatchCompositor::backdrop(const BackdropRequest& request) const {
    const auto wallpaper = m_connection.items(request.wallpaper);
    const auto owner = m_connection.expect(xcb_get_selection_owner_reply, request.compositor);
    return {wallpaper.empty() ? xcb_pixmap_t(XCB_NONE) : wallpaper.front(),
            owner->owner != XCB_NONE};
}

void XcbPatchCompositor::compose(const QRect& area, const Backdrop& backdrop,
                                 std::span<const XcbTopLevel> windows,
                                 const std::function<void(xcb_pixmap_t)>& use) const {
    const XcbResource pixmap(m_connection, xcb_free_pixmap);
    xcb_create_pixmap(m_connection.raw(), m_connection.screen().root_depth, pixmap.id(),
                      m_connection.root(), static_cast<std::uint16_t>(area.width()),
                      static_cast<std::uint16_t>(area.height()));
    const XcbResource target(m_connection, xcb_render_free_picture);
    xcb_render_create_picture(m_connection.raw(), target.id(), pixmap.id(),
                              formatOf(m_connection.screen().root_visual), 0, nullptr);
    drawBackground(target.id(), area, backdrop.wallpaper);
    for (const XcbTopLevel& window : windows) {
        if (!window.isOurs && window.area.intersects(area)) {
            drawWindow(target.id(), area, window, backdrop);
        }
    }
    use(pixmap.id());
}

void XcbPatchCompositor::drawBackground(xcb_render_picture_t target, const QRect& area,
                                        xcb_pixmap_t wallpaper) const {
    const QRect whole(QPoint(0, 0), area.size());
    const Placement place(whole);
    const xcb_rectangle_t rectangle{place.x, place.y, place.width, place.height};
    xcb_render_fill_rectangles(m_connection.raw(), XCB_RENDER_PICT_OP_SRC, target,
                               {0, 0, 0, 0xffff}, 1, &rectangle);
    if (wallpaper == XCB_NONE) {
        return;
    }
    // Whoever set it may be gone with it: then every step fails without a trace, and black stays.
    const std::uint32_t repeat = XCB_RENDER_REPEAT_NORMAL;
    const XcbResource source(m_connection, xcb_render_free_picture);
    xcb_render_create_picture(m_connection.raw(), source.id(), wallpaper,
                              formatOf(m_connection.screen().root_visual), XCB_RENDER_CP_REPEAT,
                              &repeat);
    draw(m_connection.raw(), XCB_RENDER_PICT_OP_SRC, source.id(), area.topLeft(), target, whole);
}

void XcbPatchCompositor::drawWindow(xcb_render_picture_t target, const QRect& area,
                                    const XcbTopLevel& window, const Backdrop& backdrop) const {
    xcb_connection_t* connection = m_connection.raw();
    const xcb_render_pictformat_t format = formatOf(window.visual);
    if (format == XCB_NONE) {
        return;
    }
    const QRect place = window.area.translated(-area.topLeft());
    const QPoint inner = place.topLeft() + QPoint(window.borderWidth, window.borderWidth);
    const XcbResource shape(m_connection, xcb_xfixes_destroy_region);
    xcb_xfixes_create_region_from_window(connection, shape.id(), window.window,
                                         XCB_SHAPE_SK_BOUNDING);
    xcb_xfixes_set_picture_clip_region(connection, target, shape.id(),
                                       static_cast<std::int16_t>(inner.x()),
                                       static_cast<std::int16_t>(inner.y()));
    // Fails for windows that a compositor keeps to itself, such as its own canvas, and so skips
    // them.
    const XcbResource content(m_connection, xcb_free_pixmap);
    xcb_composite_name_window_pixmap(connection, window.window, content.id());
    const XcbResource source(m_connection, xcb_render_free_picture);
    xcb_render_create_picture(connection, source.id(), content.id(), format, 0, nullptr);
    const bool blends = window.depth == 32 && backdrop.hasCompositor;
    draw(connection, blends ? XCB_RENDER_PICT_OP_OVER : XCB_RENDER_PICT_OP_SRC, source.id(),
         QPoint(0, 0), target, place);
}

xcb_render_pictformat_t XcbPatchCompositor::formatOf(xcb_visualid_t visual) const {
    const auto* found = xcb_render_util_find_visual_format(m_formats, visual);
    return found == nullptr ? XCB_NONE : found->format;
}

} // namespace lumivane
