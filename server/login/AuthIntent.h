#pragma once

#include "server/accounts/AuthProvider.h"

#include <optional>
#include <string_view>

namespace lumivane::service {

/// What a login is for.
enum class AuthIntent { signIn, link, deleteReauth };

/// The text on the wire and in the database.
std::string_view rawValue(AuthIntent intent);

/// None for a text that is no intent.
std::optional<AuthIntent> authIntentNamed(std::string_view text);

/// A provider's name for people.
std::string_view title(AuthProvider provider);

} // namespace lumivane::service
