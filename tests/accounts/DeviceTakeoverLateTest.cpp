#include "accounts/DeviceTakeoverFixture.h"

#include <functional>

namespace lumivane {

using test::drainEvents;
using test::watch;
using Case = AuthenticationError::Case;
using State = AuthenticationState;
using namespace std::chrono_literals;

class DeviceTakeoverLateTest : public test::DeviceTakeoverFixture {};

// Answers after the question was closed

TEST_F(DeviceTakeoverLateTest, AnAnswerAfterTheWindowClosedIsStoredAndLogged) {
    ask(question(5min));
    service.takeoverScript.hold();
    const auto outcome = startConfirming();
    clock.advance(5min);
    expectClosed(closedWords);
    service.takeoverScript.release(0, service.login(4));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(store.stored, storedFormOf(service.login(4)));
    EXPECT_EQ(keeper.credentials(), service.login(4));
    EXPECT_EQ(count(lateLine), 1);
    EXPECT_EQ(count(confirmedLine), 1);
}

TEST_F(DeviceTakeoverLateTest, AnAnswerAfterANoIsStoredAndLogged) {
    ask();
    service.takeoverScript.hold();
    const auto outcome = startConfirming();
    takeover->cancel();
    service.takeoverScript.release(0, service.login(4));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(count(lateLine), 1);
}

TEST_F(DeviceTakeoverLateTest, AQuestionThatEndsOverAHeldLoginShowsThatLogin) {
    const std::vector<std::function<void()>> ends{[this] { takeover->cancel(); },
                                                  [this] { clock.advance(5min); }};
    for (const auto& end : ends) {
        endSession();
        ask(question(5min, "ticket-1"));
        service.takeoverScript = test::ScriptedCall<AuthCredentials>(service.login(4));
        service.takeoverScript.hold();
        startConfirming();
        takeover->cancel();
        const AuthCredentials late = service.login(4);
        web.callback.hold();
        service.completeScript.answerWith(question(5min, "ticket-2"));
        const auto second = start(AuthIntent::signIn, AuthProvider::google);
        service.takeoverScript.release(0, late);
        drainEvents();
        EXPECT_EQ(keeper.credentials(), late);
        web.callback.release(web.callback.pendingCount() - 1,
                             test::FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs));
        web.callback.letGo();
        drainEvents();
        EXPECT_TRUE(second->value);
        ASSERT_TRUE(status.state().takeoverContext());
        end();
        drainEvents();
        EXPECT_EQ(status.state(), signedIn());
        EXPECT_EQ(store.stored, storedFormOf(late));
    }
}

TEST_F(DeviceTakeoverLateTest, AWindowThatClosesWhileTheAnswerIsStoredIsOpenedAgain) {
    ask(question(5min));
    store.saveGate.hold();
    const auto outcome = startConfirming();
    clock.advance(5min);
    expectClosed(closedWords);
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(count(lateLine), 0);
}

TEST_F(DeviceTakeoverLateTest, ARefusalAfterTheWindowClosedLeavesItsWords) {
    ask(question(5min));
    service.takeoverScript.hold();
    startConfirming();
    clock.advance(5min);
    service.takeoverScript.fail(0, Error(Case::expiredSession));
    drainEvents();
    expectClosed(closedWords);
}

TEST_F(DeviceTakeoverLateTest, AnErrorAfterTheWindowClosedIsSaid) {
    ask(question(5min));
    service.takeoverScript.hold();
    startConfirming();
    clock.advance(5min);
    service.takeoverScript.fail(0, Error(Case::unavailable));
    drainEvents();
    expectClosed(textOf(Case::unavailable));
}

TEST_F(DeviceTakeoverLateTest, AnErrorDoesNotTouchTheNextQuestion) {
    for (const auto errorCase : {Case::unavailable, Case::expiredSession}) {
        ask(question(5min, "ticket-1"));
        service.takeoverScript.hold();
        startConfirming();
        takeover->cancel();
        const auto second = question(5min, "ticket-2");
        ask(second);
        service.takeoverScript.fail(service.takeoverScript.pendingCount() - 1, Error(errorCase));
        drainEvents();
        EXPECT_EQ(status.state(), questionState(second));
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        EXPECT_EQ(clock.timerCount(), 1U);
        takeover->cancel();
    }
}

TEST_F(DeviceTakeoverLateTest, AnErrorDoesNotTouchTheNextLogin) {
    ask();
    service.takeoverScript.hold();
    startConfirming();
    takeover->cancel();
    web.callback.hold();
    start(AuthIntent::signIn, AuthProvider::google);
    service.takeoverScript.fail(0, Error(Case::unavailable));
    drainEvents();
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::google));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(DeviceTakeoverLateTest, AnOldYesDoesNotEndTheNextOnesFlight) {
    ask(question(5min, "ticket-1"));
    service.takeoverScript.hold();
    startConfirming();
    takeover->cancel();
    ask(question(5min, "ticket-2"));
    const auto second = startConfirming();
    service.takeoverScript.fail(0, Error(Case::unavailable));
    drainEvents();
    EXPECT_TRUE(status.takeoverInFlight());
    service.takeoverScript.release(1, service.login(4));
    drainEvents();
    EXPECT_TRUE(second->value);
    EXPECT_FALSE(status.takeoverInFlight());
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(DeviceTakeoverLateTest, AWindowThatClosesWhileTheKeyringAsksSendsNothing) {
    ask(question(5min));
    device.script.hold();
    const auto outcome = startConfirming();
    clock.advance(5min);
    device.script.release(0, test::FakeDeviceIdentity::complete());
    drainEvents();
    EXPECT_TRUE(outcome->value);
    expectClosed(closedWords);
    EXPECT_EQ(requestCount(), 0U);
}

TEST_F(DeviceTakeoverLateTest, AWallClockThatPassesTheEndWhileTheKeyringAsksSendsNothing) {
    ask(question(5min));
    device.script.hold();
    startConfirming();
    clock.jumpWall(5min);
    device.script.release(0, test::FakeDeviceIdentity::complete());
    drainEvents();
    expectClosed(closedWords);
    EXPECT_EQ(requestCount(), 0U);
}

TEST_F(DeviceTakeoverLateTest, ANoWhileTheKeyringAsksSendsNothing) {
    ask();
    device.script.hold();
    startConfirming();
    takeover->cancel();
    device.script.fail(0, Error(Case::unavailable));
    drainEvents();
    expectClosed(std::nullopt);
    EXPECT_EQ(requestCount(), 0U);
}

// A session that changes meanwhile

TEST_F(DeviceTakeoverLateTest, NothingLateCountsAfterTheSessionWent) {
    const std::vector<std::function<void()>> ends{
        [this] { service.takeoverScript.release(0, service.login(4)); },
        [this] { service.takeoverScript.fail(0, Error(Case::unavailable)); },
        [this] { service.takeoverScript.fail(0, Error(Case::expiredSession)); },
        [this] { service.takeoverScript.cancelPending(); }};
    service.takeoverScript.hold();
    ask();
    std::vector<std::shared_ptr<test::Outcome<bool>>> outcomes{startConfirming()};
    endSession();
    states.clear();
    status.setErrorMessage(u"as it was"_qs);
    for (const auto& end : ends) {
        end();
        drainEvents();
    }
    EXPECT_TRUE(outcomes[0]->value);
    EXPECT_TRUE(states.empty());
    EXPECT_EQ(status.errorMessage(), u"as it was"_qs);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    EXPECT_EQ(count(confirmedLine) + count(lateLine), 0);
}

TEST_F(DeviceTakeoverLateTest, AnErrorAfterTheSessionWentIsDropped) {
    for (const auto errorCase : {Case::unavailable, Case::expiredSession, Case::cancelled}) {
        ask();
        service.takeoverScript.hold();
        const auto outcome = startConfirming();
        endSession();
        service.takeoverScript.fail(service.takeoverScript.pendingCount() - 1, Error(errorCase));
        drainEvents();
        EXPECT_TRUE(outcome->value);
        expectClosed(std::nullopt);
    }
}

TEST_F(DeviceTakeoverLateTest, ASessionThatGoesWhileTheKeyringAsksSendsNothing) {
    ask();
    device.script.hold();
    startConfirming();
    endSession();
    device.script.release(0, test::FakeDeviceIdentity::complete());
    drainEvents();
    EXPECT_EQ(requestCount(), 0U);
    EXPECT_EQ(status.state(), State::signedOut());
}

TEST_F(DeviceTakeoverLateTest, ASessionThatGoesWhileTheAnswerIsStoredLeavesNothing) {
    ask();
    store.saveGate.hold();
    const auto outcome = startConfirming();
    const auto cleared = watch(keeper.handleUnauthorized());
    drainEvents();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(cleared->value, true);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_EQ(count(confirmedLine), 0);
}

TEST_F(DeviceTakeoverLateTest, TheOwnerMayGoAtEveryWait) {
    ask();
    device.script.hold();
    const auto first = startConfirming();
    takeover.reset();
    drainEvents();
    EXPECT_TRUE(first->value);

    takeover.emplace(ports, status, keeper, *authorization);
    device.script.letGo();
    service.takeoverScript.hold();
    const auto second = startConfirming();
    states.clear();
    takeover.reset();
    drainEvents();
    EXPECT_TRUE(second->value);
    EXPECT_TRUE(states.empty());
    EXPECT_EQ(store.stored, std::nullopt);
}

TEST_F(DeviceTakeoverLateTest, NoLineHoldsAnythingOfATakeover) {
    auto required = question(5min, "canary-ticket");
    required.currentDevice.name = u"canary-name"_qs;
    required.currentDevice.osVersion = u"canary-version"_qs;
    ask(required);
    service.user.displayName = u"canary-user"_qs;
    service.takeoverScript.hold();
    startConfirming();
    clock.advance(5min);
    service.takeoverScript.release(0, service.login(4));
    drainEvents();
    EXPECT_EQ(log.lines().size(), 3U);
    EXPECT_FALSE(log.holds("canary"));
    EXPECT_FALSE(log.holds("refresh-"));
}

} // namespace lumivane
