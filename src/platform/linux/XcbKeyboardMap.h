#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace lumivane {

/// The X symbol of a virtual key code as HotKeyRegistrar takes them, or none for a code that no
/// key of this program uses.
std::optional<xcb_keysym_t> keysymForKeyCode(std::uint32_t keyCode);

/// What the X server's keyboard says about keys and modifiers, as a value of one moment.
class XcbKeyboardMap {
public:
    /// Asks the server, in two round trips; none when it does not answer.
    static std::optional<XcbKeyboardMap> read(xcb_connection_t* connection);

    /// Every key that gives `keysym` when pressed alone. Where the first layout has no such key,
    /// those that give it in the second layout, then those that give it with Shift.
    std::vector<xcb_keycode_t> keycodesFor(xcb_keysym_t keysym) const;

    /// The X modifier mask of an addition of hotKeyModifier masks.
    std::uint16_t nativeModifiers(std::uint32_t modifiers) const;

    /// The masks of every state of Caps Lock and Num Lock.
    std::vector<std::uint16_t> lockCombinations() const;

    bool operator==(const XcbKeyboardMap&) const = default;

private:
    xcb_keysym_t keysymAt(std::size_t key, std::size_t column) const;
    std::uint16_t modifierOf(xcb_keysym_t keysym) const;
    std::uint16_t modifierOf(xcb_keysym_t left, xcb_keysym_t right, std::uint16_t otherwise) const;

    std::size_t m_firstKeycode = 0;
    std::size_t m_columns = 0;           ///< symbols per key
    std::vector<xcb_keysym_t> m_keysyms; ///< row by row, one row a key
    std::size_t m_keysPerModifier = 0;
    std::vector<xcb_keycode_t> m_modifierKeys; ///< row by row, one row each of the eight modifiers
};

} // namespace lumivane
