#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace lumivane::service {

/// Who vouches for a person. The order is that in which clients list them.
enum class AuthProvider { google, facebook, github };

constexpr std::array allProviders{AuthProvider::google, AuthProvider::facebook,
                                  AuthProvider::github};

/// The text on the wire and in the database.
constexpr std::string_view rawValue(AuthProvider provider) {
    switch (provider) {
    case AuthProvider::google:
        return "google";
    case AuthProvider::facebook:
        return "facebook";
    case AuthProvider::github:
        break;
    }
    return "github";
}

constexpr std::optional<AuthProvider> providerNamed(std::string_view text) {
    for (const AuthProvider provider : allProviders) {
        if (rawValue(provider) == text) {
            return provider;
        }
    }
    return std::nullopt;
}

} // namespace lumivane::service
