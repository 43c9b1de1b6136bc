#include "accounts/AuthenticationError.h"

#include "domain/LumivaneError.h"

#include <gtest/gtest.h>

#include <array>
#include <exception>
#include <stdexcept>

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

TEST(AuthenticationError, AKeyringThatIsTheReasonHasTheWord) {
    using Trouble = KeyringTrouble;
    EXPECT_EQ(keyringAdvice(Trouble::none), std::nullopt);
    EXPECT_EQ(keyringAdvice(Trouble::missing),
              u"No keyring answers on this desktop. Lumivane keeps your login there and nowhere "
              u"else: start or install one, then try again."_qs);
    EXPECT_EQ(keyringAdvice(Trouble::locked),
              u"Your keyring is locked or not set up. Lumivane keeps your login there and nowhere "
              u"else: try again, and unlock it when you are asked."_qs);
    EXPECT_EQ(keyringAdvice(Trouble::damaged),
              u"Your keyring holds a session that cannot be read. Remove the entry "
              u"\"com.marnoth.Lumivane.authentication\" from it, then try again."_qs);
    for (const Trouble trouble : {Trouble::missing, Trouble::locked, Trouble::damaged}) {
        const AuthenticationError error(Case::deviceRequired, trouble);
        EXPECT_EQ(error.errorDescription(), keyringAdvice(trouble));
        EXPECT_TRUE(isKeyringAdvice(error.errorDescription()));
        EXPECT_EQ(LumivaneError::sanitize(error.errorDescription()), error.errorDescription());
        EXPECT_EQ(keyringTrouble(std::make_exception_ptr(error)), trouble);
    }
    const AuthenticationError plain(Case::unavailable, Trouble::none);
    EXPECT_EQ(plain.errorDescription(), AuthenticationError(Case::unavailable).errorDescription());
    EXPECT_FALSE(isKeyringAdvice(plain.errorDescription()));
}

TEST(AuthenticationError, OnlyItselfTellsOfAKeyring) {
    EXPECT_EQ(keyringTrouble(nullptr), KeyringTrouble::none);
    EXPECT_EQ(keyringTrouble(std::make_exception_ptr(AuthenticationError(Case::unavailable))),
              KeyringTrouble::none);
    EXPECT_EQ(keyringTrouble(std::make_exception_ptr(std::runtime_error("x"))),
              KeyringTrouble::none);
}

TEST(AuthenticationError, IsToldApartByItsCaseAndItsKeyring) {
    EXPECT_EQ(AuthenticationError(Case::cancelled), AuthenticationError(Case::cancelled));
    EXPECT_FALSE(AuthenticationError(Case::unavailable, KeyringTrouble::locked) ==
                 AuthenticationError(Case::unavailable));
    EXPECT_FALSE(AuthenticationError(Case::cancelled) == AuthenticationError(Case::unavailable));
    EXPECT_EQ(errorTypeName(AuthenticationError(Case::cancelled)), "AuthenticationError");
}

} // namespace lumivane
