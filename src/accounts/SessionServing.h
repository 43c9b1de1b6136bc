#pragma once

#include "domain/SecretText.h"

#include <QString>
#include <qcoro/qcorotask.h>

#include <chrono>
#include <optional>
#include <stop_token>

namespace lumivane {

/// The login session, as the application model needs it. Main thread only.
class SessionServing {
public:
    virtual ~SessionServing() = default;

    /// Brings the saved session back: called from the application model's start, and a second call
    /// does nothing. Never throws: how it ended is read from `isSignedIn` and `errorMessage`.
    virtual QCoro::Task<void> restore() = 0;

    virtual bool isSignedIn() const = 0;

    /// An access token with at least `minimumValidity` left. Throws AuthenticationError, or
    /// Cancelled once a stop is requested.
    virtual QCoro::Task<SecretText> validAccessToken(std::chrono::seconds minimumValidity,
                                                     std::stop_token stop) = 0;

    /// Removes a session that the service refused; true when it is gone. Never throws.
    virtual QCoro::Task<bool> handleUnauthorized() = 0;

    /// Removes the session after the account moved to another machine. Never throws.
    virtual QCoro::Task<void> signOutLocallyAfterEviction() = 0;

    /// The last trouble, in words for the user.
    virtual std::optional<QString> errorMessage() const = 0;
};

} // namespace lumivane
