#pragma once

#include "support/XLoggingWindow.h"
#include "support/XServer.h"
#include "support/XTestClient.h"

#include <QImage>
#include <QPoint>

#include <chrono>
#include <functional>
#include <string>

namespace lumivane::test {

/// The desktop that the application of the test stands on, for one test at a time: an X server of
/// the test program's own, with or without a window manager and a compositor, a pointer and a
/// keyboard. For programs linked with the main function of X tests. All coordinates are pixels of
/// the root window. Main thread.
class PanelDesktop {
public:
    enum class Manager { none, openbox };

    explicit PanelDesktop(Manager manager = Manager::none);

    /// Ends what this test has started on it.
    ~PanelDesktop();
    PanelDesktop(const PanelDesktop&) = delete;
    PanelDesktop& operator=(const PanelDesktop&) = delete;

    /// By the main function, once.
    static void setServer(XServer* server);

    XServer& server() { return m_server; }

    XTestClient& client() { return m_client; }

    /// Splits the screen, and waits until the toolkit knows the monitor.
    void addMonitor(const QString& name, const QRect& area);
    void removeMonitor(const QString& name);

    void startCompositor();
    void stopCompositor();

    // What a hand does. Each waits until the server has worked it off.

    void movePointer(const QPoint& position);
    void click(const QPoint& position);
    void press(int button);
    void release(int button);
    void type(xcb_keysym_t key);
    void holdKey(xcb_keysym_t key);
    void releaseKey(xcb_keysym_t key);

    /// The code by which other windows see a key.
    xcb_keycode_t keycodeOf(xcb_keysym_t key);

    // What there is to see. All that the application has sent so far is done before: the server
    // serves its clients in the order it likes, and the looker is another one.

    QImage screen(const QRect& area);

    QRgb pixel(const QPoint& position);

    /// Runs the event loop until the pixel on screen has this colour, opacity left aside.
    bool waitForPixel(const QPoint& position, QRgb color);

    /// The windows on screen whose place is this, on top of each other, lowest first.
    std::vector<xcb_window_t> windowsAt(const QRect& area);

    /// The viewable windows below the root, lowest first.
    std::vector<xcb_window_t> windows();

    QRect areaOf(xcb_window_t window);

    /// The window that has the keyboard.
    xcb_window_t focus();

    /// Waits until the server has worked off what the application has asked of it. For looks by
    /// means of other clients; those above do so by themselves.
    static void settle();

    /// Whether the application's last requests still wait to be sent. Sends them.
    static bool holdsRequestsBack();

    /// Resources of all kinds that this process holds in the server.
    std::uint32_t resourceCount();

    /// The pixels of the server's memory that this process holds, in bytes.
    std::uint64_t pixmapBytes();

private:
    void fake(std::uint8_t type, std::uint8_t detail);

    XServer& m_server;
    XTestClient m_client;
    xcb_connection_t* m_connection;
    const xcb_screen_t* m_screen;
    QStringList m_monitors;
};

} // namespace lumivane::test
