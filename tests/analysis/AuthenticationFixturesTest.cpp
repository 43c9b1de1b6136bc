#include "analysis/AuthenticationFixtures.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

TestingMode uiTesting() {
    TestingMode mode;
    mode.isUITesting = true;
    return mode;
}

} // namespace

TEST(AuthenticationFixtures, AnOrdinaryStartRestoresItsSessionAndSeedsNothing) {
    TestingMode mode;
    mode.signedIn = true;
    mode.takeover = true;
    EXPECT_EQ(AuthenticationFixtures::start(mode), AuthenticationStart::restoring);
    EXPECT_TRUE(AuthenticationFixtures::seeds(mode).isEmpty());
}

TEST(AuthenticationFixtures, ATestedProcessKeepsAwayFromTheUsersItemsInTheKeyring) {
    TestingMode unitTesting;
    unitTesting.isUnitTesting = true;
    const QString ordinary = u"com.example.item"_qs;
    EXPECT_EQ(AuthenticationFixtures::keyringService({}, ordinary), ordinary);
    for (const TestingMode& mode : {uiTesting(), unitTesting}) {
        EXPECT_EQ(AuthenticationFixtures::keyringService(mode, ordinary),
                  u"com.example.item.Testing");
    }
}

TEST(AuthenticationFixtures, UnitTestsStartSignedIn) {
    TestingMode mode;
    mode.isUnitTesting = true;
    const AuthenticationSeeds seeds = AuthenticationFixtures::seeds(mode);
    ASSERT_TRUE(seeds.user);
    EXPECT_FALSE(seeds.user->handle.isEmpty());
    EXPECT_FALSE(seeds.devices);
    EXPECT_FALSE(seeds.takeover);
}

TEST(AuthenticationFixtures, ViewsStartSignedOutUnlessAskedOtherwise) {
    EXPECT_EQ(AuthenticationFixtures::start(uiTesting()), AuthenticationStart::signedOut);
    EXPECT_TRUE(AuthenticationFixtures::seeds(uiTesting()).isEmpty());
}

TEST(AuthenticationFixtures, ASignedInViewHasTwoDevicesOneOfThemThis) {
    TestingMode mode = uiTesting();
    mode.signedIn = true;
    const AuthenticationSeeds seeds = AuthenticationFixtures::seeds(mode);
    ASSERT_TRUE(seeds.user);
    EXPECT_FALSE(seeds.user->displayName.isEmpty());
    EXPECT_TRUE(seeds.user->verifiedEmail);
    EXPECT_EQ(seeds.devicesState, DeviceListState::loaded);
    ASSERT_TRUE(seeds.devices);
    ASSERT_EQ(seeds.devices->size(), 2U);
    EXPECT_TRUE(seeds.devices->at(0).isCurrent);
    EXPECT_FALSE(seeds.devices->at(1).isCurrent);
}

TEST(AuthenticationFixtures, TheDevicesCanBeUnavailable) {
    TestingMode mode = uiTesting();
    mode.signedIn = true;
    mode.devicesUnavailable = true;
    const AuthenticationSeeds seeds = AuthenticationFixtures::seeds(mode);
    EXPECT_TRUE(seeds.user);
    EXPECT_EQ(seeds.devicesState, DeviceListState::unavailable);
    EXPECT_FALSE(seeds.devices);
}

TEST(AuthenticationFixtures, UnavailableDevicesNeedASignedInView) {
    TestingMode mode = uiTesting();
    mode.devicesUnavailable = true;
    EXPECT_TRUE(AuthenticationFixtures::seeds(mode).isEmpty());
}

TEST(AuthenticationFixtures, ATakeoverHasAFixedTicket) {
    TestingMode mode = uiTesting();
    mode.takeover = true;
    const AuthenticationSeeds seeds = AuthenticationFixtures::seeds(mode);
    ASSERT_TRUE(seeds.takeover);
    EXPECT_EQ(seeds.takeover->ticket, SecretText("fixture-takeover-ticket"));
    EXPECT_FALSE(seeds.takeover->currentDevice.name.isEmpty());
    EXPECT_FALSE(seeds.user);
}

} // namespace lumivane
