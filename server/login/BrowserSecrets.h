#pragma once

#include "server/login/IdentityProvider.h"

#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// What ties a login to the one browser that opened it: a secret in a cookie of its own, which the
/// service keeps only as a hash. State, nonce and proof key towards the provider, and the token in
/// a form, all follow from it.

/// The cookie's name for a login.
std::string browserCookieName(std::string_view transactionId);

/// An attempt with all that follows from the browser's secret.
LoginAttempt attemptFrom(std::string_view transactionId, std::string_view browserSecret);

/// The login that a state belongs to, by name only: that it is that login's own state has still to
/// be seen.
std::optional<std::string> transactionOfState(std::string_view state);

} // namespace lumivane::service
