#include "accounts/AuthenticationState.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

using Case = AuthenticationState::Case;

UserSummary someone() {
    UserSummary user;
    user.displayName = u"Ada"_qs;
    user.handle = u"ada"_qs;
    return user;
}

DeviceTakeoverContext someTakeover() {
    DeviceTakeoverContext context;
    context.ticket = SecretText(QByteArrayView("ticket"));
    context.provider = AuthProvider::github;
    context.currentDevice.name = u"Studio"_qs;
    return context;
}

std::vector<AuthenticationState> everyState() {
    return {AuthenticationState::restoreFailed(u"message"_qs),
            AuthenticationState::authorizing(AuthProvider::github),
            AuthenticationState::signedIn(someone()),
            AuthenticationState::deviceTakeover(someTakeover()),
            AuthenticationState::failed(u"message"_qs),
            AuthenticationState::restoring(),
            AuthenticationState::signedOut(),
            AuthenticationState::signingOut(),
            AuthenticationState::refreshing()};
}

} // namespace

TEST(AuthenticationState, CasesStandInTheirOrder) {
    const auto states = everyState();
    for (std::size_t index = 0; index < states.size(); ++index) {
        EXPECT_EQ(static_cast<std::size_t>(states[index].stateCase()), index);
        EXPECT_TRUE(states[index].is(static_cast<Case>(index)));
    }
    EXPECT_EQ(static_cast<int>(Case::refreshing), 8);
}

TEST(AuthenticationState, OnlySignedInHasAUser) {
    for (const AuthenticationState& state : everyState()) {
        const bool isSignedIn = state.is(Case::signedIn);
        EXPECT_EQ(state.isSignedIn(), isSignedIn);
        EXPECT_EQ(state.user(), isSignedIn ? std::optional(someone()) : std::nullopt);
    }
}

TEST(AuthenticationState, ARefreshingSessionHasNoUser) {
    EXPECT_FALSE(AuthenticationState::refreshing().user());
    EXPECT_FALSE(AuthenticationState::refreshing().isSignedIn());
}

TEST(AuthenticationState, OnlyATakeoverHasItsContext) {
    for (const AuthenticationState& state : everyState()) {
        EXPECT_EQ(state.takeoverContext(),
                  state.is(Case::deviceTakeover) ? std::optional(someTakeover()) : std::nullopt);
    }
}

TEST(AuthenticationState, MessagesAndProvidersBelongToTheirCases) {
    for (const AuthenticationState& state : everyState()) {
        const bool hasMessage = state.is(Case::restoreFailed) || state.is(Case::failed);
        EXPECT_EQ(state.message(), hasMessage ? std::optional(u"message"_qs) : std::nullopt);
        EXPECT_EQ(state.provider(),
                  state.is(Case::authorizing) ? std::optional(AuthProvider::github) : std::nullopt);
    }
}

TEST(AuthenticationState, EqualityLooksAtCaseAndPayload) {
    const auto states = everyState();
    for (std::size_t one = 0; one < states.size(); ++one) {
        for (std::size_t other = 0; other < states.size(); ++other) {
            EXPECT_EQ(states[one] == states[other], one == other);
        }
    }
    UserSummary renamed = someone();
    renamed.handle = u"lovelace"_qs;
    EXPECT_NE(AuthenticationState::signedIn(someone()), AuthenticationState::signedIn(renamed));
    EXPECT_NE(AuthenticationState::failed(u"a"_qs), AuthenticationState::failed(u"b"_qs));
    DeviceTakeoverContext other = someTakeover();
    other.ticket = SecretText(QByteArrayView("another"));
    EXPECT_NE(AuthenticationState::deviceTakeover(someTakeover()),
              AuthenticationState::deviceTakeover(other));
}

TEST(ProviderAvailability, OnlyAvailableHasProviders) {
    const std::vector<AuthProvider> list{AuthProvider::github, AuthProvider::google};
    EXPECT_EQ(ProviderAvailability::available(list).providers(), list);
    EXPECT_TRUE(ProviderAvailability::loading().providers().empty());
    EXPECT_TRUE(ProviderAvailability::unavailable().providers().empty());
    EXPECT_NE(ProviderAvailability::loading(), ProviderAvailability::unavailable());
    EXPECT_NE(ProviderAvailability::available({}), ProviderAvailability::unavailable());
    EXPECT_TRUE(ProviderAvailability::available({}).is(ProviderAvailability::Case::available));
    EXPECT_EQ(static_cast<int>(ProviderAvailability::Case::unavailable), 2);
}

TEST(DeviceListState, CasesStandInTheirOrder) {
    EXPECT_EQ(static_cast<int>(DeviceListState::idle), 0);
    EXPECT_EQ(static_cast<int>(DeviceListState::loading), 1);
    EXPECT_EQ(static_cast<int>(DeviceListState::loaded), 2);
    EXPECT_EQ(static_cast<int>(DeviceListState::unavailable), 3);
}

} // namespace lumivane
