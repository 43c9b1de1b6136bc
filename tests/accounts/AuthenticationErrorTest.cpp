#include "accounts/AuthenticationError.h"

#include "domain/LumivaneError.h"

#include <gtest/gtest.h>

#include <array>

namespace lumivane {

namespace {

struct Words {
    AuthenticationError::Case errorCase;
    const char* text;
};

using Case = AuthenticationError::Case;

const std::array words{
    Words{Case::invalidCallback, "The login response could not be verified. Please try again."},
    Words{Case::expiredSession, "Your session has expired. Please log in again."},
    Words{Case::invalidResponse, "Lumivane received an invalid login response."},
    Words{Case::unavailable, "Login is temporarily unavailable. Please try again."},
    Words{Case::cancelled, "Login was cancelled."},
    Words{Case::lastIdentity, "That is the only login on your account. Link another one first."},
    Words{Case::deviceTakeoverRequired,
          "This account is signed in on another Mac. Sign out here and log in again to move it."},
    Words{Case::deviceEvicted, "You signed in on another Mac. Lumivane is signed in there now."},
    Words{Case::deviceRequired, "Lumivane could not identify this Mac. Try logging in again."},
    Words{Case::insufficientScope, "This window can only confirm moving your account to this Mac."},
    Words{Case::handleTaken, "That handle is already taken."},
    Words{Case::handleReserved, "That handle is reserved."},
    Words{Case::identityAlreadyLinked,
          "That login already belongs to a different Lumivane account. Sign in to that account and "
          "delete it, then link it here."},
    Words{Case::providerAlreadyLinked,
          "This account already uses a different login from that provider. Unlink it first."},
    Words{Case::reauthenticationFailed,
          "That is a different account from the one you are signed in to."},
};

} // namespace

TEST(AuthenticationError, SaysItsWords) {
    ASSERT_EQ(words.size(), 15U);
    for (std::size_t index = 0; index < words.size(); ++index) {
        EXPECT_EQ(static_cast<std::size_t>(words.at(index).errorCase), index);
        const AuthenticationError error(words.at(index).errorCase);
        EXPECT_EQ(error.errorDescription(), QString::fromUtf8(words.at(index).text));
        EXPECT_EQ(localizedDescription(error), error.errorDescription());
        EXPECT_EQ(LumivaneError::sanitize(error.errorDescription()), error.errorDescription());
    }
}

TEST(AuthenticationError, IsToldApartByItsCaseAlone) {
    EXPECT_EQ(AuthenticationError(Case::cancelled), AuthenticationError(Case::cancelled));
    EXPECT_FALSE(AuthenticationError(Case::cancelled) == AuthenticationError(Case::unavailable));
    EXPECT_EQ(errorTypeName(AuthenticationError(Case::cancelled)), "AuthenticationError");
}

} // namespace lumivane
