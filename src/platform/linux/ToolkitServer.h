#pragma once

#include <QRect>
#include <QString>

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace lumivane {

/// What panels ask of the X server beyond the toolkit, over the toolkit's own connection, so that
/// requests keep their place among those of the toolkit. Main thread only. Where the server goes
/// away the toolkit ends the process.
class ToolkitServer {
public:
    /// Null where the toolkit does not stand on an X server.
    static std::unique_ptr<ToolkitServer> find();

    explicit ToolkitServer(xcb_connection_t* connection);

    xcb_connection_t* raw() const { return m_connection; }

    const xcb_screen_t& screen() const { return *m_screen; }

    /// Empty for what is no atom.
    QString nameOf(xcb_atom_t atom) const;

    /// Its place in pixels of the window above it; none where the window is gone.
    std::optional<QRect> areaOf(xcb_window_t window) const;

    /// Leaves nothing of a window but these parts of it, in its own pixels.
    void setOutline(xcb_window_t window, const std::vector<QRect>& parts) const;
    void clearOutline(xcb_window_t window) const;

    /// Lets the pointer through to what lies below.
    void ignorePointer(xcb_window_t window) const;

    /// The window that has the keyboard, or one of the values that X has for none.
    xcb_window_t focus() const;

    /// Asks now, whatever the time of the last event was. Nothing happens where the window is gone
    /// or cannot be seen.
    void setFocus(xcb_window_t window) const;

    /// To the top of all windows.
    void raise(xcb_window_t window) const;

    /// Directly under another window.
    void lower(xcb_window_t window, xcb_window_t above) const;

    void unmap(xcb_window_t window) const;

    /// Sends what waits.
    void flush() const;

private:
    xcb_connection_t* m_connection;
    const xcb_screen_t* m_screen;
};

} // namespace lumivane
