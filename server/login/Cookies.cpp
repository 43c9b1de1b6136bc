#include "server/login/Cookies.h"

#include <algorithm>

namespace lumivane::service {

std::optional<std::string> cookieValue(std::string_view header, std::string_view name) {
    std::optional<std::string> found;
    while (!header.empty()) {
        const auto end = header.find(';');
        std::string_view piece = header.substr(0, end);
        header.remove_prefix(end == std::string_view::npos ? header.size() : end + 1);
        piece.remove_prefix(std::min(piece.find_first_not_of(' '), piece.size()));
        const auto equals = piece.find('=');
        if (equals == std::string_view::npos || piece.substr(0, equals) != name) {
            continue;
        }
        if (found) {
            return std::nullopt;
        }
        found = std::string(piece.substr(equals + 1));
    }
    return found;
}

std::string setCookie(std::string_view name, std::string_view value, std::chrono::seconds age,
                      const CookieScope& scope) {
    std::string cookie(name);
    cookie.append("=").append(value).append("; Path=").append(scope.path);
    cookie.append("; Max-Age=").append(std::to_string(age.count()));
    cookie.append("; HttpOnly; SameSite=Lax");
    cookie.append(scope.isSecure ? "; Secure" : "");
    return cookie;
}

} // namespace lumivane::service
