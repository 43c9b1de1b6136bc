#include "accounts/AccountPartsFixture.h"
#include "accounts/AccountSamples.h"
#include "accounts/LinkedAccounts.h"

namespace lumivane {

/// The list of the machines that the account knows.
class LinkedDevicesTest : public test::AccountPartsFixture {
protected:
    LinkedDevicesTest() { signIn(); }

    std::size_t requestCount() const { return service.requestsTo(u"devices"_qs).size(); }

    const LinkedDeviceList list = test::sampleDevices();
    std::unique_ptr<LinkedAccounts> linked =
        std::make_unique<LinkedAccounts>(ports, status, keeper, authorization, changes);
};

TEST_F(LinkedDevicesTest, TheListIsLoadedAndOnlyItsLengthLogged) {
    service.devicesScript.hold();
    const auto outcome = start(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(status.devicesState(), DeviceListState::loading);
    service.devicesScript.release(0, list);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.devicesState(), DeviceListState::loaded);
    EXPECT_EQ(status.devices(), list.devices);
    EXPECT_EQ(status.state(), signedInAs(service.user));
    EXPECT_EQ(service.requests.front().token, "access-0");
    EXPECT_EQ(log.texts("lifecycle"), std::vector<std::string>{"Device list loaded; count=2"});
    EXPECT_FALSE(log.holds("Studio"));
}

TEST_F(LinkedDevicesTest, AnEmptyListIsLoadedToo) {
    service.devicesScript.answerWith({});
    run(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(status.devicesState(), DeviceListState::loaded);
    EXPECT_TRUE(status.devices().empty());
    EXPECT_TRUE(log.holds("Device list loaded; count=0"));
}

TEST_F(LinkedDevicesTest, NothingIsLoadedUnlessSignedIn) {
    for (const AuthenticationState& state :
         {AuthenticationState::signedOut(), AuthenticationState::refreshing(),
          AuthenticationState::authorizing(AuthProvider::github)}) {
        status.setState(state);
        run(linked->loadDevices(Loading::again));
    }
    EXPECT_EQ(requestCount(), 0U);
    EXPECT_EQ(status.devicesState(), DeviceListState::idle);
}

TEST_F(LinkedDevicesTest, ALoadedListIsLoadedAgainByForceAlone) {
    service.devicesScript.answerWith(list);
    run(linked->loadDevices(Loading::ifNeeded));
    run(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(requestCount(), 1U);
    service.devicesScript.answerWith({});
    run(linked->loadDevices(Loading::again));
    EXPECT_EQ(requestCount(), 2U);
    EXPECT_TRUE(status.devices().empty());
}

TEST_F(LinkedDevicesTest, AListThatCannotBeHadIsUnavailableWithoutAMessage) {
    for (const Case errorCase :
         {Case::unavailable, Case::deviceEvicted, Case::expiredSession, Case::insufficientScope}) {
        service.devicesScript.failWith(AuthenticationError(errorCase));
        run(linked->loadDevices(Loading::ifNeeded));
        EXPECT_EQ(status.devicesState(), DeviceListState::unavailable);
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        EXPECT_EQ(status.state(), signedInAs(service.user));
    }
    service.devicesScript.answerWith(list);
    run(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(status.devicesState(), DeviceListState::loaded);
}

TEST_F(LinkedDevicesTest, AForcedLoadThatFailsKeepsTheListThatWasThere) {
    service.devicesScript.answerWith(list);
    run(linked->loadDevices(Loading::ifNeeded));
    service.devicesScript.failWith(AuthenticationError(Case::unavailable));
    run(linked->loadDevices(Loading::again));
    EXPECT_EQ(status.devicesState(), DeviceListState::unavailable);
    EXPECT_EQ(status.devices(), list.devices);
}

TEST_F(LinkedDevicesTest, ACancelledLoadLeavesNoTrace) {
    service.devicesScript.failWith(Cancelled{});
    run(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(status.devicesState(), DeviceListState::idle);
    service.devicesScript.answerWith(list);
    run(linked->loadDevices(Loading::ifNeeded));
    service.devicesScript.failWith(Cancelled{});
    run(linked->loadDevices(Loading::again));
    EXPECT_EQ(status.devicesState(), DeviceListState::loaded);
    EXPECT_EQ(status.devices(), list.devices);
}

TEST_F(LinkedDevicesTest, TheListNeverAsksForTheKeyring) {
    letTheTokenAge();
    service.devicesScript.answerWith(list);
    run(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(service.requestsTo(u"devices"_qs).front().token, "access-1");
    EXPECT_EQ(store.savePrompts, std::vector(2, UnlockPrompt::never));
}

TEST_F(LinkedDevicesTest, AnOutageOfTheRefreshIsAnOutageOfTheList) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::unavailable);
    run(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(status.devicesState(), DeviceListState::unavailable);
    EXPECT_EQ(status.state(), signedInAs(service.user));
    EXPECT_EQ(requestCount(), 0U);
}

TEST_F(LinkedDevicesTest, ARefusedTokenEndsTheSessionAndTheListWithIt) {
    keeper.onForgetting = [this] { status.setDevices({}, DeviceListState::idle); };
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    run(linked->loadDevices(Loading::ifNeeded));
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(status.devicesState(), DeviceListState::idle);
}

TEST_F(LinkedDevicesTest, SignOutDuringTheLoadDropsItsAnswer) {
    keeper.onForgetting = [this] { status.setDevices({}, DeviceListState::idle); };
    for (const bool succeeds : {true, false}) {
        service.devicesScript = test::ScriptedCall<LinkedDeviceList>(list);
        service.devicesScript.hold();
        const auto outcome = start(linked->loadDevices(Loading::ifNeeded));
        signOut();
        if (succeeds) {
            service.devicesScript.release(0, list);
        } else {
            service.devicesScript.fail(0, AuthenticationError(Case::unavailable));
        }
        test::drainEvents();
        EXPECT_TRUE(outcome->value);
        EXPECT_EQ(status.state(), AuthenticationState::signedOut());
        EXPECT_EQ(status.devicesState(), DeviceListState::idle);
        EXPECT_TRUE(status.devices().empty());
        EXPECT_FALSE(log.holds("Device list loaded"));
        signIn();
    }
}

TEST_F(LinkedDevicesTest, SignOutWhileTheTokenIsFetchedAsksForNothing) {
    letTheTokenAge();
    service.refreshAnswer.hold();
    const auto outcome = start(linked->loadDevices(Loading::ifNeeded));
    signOut();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(requestCount(), 0U);
    service.refreshAnswer.cancelPending();
}

TEST_F(LinkedDevicesTest, OfTwoLoadsTheLaterOneCounts) {
    service.devicesScript.hold();
    const auto first = start(linked->loadDevices(Loading::again));
    const auto second = start(linked->loadDevices(Loading::again));
    service.devicesScript.release(1, list);
    test::drainEvents();
    service.devicesScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(first->value && second->value);
    EXPECT_EQ(status.devicesState(), DeviceListState::loaded);
    EXPECT_EQ(status.devices(), list.devices);
}

TEST_F(LinkedDevicesTest, AListThatComesDuringARefreshLeavesTheRefreshAlone) {
    for (const bool succeeds : {true, false}) {
        service.devicesScript = test::ScriptedCall<LinkedDeviceList>(list);
        service.devicesScript.hold();
        start(linked->loadDevices(Loading::again));
        letTheTokenAge();
        service.refreshAnswer = test::ScriptedCall<bool>(true);
        service.refreshAnswer.hold();
        const auto token = test::watch(keeper.validAccessToken(
            SessionKeeper::defaultMinimumValidity, UnlockPrompt::never, std::stop_token()));
        test::drainEvents();
        if (succeeds) {
            service.devicesScript.release(0, list);
        } else {
            service.devicesScript.fail(0, AuthenticationError(Case::unavailable));
        }
        test::drainEvents();
        EXPECT_EQ(status.state(), AuthenticationState::refreshing());
        service.refreshAnswer.release(0, true);
        test::drainEvents();
        EXPECT_TRUE(token->value);
        EXPECT_EQ(status.state(), signedInAs(service.user));
    }
}

TEST_F(LinkedDevicesTest, ALoadThatOutlivesItsOwnerTouchesNothing) {
    service.devicesScript.hold();
    const auto outcome = start(linked->loadDevices(Loading::ifNeeded));
    linked.reset();
    service.devicesScript.release(0, list);
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(status.devices().empty());
}

} // namespace lumivane
