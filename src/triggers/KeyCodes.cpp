#include "triggers/KeyCodes.h"

#include <algorithm>

namespace lumivane {

std::optional<std::uint32_t> keyCode(const QString& upperCaseName) {
    if (upperCaseName.size() != 1) {
        return std::nullopt;
    }
    const char16_t key = upperCaseName.front().unicode();
    const auto* row =
        std::find_if(keyCodes.begin(), keyCodes.end(),
                     [key](const KeyCodeRow& candidate) { return candidate.key == key; });
    return row == keyCodes.end() ? std::nullopt : std::optional(row->code);
}

} // namespace lumivane
