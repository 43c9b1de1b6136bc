#pragma once

#include "domain/ClosedSet.h"
#include "domain/DescribedError.h"

#include <array>
#include <exception>
#include <optional>
#include <string_view>

namespace lumivane {

/// What is the matter with the user's keyring, as far as the user can mend it.
enum class KeyringTrouble {
    none,
    missing, ///< there is none, or it does not answer
    locked,  ///< or to be set up first
    damaged  ///< what it holds is no session
};

/// What a user reads of it; none for `none`.
std::optional<QString> keyringAdvice(KeyringTrouble trouble);

/// Whether a text is one of these.
bool isKeyringAdvice(const QString& text);

/// The one error of accounts, with the words that a user reads.
class AuthenticationError final : public DescribedError {
public:
    enum class Case {
        invalidCallback,
        expiredSession,
        invalidResponse,
        unavailable,
        cancelled, ///< by the user; a cancelled wait is the separate signal Cancelled
        lastIdentity,
        deviceTakeoverRequired,
        deviceEvicted,
        deviceRequired,
        insufficientScope,
        handleTaken,
        handleReserved,
        identityAlreadyLinked,
        providerAlreadyLinked,
        reauthenticationFailed
    };

    AuthenticationError(Case errorCase) // NOLINT(google-explicit-constructor): a case is the error
        : errorCase(errorCase) {}

    /// Because of the keyring, which then has the word.
    AuthenticationError(Case errorCase, KeyringTrouble keyring)
        : errorCase(errorCase)
        , keyring(keyring) {}

    QString errorDescription() const override;

    std::string_view typeName() const override { return "AuthenticationError"; }

    bool operator==(const AuthenticationError& other) const {
        return errorCase == other.errorCase && keyring == other.keyring;
    }

    Case errorCase;
    KeyringTrouble keyring = KeyringTrouble::none;
};

/// Whether a caught exception is an AuthenticationError of this case; false for none.
bool isCase(const std::exception_ptr& error, AuthenticationError::Case errorCase);

/// The trouble that a caught exception tells of; `none` for none.
KeyringTrouble keyringTrouble(const std::exception_ptr& error);

} // namespace lumivane
