#pragma once

#include "domain/ClosedSet.h"
#include "domain/DescribedError.h"

#include <array>
#include <exception>
#include <string_view>

namespace lumivane {

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

    QString errorDescription() const override;

    std::string_view typeName() const override { return "AuthenticationError"; }

    bool operator==(const AuthenticationError& other) const { return errorCase == other.errorCase; }

    Case errorCase;
};

/// Whether a caught exception is an AuthenticationError of this case; false for none.
bool isCase(const std::exception_ptr& error, AuthenticationError::Case errorCase);

} // namespace lumivane
