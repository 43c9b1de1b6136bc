#include "server/accounts/DeviceRegistration.h"

#include "server/text/Utf8.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace lumivane::service {

namespace {

constexpr std::array<std::string_view, 4> kinds{"laptop", "desktop", "phone", "tablet"};

bool isControl(char32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7f && codePoint < 0xa0);
}

bool isPlainText(std::string_view text, std::size_t least, std::size_t most) {
    std::size_t count = 0;
    while (!text.empty() && count <= most) {
        if (isControl(takeCodePoint(text))) {
            return false;
        }
        ++count;
    }
    return count >= least && count <= most;
}

} // namespace

bool DeviceRegistration::isComplete() const {
    return isPlainText(identifier, 16, 64) && isPlainText(name, 1, 60) &&
           isPlainText(osVersion, 1, 32) &&
           std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

} // namespace lumivane::service
