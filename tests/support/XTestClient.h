#pragma once

#include <QByteArray>
#include <QImage>
#include <QRect>

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace lumivane::test {

/// A window whose every pixel is known.
struct XWindowSpec {
    QRect area;             ///< within its parent, without the border
    std::uint32_t seed = 1; ///< of its pattern
    int borderWidth = 0;
    int depth = 24;                ///< 24, or 32 for one with premultiplied transparency
    bool overridesRedirect = true; ///< out of reach of a window manager
    bool onlyTakesInput = false;
    xcb_window_t parent = XCB_NONE; ///< none: the root window
    std::vector<QRect> shape = {};  ///< what there is of it; empty: all
};

/// A plain client of an X server that draws known windows and looks at the screen. It throws
/// std::runtime_error where the server refuses. One thread.
class XTestClient {
public:
    explicit XTestClient(const QByteArray& displayName);
    ~XTestClient();
    XTestClient(const XTestClient&) = delete;
    XTestClient& operator=(const XTestClient&) = delete;

    /// The pixel of a pattern, 0xAARRGGBB; one of depth 24 is opaque.
    static std::uint32_t patternPixel(std::uint32_t seed, int x, int y, int depth);

    /// Makes and shows a window; without a window manager it is on the screen on return. The
    /// server repaints it by itself.
    xcb_window_t show(const XWindowSpec& spec);
    void hide(xcb_window_t window);

    // The two halves of `show`, for a window that needs properties before.
    xcb_window_t create(const XWindowSpec& spec);
    void map(xcb_window_t window);

    /// Waits until a window is viewable, as one that waits for its window manager.
    bool waitUntilShown(xcb_window_t window);

    void setItems(xcb_window_t window, std::string_view property, xcb_atom_t type,
                  const std::vector<std::uint32_t>& items);

    /// Gives the root window a pattern of this size and says so as desktops do.
    void setWallpaper(std::uint32_t seed, const QSize& size);

    /// Says that a compositor runs, though none does.
    void claimCompositor();
    void releaseCompositor();
    bool hasCompositor();

    /// Becomes the owner of a selection with a new window, which it answers.
    xcb_window_t claimSelection(std::string_view name);

    /// Who owns a selection; none for nobody.
    xcb_window_t selectionOwner(std::string_view name);

    /// Takes the place of a window manager without doing its work.
    void becomeWindowManager();

    void movePointer(const QPoint& position);

    /// What a plain client sees of the root window.
    QImage screen(const QRect& area);

    /// The window above a window in the tree; none when the window is gone.
    std::optional<xcb_window_t> parent(xcb_window_t window);

    /// What a window manager looks after; none without one.
    std::vector<xcb_window_t> managedWindows();

    /// Asks again and again; false when the condition does not hold in time.
    static bool waitUntil(std::chrono::milliseconds limit, const std::function<bool()>& condition);

    xcb_window_t root() const { return m_screen->root; }

    void sync();

private:
    xcb_atom_t atom(std::string_view name);
    xcb_pixmap_t pattern(std::uint32_t seed, const QSize& size, int depth);
    void check(xcb_void_cookie_t cookie);

    xcb_connection_t* m_connection;
    const xcb_screen_t* m_screen;
    xcb_visualid_t m_transparentVisual = 0;
    xcb_colormap_t m_transparentColours = 0;
    xcb_window_t m_compositorWindow = XCB_NONE;
};

} // namespace lumivane::test
