#pragma once

#include <QByteArray>
#include <QRect>

#include <xcb/xcb.h>

#include <string>
#include <vector>

namespace lumivane::test {

/// The window of some other program, which writes down what reaches it. One thread.
class XLoggingWindow {
public:
    enum class Kind {
        plain,      ///< as the window manager has it, if there is one
        fullScreen, ///< over everything that a window manager looks after
    };

    XLoggingWindow(const QByteArray& displayName, const QRect& area, Kind kind = Kind::plain);
    ~XLoggingWindow();
    XLoggingWindow(const XLoggingWindow&) = delete;
    XLoggingWindow& operator=(const XLoggingWindow&) = delete;

    xcb_window_t window() const { return m_window; }

    /// Takes the keyboard as a program without a window manager does, and waits for it.
    void takeFocus();

    bool hasFocus();

    /// Asks to stand above all windows.
    void raise();

    /// What has come since the last call, in order: "key 36 down", "key 36 up", "button 1 down",
    /// "button 1 up", "focus in", "focus out".
    std::vector<std::string> takeEvents();

    /// Destroys the window before its object goes.
    void close();

private:
    xcb_atom_t atom(const char* name);
    void readEvents();

    xcb_connection_t* m_connection;
    xcb_window_t m_window;
    std::vector<std::string> m_events;
};

} // namespace lumivane::test
