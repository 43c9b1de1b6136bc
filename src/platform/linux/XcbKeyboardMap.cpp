#include "platform/linux/XcbKeyboardMap.h"

#include "platform/HotKeyRegistrar.h"

#include <X11/keysym.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

namespace lumivane {

namespace {

struct Symbol {
    std::uint32_t keyCode;
    xcb_keysym_t keysym;
};

constexpr std::array symbols{
    Symbol{0, XK_a},          Symbol{1, XK_s},           Symbol{2, XK_d},
    Symbol{3, XK_f},          Symbol{4, XK_h},           Symbol{5, XK_g},
    Symbol{6, XK_z},          Symbol{7, XK_x},           Symbol{8, XK_c},
    Symbol{9, XK_v},          Symbol{11, XK_b},          Symbol{12, XK_q},
    Symbol{13, XK_w},         Symbol{14, XK_e},          Symbol{15, XK_r},
    Symbol{16, XK_y},         Symbol{17, XK_t},          Symbol{18, XK_1},
    Symbol{19, XK_2},         Symbol{20, XK_3},          Symbol{21, XK_4},
    Symbol{22, XK_6},         Symbol{23, XK_5},          Symbol{24, XK_equal},
    Symbol{25, XK_9},         Symbol{26, XK_7},          Symbol{27, XK_minus},
    Symbol{28, XK_8},         Symbol{29, XK_0},          Symbol{30, XK_bracketright},
    Symbol{31, XK_o},         Symbol{32, XK_u},          Symbol{33, XK_bracketleft},
    Symbol{34, XK_i},         Symbol{35, XK_p},          Symbol{37, XK_l},
    Symbol{38, XK_j},         Symbol{39, XK_apostrophe}, Symbol{40, XK_k},
    Symbol{41, XK_semicolon}, Symbol{42, XK_backslash},  Symbol{43, XK_comma},
    Symbol{44, XK_slash},     Symbol{45, XK_n},          Symbol{46, XK_m},
    Symbol{47, XK_period},    Symbol{50, XK_grave},      Symbol{53, XK_Escape},
};

template <typename Answer>
auto owned(Answer* answer) {
    return std::unique_ptr<Answer, decltype(&std::free)>(answer, &std::free);
}

/// A key may list its letter as a capital only, which then stands for both cases.
constexpr xcb_keysym_t lowerCase(xcb_keysym_t keysym) {
    return keysym >= XK_A && keysym <= XK_Z ? keysym + (XK_a - XK_A) : keysym;
}

} // namespace

std::optional<xcb_keysym_t> keysymForKeyCode(std::uint32_t keyCode) {
    const auto* found = std::find_if(symbols.begin(), symbols.end(), [keyCode](const Symbol& row) {
        return row.keyCode == keyCode;
    });
    return found == symbols.end() ? std::nullopt : std::optional(found->keysym);
}

// Read by hand and not through xcb-keysyms, which follows a null pointer when the server is gone.
std::optional<XcbKeyboardMap> XcbKeyboardMap::read(xcb_connection_t* connection) {
    const xcb_setup_t* setup = xcb_get_setup(connection);
    if (setup == nullptr) {
        return std::nullopt;
    }
    const auto keyboardCookie = xcb_get_keyboard_mapping(
        connection, setup->min_keycode,
        static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1));
    const auto modifierCookie = xcb_get_modifier_mapping(connection);
    const auto keyboard =
        owned(xcb_get_keyboard_mapping_reply(connection, keyboardCookie, nullptr));
    const auto modifiers =
        owned(xcb_get_modifier_mapping_reply(connection, modifierCookie, nullptr));
    if (!keyboard || !modifiers) {
        return std::nullopt;
    }
    XcbKeyboardMap map;
    map.m_firstKeycode = setup->min_keycode;
    map.m_columns = keyboard->keysyms_per_keycode;
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(keyboard.get());
    map.m_keysyms.assign(keysyms,
                         keysyms + xcb_get_keyboard_mapping_keysyms_length(keyboard.get()));
    map.m_keysPerModifier = modifiers->keycodes_per_modifier;
    const xcb_keycode_t* keys = xcb_get_modifier_mapping_keycodes(modifiers.get());
    map.m_modifierKeys.assign(keys,
                              keys + xcb_get_modifier_mapping_keycodes_length(modifiers.get()));
    return map;
}

std::vector<xcb_keycode_t> XcbKeyboardMap::keycodesFor(xcb_keysym_t keysym) const {
    const std::size_t keyCount = m_columns == 0 ? 0 : m_keysyms.size() / m_columns;
    // Columns of the core keyboard: first layout alone and with Shift, then the second layout's.
    for (const std::size_t column : {0, 2, 1, 3}) {
        std::vector<xcb_keycode_t> keycodes;
        for (std::size_t key = 0; key < keyCount; ++key) {
            if (lowerCase(keysymAt(key, column)) == keysym) {
                keycodes.push_back(static_cast<xcb_keycode_t>(m_firstKeycode + key));
            }
        }
        if (!keycodes.empty()) {
            return keycodes;
        }
    }
    return {};
}

std::uint16_t XcbKeyboardMap::nativeModifiers(std::uint32_t modifiers) const {
    const auto native = [modifiers](std::uint32_t mask, std::uint16_t value) {
        return (modifiers & mask) != 0 ? value : std::uint16_t{0};
    };
    return native(hotKeyModifier::shift, XCB_MOD_MASK_SHIFT) |
           native(hotKeyModifier::control, XCB_MOD_MASK_CONTROL) |
           native(hotKeyModifier::option, modifierOf(XK_Alt_L, XK_Alt_R, XCB_MOD_MASK_1)) |
           native(hotKeyModifier::command, modifierOf(XK_Super_L, XK_Super_R, XCB_MOD_MASK_4));
}

std::vector<std::uint16_t> XcbKeyboardMap::lockCombinations() const {
    const std::uint16_t capsLock = XCB_MOD_MASK_LOCK;
    const std::uint16_t numLock = modifierOf(XK_Num_Lock);
    if (numLock == 0) {
        return {0, capsLock};
    }
    return {0, capsLock, numLock, static_cast<std::uint16_t>(capsLock | numLock)};
}

xcb_keysym_t XcbKeyboardMap::keysymAt(std::size_t key, std::size_t column) const {
    const std::size_t index = key * m_columns + column;
    return column < m_columns && index < m_keysyms.size() ? m_keysyms[index] : XCB_NO_SYMBOL;
}

std::uint16_t XcbKeyboardMap::modifierOf(xcb_keysym_t keysym) const {
    const std::vector<xcb_keycode_t> keycodes = keycodesFor(keysym);
    for (std::size_t index = 0; index < m_modifierKeys.size(); ++index) {
        if (std::find(keycodes.begin(), keycodes.end(), m_modifierKeys[index]) != keycodes.end()) {
            return static_cast<std::uint16_t>(1U << (index / m_keysPerModifier));
        }
    }
    return 0;
}

std::uint16_t XcbKeyboardMap::modifierOf(xcb_keysym_t left, xcb_keysym_t right,
                                         std::uint16_t otherwise) const {
    for (const xcb_keysym_t keysym : {left, right}) {
        if (const std::uint16_t modifier = modifierOf(keysym)) {
            return modifier;
        }
    }
    return otherwise;
}

} // namespace lumivane
