#pragma once

#include <QByteArray>
#include <QProcess>

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

namespace lumivane::test {

/// A private X server and a client of it that plays the keyboard, another program's grabs and a
/// settings tool that remaps keys. The server ends with the object.
class KeyboardDisplay {
public:
    KeyboardDisplay();
    ~KeyboardDisplay();
    KeyboardDisplay(const KeyboardDisplay&) = delete;
    KeyboardDisplay& operator=(const KeyboardDisplay&) = delete;

    /// As in ":1"; empty when the server did not start.
    QByteArray name() const { return m_name; }

    /// Ends the server without notice to its clients.
    void kill();

    /// The first key that gives `keysym` alone; 0 when none does.
    xcb_keycode_t keycodeOf(xcb_keysym_t keysym) const;

    /// A key that gives nothing at all.
    xcb_keycode_t unusedKeycode() const;

    /// Each event stands a moment after the last one, so that no two share a time. Ends when the
    /// server has worked the event off.
    void keyDown(xcb_keycode_t keycode);
    void keyUp(xcb_keycode_t keycode);
    void keyUpAfter(xcb_keycode_t keycode, std::chrono::milliseconds held);

    /// Holds the modifiers, presses and lets go of the key, lets go of the modifiers.
    void press(xcb_keycode_t keycode, const std::vector<xcb_keysym_t>& modifiers = {});

    /// The state of the modifiers, as an X mask.
    std::uint16_t modifierState() const;

    /// Makes the key give `keysym` alone, and its capital with Shift.
    void remap(xcb_keycode_t keycode, xcb_keysym_t keysym);

    /// Makes the key give one symbol a column.
    void remap(xcb_keycode_t keycode, const std::vector<xcb_keysym_t>& keysyms);

    /// Loads keyboard layouts as a desktop's settings do, for example "ru,us".
    void chooseLayouts(const QByteArray& layouts);

    /// Grabs a combination for this client; the error code of the server, or 0.
    int grab(xcb_keycode_t keycode, std::uint16_t modifiers);
    void ungrab(xcb_keycode_t keycode, std::uint16_t modifiers);

    /// How many key presses have come to this client's own grabs since the last call.
    int takePresses();

private:
    void fake(std::uint8_t type, xcb_keycode_t keycode, std::chrono::milliseconds delay);
    xcb_window_t root() const;

    QProcess m_server;
    QByteArray m_name;
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
};

} // namespace lumivane::test
