#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// Where and how the login's cookies hold.
struct CookieScope {
    std::string path = "/";
    bool isSecure = false; ///< whether they travel over TLS alone
};

/// The value under a name in a Cookie header; none where it is absent, or there twice.
std::optional<std::string> cookieValue(std::string_view header, std::string_view name);

/// A Set-Cookie header out of reach of scripts, sent along when a link or a redirect leads here
/// and with no other request from another site. `value` must be base64url. An age of zero removes
/// the cookie.
std::string setCookie(std::string_view name, std::string_view value, std::chrono::seconds age,
                      const CookieScope& scope);

} // namespace lumivane::service
