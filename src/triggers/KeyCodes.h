#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

namespace lumivane {

/// A key that a shortcut can be on, and its virtual key code.
struct KeyCodeRow {
    char16_t key;
    std::uint32_t code;
};

/// All keys that have a code, in order of code. Function keys, arrow keys, Space and Return have
/// none, so no shortcut can be on them.
inline constexpr std::array keyCodes{
    KeyCodeRow{u'A', 0},   KeyCodeRow{u'S', 1},   KeyCodeRow{u'D', 2},  KeyCodeRow{u'F', 3},
    KeyCodeRow{u'H', 4},   KeyCodeRow{u'G', 5},   KeyCodeRow{u'Z', 6},  KeyCodeRow{u'X', 7},
    KeyCodeRow{u'C', 8},   KeyCodeRow{u'V', 9},   KeyCodeRow{u'B', 11}, KeyCodeRow{u'Q', 12},
    KeyCodeRow{u'W', 13},  KeyCodeRow{u'E', 14},  KeyCodeRow{u'R', 15}, KeyCodeRow{u'Y', 16},
    KeyCodeRow{u'T', 17},  KeyCodeRow{u'1', 18},  KeyCodeRow{u'2', 19}, KeyCodeRow{u'3', 20},
    KeyCodeRow{u'4', 21},  KeyCodeRow{u'6', 22},  KeyCodeRow{u'5', 23}, KeyCodeRow{u'=', 24},
    KeyCodeRow{u'9', 25},  KeyCodeRow{u'7', 26},  KeyCodeRow{u'-', 27}, KeyCodeRow{u'8', 28},
    KeyCodeRow{u'0', 29},  KeyCodeRow{u']', 30},  KeyCodeRow{u'O', 31}, KeyCodeRow{u'U', 32},
    KeyCodeRow{u'[', 33},  KeyCodeRow{u'I', 34},  KeyCodeRow{u'P', 35}, KeyCodeRow{u'L', 37},
    KeyCodeRow{u'J', 38},  KeyCodeRow{u'\'', 39}, KeyCodeRow{u'K', 40}, KeyCodeRow{u';', 41},
    KeyCodeRow{u'\\', 42}, KeyCodeRow{u',', 43},  KeyCodeRow{u'/', 44}, KeyCodeRow{u'N', 45},
    KeyCodeRow{u'M', 46},  KeyCodeRow{u'.', 47},  KeyCodeRow{u'`', 50},
};

static_assert(keyCodes.size() == 47);

/// The virtual key code of a key's upper-case name, or none.
std::optional<std::uint32_t> keyCode(const QString& upperCaseName);

} // namespace lumivane
