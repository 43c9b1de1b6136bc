#include "accounts/DeviceTakeoverFixture.h"

namespace lumivane {

using test::drainEvents;
using Case = AuthenticationError::Case;
using State = AuthenticationState;
using namespace std::chrono_literals;
using testing::ElementsAre;

class DeviceTakeoverTest : public test::DeviceTakeoverFixture {};

// The question

TEST_F(DeviceTakeoverTest, AuthorizingDeviceTakeover) {
    const auto required = question();
    ask(required, AuthProvider::google);
    EXPECT_THAT(states, ElementsAre(State::authorizing(AuthProvider::google),
                                    questionState(required, AuthProvider::google)));
    EXPECT_EQ(status.state().takeoverContext()->ticket, SecretText("ticket-1"));
    EXPECT_EQ(status.state().takeoverContext()->currentDevice.name, u"Laptop"_qs);
    EXPECT_FALSE(journal.holds(u"save"_qs));
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    EXPECT_FALSE(status.takeoverInFlight());
}

TEST_F(DeviceTakeoverTest, TheQuestionIsLoggedWithTheKindAlone) {
    ask();
    EXPECT_EQ(count("Login needs a device takeover; kind=laptop"), 1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(DeviceTakeoverTest, AKindFromANewerServiceIsLoggedAsUnknown) {
    auto required = question();
    required.currentDevice.kind = DeviceKind::unknown;
    ask(required);
    EXPECT_EQ(count("Login needs a device takeover; kind=unknown"), 1);
}

TEST_F(DeviceTakeoverTest, TheQuestionTakesMessageAndDevicesAway) {
    status.setErrorMessage(u"Before."_qs);
    LinkedDevice other;
    other.deviceID = u"d-1"_qs;
    status.setDevices({other}, DeviceListState::loaded);
    ask();
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(status.devices().empty());
    EXPECT_EQ(status.devicesState(), DeviceListState::idle);
}

TEST_F(DeviceTakeoverTest, AQuestionThatEndsNowIsNeverAsked) {
    for (const auto lifetime : {0s, -1s, -100000s}) {
        service.completeScript.answerWith(question(lifetime));
        authorize();
        EXPECT_EQ(status.state(), State::failed(textOf(Case::invalidResponse)));
    }
    for (const State& state : states) {
        EXPECT_FALSE(state.takeoverContext());
    }
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(DeviceTakeoverTest, AQuestionMayLastAFewThousandYears) {
    auto required = question();
    required.expiresAt = QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59), Qt::UTC);
    ask(required);
    clock.advance(24h);
    EXPECT_EQ(status.state(), questionState(required));
}

// Yes

TEST_F(DeviceTakeoverTest, DeviceTakeoverConfirmedSignedIn) {
    ask();
    states.clear();
    confirm();
    EXPECT_THAT(states, ElementsAre(signedIn()));
    EXPECT_EQ(keeper.credentials(), service.login(4));
    EXPECT_EQ(keeper.storedSession(), storedFormOf(service.login(4)));
    EXPECT_EQ(store.stored, storedFormOf(service.login(4)));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_FALSE(status.takeoverInFlight());
    EXPECT_EQ(count(confirmedLine), 1);
    EXPECT_EQ(count(lateLine), 0);
}

TEST_F(DeviceTakeoverTest, TheTicketIsTheTokenAndThisMachineGoesAlong) {
    ask(question(1min, "ticket-9"));
    journal.clear();
    confirm();
    const auto request = service.requestsTo(u"takeover"_qs).at(0);
    EXPECT_EQ(request.token, "ticket-9");
    EXPECT_EQ(request.device, test::FakeDeviceIdentity::complete());
    EXPECT_EQ(device.prompts.back(), UnlockPrompt::allowed);
    EXPECT_THAT(store.savePrompts, ElementsAre(UnlockPrompt::allowed));
    EXPECT_EQ(journal.entries(), QStringList({u"registration"_qs, u"takeover"_qs, u"save"_qs,
                                              u"saved"_qs, u"signedIn"_qs}));
}

TEST_F(DeviceTakeoverTest, ItIsInFlightFromTheYesToTheEnd) {
    ask();
    device.script.hold();
    service.takeoverScript.hold();
    store.saveGate.hold();
    const auto outcome = startConfirming();
    EXPECT_TRUE(status.takeoverInFlight());
    device.script.release(0, test::FakeDeviceIdentity::complete());
    drainEvents();
    EXPECT_TRUE(status.takeoverInFlight());
    EXPECT_EQ(requestCount(), 1U);
    EXPECT_FALSE(journal.holds(u"save"_qs));
    service.takeoverScript.release(0, service.login(4));
    drainEvents();
    EXPECT_TRUE(status.takeoverInFlight());
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    EXPECT_TRUE(status.state().takeoverContext());
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_FALSE(status.takeoverInFlight());
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(DeviceTakeoverTest, AConfirmedTakeoverHasNoClockAnyMore) {
    ask();
    confirm();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(1h);
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(DeviceTakeoverTest, AYesWithoutAQuestionIsNothing) {
    confirm();
    EXPECT_TRUE(states.empty());
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_FALSE(status.takeoverInFlight());
}

// A yes that fails

TEST_F(DeviceTakeoverTest, WithoutADeviceNothingIsAsked) {
    ask();
    device.script.failWith(Error(Case::unavailable));
    confirm();
    expectClosed(textOf(Case::deviceRequired));
    EXPECT_EQ(requestCount(), 0U);
    EXPECT_EQ(count("Device identity unavailable; completing the login without registering this "
                    "Mac"),
              1);
}

TEST_F(DeviceTakeoverTest, AKeyringThatDoesNotSayWhichMachineThisIsIsNamed) {
    ask();
    device.script.failWith(Error(Case::unavailable, KeyringTrouble::locked));
    confirm();
    expectClosed(*keyringAdvice(KeyringTrouble::locked));
    EXPECT_EQ(requestCount(), 0U);
}

TEST_F(DeviceTakeoverTest, WithAnIncompleteDeviceNothingIsAsked) {
    std::vector<DeviceRegistration> incomplete(4, test::FakeDeviceIdentity::complete());
    incomplete[0].identifier = u"123456789012345"_qs;
    incomplete[1].name.clear();
    incomplete[2].kind = DeviceKind::unknown;
    incomplete[3].osVersion = QString(33, u'1');
    for (const DeviceRegistration& registration : incomplete) {
        device.script.answerWith(test::FakeDeviceIdentity::complete());
        ask();
        device.script.answerWith(registration);
        confirm();
        expectClosed(textOf(Case::deviceRequired));
    }
    EXPECT_EQ(requestCount(), 0U);
}

TEST_F(DeviceTakeoverTest, DeviceTakeoverErrorSignedOut) {
    for (const auto errorCase : {Case::unavailable, Case::deviceEvicted, Case::insufficientScope,
                                 Case::deviceRequired, Case::invalidResponse}) {
        service.completeScript.answerWith(question());
        ask();
        service.takeoverScript.failWith(Error(errorCase));
        confirm();
        expectClosed(textOf(errorCase));
        EXPECT_EQ(store.stored, std::nullopt);
        EXPECT_EQ(keeper.credentials(), std::nullopt);
    }
    EXPECT_EQ(count(confirmedLine), 0);
}

TEST_F(DeviceTakeoverTest, AnErrorWithoutWordsIsAnOutage) {
    ask();
    service.takeoverScript.failWith(std::runtime_error("canary"));
    confirm();
    expectClosed(textOf(Case::unavailable));
}

TEST_F(DeviceTakeoverTest, ATicketThatTheServiceCallsExpiredClosesTheWindow) {
    ask();
    service.takeoverScript.failWith(Error(Case::expiredSession));
    confirm();
    expectClosed(closedWords);
}

TEST_F(DeviceTakeoverTest, AStoreThatRefusesLeavesNoSession) {
    ask();
    store.saveGate.failWith(Error(Case::unavailable));
    confirm();
    expectClosed(textOf(Case::unavailable));
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    EXPECT_EQ(keeper.storedSession(), std::nullopt);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(count(confirmedLine), 0);
}

TEST_F(DeviceTakeoverTest, AFailureTakesDevicesAndWorkAway) {
    ask();
    status.setDeviceActionInFlight(u"d-1"_qs);
    status.setDevices({LinkedDevice()}, DeviceListState::loaded);
    service.takeoverScript.failWith(Error(Case::unavailable));
    confirm();
    EXPECT_EQ(status.deviceActionInFlight(), std::nullopt);
    EXPECT_TRUE(status.devices().empty());
    EXPECT_EQ(status.devicesState(), DeviceListState::idle);
}

// No

TEST_F(DeviceTakeoverTest, DeviceTakeoverCancelledSignedOut) {
    ask();
    states.clear();
    journal.clear();
    takeover->cancel();
    drainEvents();
    EXPECT_THAT(states, ElementsAre(State::signedOut()));
    expectClosed(std::nullopt);
    EXPECT_EQ(journal.entries(), QStringList({u"signedOut"_qs})); // nobody else is told
}

TEST_F(DeviceTakeoverTest, ANoTakesAMessageAway) {
    ask();
    status.setErrorMessage(u"Before."_qs);
    takeover->cancel();
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(DeviceTakeoverTest, ANoWithoutAQuestionIsNothing) {
    beSignedIn();
    status.setErrorMessage(u"Before."_qs);
    takeover->cancel();
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(status.errorMessage(), u"Before."_qs);
}

TEST_F(DeviceTakeoverTest, AfterANoTheUserMayLogInAgain) {
    ask();
    takeover->cancel();
    ask(question(10min, "ticket-2"));
    confirm();
    EXPECT_EQ(service.requestsTo(u"takeover"_qs).at(0).token, "ticket-2");
    EXPECT_EQ(status.state(), signedIn());
}

// Time

TEST_F(DeviceTakeoverTest, DeviceTakeoverExpiredSignedOut) {
    ask(question(5min));
    clock.advance(5min - 1ms);
    EXPECT_TRUE(status.state().takeoverContext());
    clock.advance(1ms);
    expectClosed(closedWords);
    EXPECT_EQ(store.stored, std::nullopt);
}

TEST_F(DeviceTakeoverTest, AYesAtTheVeryEndIsTooLate) {
    ask(question(5min));
    clock.jumpWall(5min); // the timer has not fired
    confirm();
    expectClosed(closedWords);
    EXPECT_EQ(requestCount(), 0U);
}

TEST_F(DeviceTakeoverTest, AYesJustBeforeTheEndCounts) {
    ask(question(5min));
    clock.jumpWall(5min - 1s);
    confirm();
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(DeviceTakeoverTest, AWallClockThatIsSetBackKeepsTheWindowOpen) {
    ask(question(5min));
    drainEvents();
    clock.jumpWall(-2min);
    clock.advance(5min);
    EXPECT_TRUE(status.state().takeoverContext());
    clock.advance(2min - 1ms);
    EXPECT_TRUE(status.state().takeoverContext());
    clock.advance(1ms);
    expectClosed(closedWords);
}

TEST_F(DeviceTakeoverTest, ANewQuestionHasAClockOfItsOwn) {
    ask(question(1min));
    takeover->cancel();
    const auto second = question(10min, "ticket-2");
    ask(second);
    EXPECT_EQ(clock.timerCount(), 1U);
    clock.advance(9min);
    EXPECT_EQ(status.state(), questionState(second));
    clock.advance(1min);
    expectClosed(closedWords);
}

TEST_F(DeviceTakeoverTest, ASessionThatGoesStopsTheClock) {
    ask();
    endSession();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(1h);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(DeviceTakeoverTest, ASeededQuestionHasNoClock) {
    const auto required = question(1min);
    takeover->seed({required.takeoverTicket, required.expiresAt, AuthProvider::github,
                    required.currentDevice});
    EXPECT_EQ(status.state(), questionState(required));
    clock.advance(1h);
    EXPECT_EQ(status.state(), questionState(required));
}

TEST_F(DeviceTakeoverTest, TheOwnerMayGoWhileTheClockRuns) {
    ask();
    takeover.reset();
    drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    states.clear();
    clock.advance(1h);
    EXPECT_TRUE(states.empty());
}

} // namespace lumivane
