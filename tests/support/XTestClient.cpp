#include "support/XTestClient.h"

#include "support/WaitForCondition.h"

#include <xcb/shape.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace lumivane::test {

namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

xcb_rectangle_t toRectangle(const QRect& area) {
    return {static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
            static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height())};
}

} // namespace

XTestClient::XTestClient(const QByteArray& displayName)
    : m_connection(xcb_connect(displayName.constData(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) {
        xcb_disconnect(m_connection);
        throw std::runtime_error("no X server");
    }
    m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    auto depths = xcb_screen_allowed_depths_iterator(m_screen);
    for (; depths.rem > 0; xcb_depth_next(&depths)) {
        if (depths.data->depth == 32) {
            m_transparentVisual = xcb_depth_visuals(depths.data)->visual_id;
        }
    }
    m_transparentColours = xcb_generate_id(m_connection);
    check(xcb_create_colormap_checked(m_connection, XCB_COLORMAP_ALLOC_NONE, m_transparentColours,
                                      root(), m_transparentVisual));
}

XTestClient::~XTestClient() { xcb_disconnect(m_connection); }

std::uint32_t XTestClient::patternPixel(std::uint32_t seed, int x, int y, int depth) {
    const auto column = static_cast<std::uint32_t>(x);
    const auto row = static_cast<std::uint32_t>(y);
    const std::uint32_t alpha = depth == 32 ? 64 + (column + row) % 192 : 255;
    const auto channel = [alpha](std::uint32_t value) { return (value & 0xff) * alpha / 255; };
    return alpha << 24 | channel(column * 7 + seed * 37) << 16 | channel(row * 5 + seed * 11) << 8 |
           channel((column ^ row) + seed * 3);
}

xcb_pixmap_t XTestClient::pattern(std::uint32_t seed, const QSize& size, int depth) {
    const xcb_pixmap_t pixmap = xcb_generate_id(m_connection);
    const xcb_gcontext_t context = xcb_generate_id(m_connection);
    const auto width = static_cast<std::uint16_t>(size.width());
    xcb_create_pixmap(m_connection, static_cast<std::uint8_t>(depth), pixmap, root(), width,
                      static_cast<std::uint16_t>(size.height()));
    xcb_create_gc(m_connection, context, pixmap, 0, nullptr);
    std::vector<std::uint32_t> line(width);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            line[static_cast<std::size_t>(x)] = patternPixel(seed, x, y, depth);
        }
        xcb_put_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, width, 1, 0,
                      static_cast<std::int16_t>(y), 0, static_cast<std::uint8_t>(depth),
                      static_cast<std::uint32_t>(line.size() * sizeof(std::uint32_t)),
                      reinterpret_cast<const std::uint8_t*>(line.data()));
    }
    xcb_free_gc(m_connection, context);
    return pixmap;
}

xcb_window_t XTestClient::show(const XWindowSpec& spec) {
    const xcb_window_t window = create(spec);
    map(window);
    return window;
}

void XTestClient::map(xcb_window_t window) { check(xcb_map_window_checked(m_connection, window)); }

xcb_window_t XTestClient::create(const XWindowSpec& spec) {
    const xcb_window_t window = xcb_generate_id(m_connection);
    const xcb_window_t parent = spec.parent == XCB_NONE ? root() : spec.parent;
    const xcb_rectangle_t place = toRectangle(spec.area);
    if (spec.onlyTakesInput) {
        const std::uint32_t overrides = spec.overridesRedirect ? 1 : 0;
        check(xcb_create_window_checked(m_connection, 0, window, parent, place.x, place.y,
                                        place.width, place.height, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                                        XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT,
                                        &overrides));
    } else {
        const xcb_pixmap_t content = pattern(spec.seed, spec.area.size(), spec.depth);
        const std::uint32_t values[] = {
            content, 0xff000000U | (spec.seed * 0x123457), spec.overridesRedirect ? 1U : 0U,
            spec.depth == 32 ? m_transparentColours : m_screen->default_colormap};
        check(xcb_create_window_checked(
            m_connection, static_cast<std::uint8_t>(spec.depth), window, parent, place.x, place.y,
            place.width, place.height, static_cast<std::uint16_t>(spec.borderWidth),
            XCB_WINDOW_CLASS_INPUT_OUTPUT,
            spec.depth == 32 ? m_transparentVisual : m_screen->root_visual,
            XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
            values));
        xcb_free_pixmap(m_connection, content);
    }
    if (!spec.shape.empty()) {
        std::vector<xcb_rectangle_t> parts;
        for (const QRect& part : spec.shape) {
            parts.push_back(toRectangle(part));
        }
        check(xcb_shape_rectangles_checked(m_connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                                           XCB_CLIP_ORDERING_UNSORTED, window, 0, 0,
                                           static_cast<std::uint32_t>(parts.size()), parts.data()));
    }
    return window;
}

void XTestClient::hide(xcb_window_t window) {
    check(xcb_destroy_window_checked(m_connection, window));
}

bool XTestClient::waitUntilShown(xcb_window_t window) {
    return waitUntil(std::chrono::seconds(10), [this, window] {
        const auto attributes = owned(xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
        return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    });
}

bool XTestClient::waitUntil(std::chrono::milliseconds limit,
                            const std::function<bool()>& condition) {
    return waitForCondition(condition, limit);
}

void XTestClient::setItems(xcb_window_t window, std::string_view property, xcb_atom_t type,
                           const std::vector<std::uint32_t>& items) {
    check(xcb_change_property_checked(m_connection, XCB_PROP_MODE_REPLACE, window, atom(property),
                                      type, 32, static_cast<std::uint32_t>(items.size()),
                                      items.data()));
}

void XTestClient::setWallpaper(std::uint32_t seed, const QSize& size) {
    const xcb_pixmap_t content = pattern(seed, size, m_screen->root_depth);
    check(xcb_change_window_attributes_checked(m_connection, root(), XCB_CW_BACK_PIXMAP, &content));
    check(xcb_clear_area_checked(m_connection, 0, root(), 0, 0, 0, 0));
    setItems(root(), "_XROOTPMAP_ID", XCB_ATOM_PIXMAP, {content});
}

void XTestClient::claimCompositor() { m_compositorWindow = claimSelection("_NET_WM_CM_S0"); }

xcb_window_t XTestClient::claimSelection(std::string_view name) {
    const xcb_window_t owner = xcb_generate_id(m_connection);
    check(xcb_create_window_checked(m_connection, 0, owner, root(), -10, -10, 1, 1, 0,
                                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr));
    check(xcb_set_selection_owner_checked(m_connection, owner, atom(name), XCB_CURRENT_TIME));
    return owner;
}

void XTestClient::releaseCompositor() {
    check(xcb_destroy_window_checked(m_connection, m_compositorWindow));
}

bool XTestClient::hasCompositor() { return selectionOwner("_NET_WM_CM_S0") != XCB_NONE; }

xcb_window_t XTestClient::selectionOwner(std::string_view name) {
    const auto reply = owned(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, atom(name)), nullptr));
    return reply ? reply->owner : xcb_window_t(XCB_NONE);
}

void XTestClient::becomeWindowManager() {
    const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    check(xcb_change_window_attributes_checked(m_connection, root(), XCB_CW_EVENT_MASK, &mask));
}

void XTestClient::movePointer(const QPoint& position) {
    check(xcb_warp_pointer_checked(m_connection, XCB_NONE, root(), 0, 0, 0, 0,
                                   static_cast<std::int16_t>(position.x()),
                                   static_cast<std::int16_t>(position.y())));
}

QImage XTestClient::screen(const QRect& area) {
    const xcb_rectangle_t place = toRectangle(area);
    const auto reply =
        owned(xcb_get_image_reply(m_connection,
                                  xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, root(),
                                                place.x, place.y, place.width, place.height, ~0U),
                                  nullptr));
    if (!reply) {
        throw std::runtime_error("no image");
    }
    const QImage view(xcb_get_image_data(reply.get()), area.width(), area.height(),
                      QImage::Format_RGB32);
    return view.copy();
}

std::optional<xcb_window_t> XTestClient::parent(xcb_window_t window) {
    const auto reply =
        owned(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, window), nullptr));
    return reply ? std::optional(reply->parent) : std::nullopt;
}

std::vector<xcb_window_t> XTestClient::managedWindows() {
    const auto reply = owned(
        xcb_get_property_reply(m_connection,
                               xcb_get_property(m_connection, 0, root(), atom("_NET_CLIENT_LIST"),
                                                XCB_ATOM_WINDOW, 0, 1024),
                               nullptr));
    if (!reply || reply->format != 32) {
        return {};
    }
    const auto* first = static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

void XTestClient::sync() {
    owned(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}

xcb_atom_t XTestClient::atom(std::string_view name) {
    const auto reply = owned(xcb_intern_atom_reply(
        m_connection,
        xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    if (!reply) {
        throw std::runtime_error("no atom");
    }
    return reply->atom;
}

void XTestClient::check(xcb_void_cookie_t cookie) {
    if (const auto error = owned(xcb_request_check(m_connection, cookie))) {
        throw std::runtime_error("X error " + std::to_string(error->error_code));
    }
}

} // namespace lumivane::test
