#include "accounts/SignInFixture.h"

#include <array>
#include <functional>
#include <string>
#include <tuple>

namespace lumivane {

using test::drainEvents;
using test::FakeWebAuthenticator;
using test::outcomeOf;
using test::watch;
using Case = AuthenticationError::Case;
using State = AuthenticationState;
using namespace std::chrono_literals;
using testing::ElementsAre;

/// What comes back after the session has changed, after another login has begun, or after its owner
/// has gone.
class AccountAuthorizationLateTest : public test::SignInFixture {
protected:
    /// One of the waits of a login, and the three ways it can end late.
    struct Wait {
        const char* name;
        std::function<void()> hold;
        std::function<void()> answer;
        std::function<void(const std::exception_ptr&)> fail;
        QString nextStep; ///< which must not come any more
    };

    template <typename Value>
    Wait wait(const char* name, test::ScriptedCall<Value>& call, Value answer,
              const QString& nextStep) {
        return {name, [&call] { call.hold(); },
                [&call, answer] { call.release(call.pendingCount() - 1, answer); },
                [&call](const std::exception_ptr& failure) {
                    try {
                        std::rethrow_exception(failure);
                    } catch (const Error& error) {
                        call.fail(call.pendingCount() - 1, error);
                    } catch (const Cancelled&) {
                        call.cancelPending();
                    }
                },
                nextStep};
    }

    std::vector<Wait> waits() {
        return {
            wait("transaction", service.transactionScript,
                 AuthTransaction{u"transaction-1"_qs, QUrl(u"http://a/"_qs), {}},
                 u"authenticate"_qs),
            wait("page", web.callback, FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs),
                 u"registration"_qs),
            wait("device", device.script, test::FakeDeviceIdentity::complete(), u"complete"_qs),
            wait("completion", service.completeScript, AuthCompletion(service.login(1)),
                 u"save"_qs),
        };
    }

    /// Ends the session while the login waits, lets `end` end the wait, and expects that nothing
    /// comes of it.
    void expectDropped(AuthIntent intent, const Wait& wait, const std::function<void()>& end) {
        SCOPED_TRACE(wait.name);
        wait.hold();
        const auto outcome = start(intent);
        ASSERT_FALSE(outcome->hasEnded());
        endSession();
        journal.clear();
        states.clear();
        status.setErrorMessage(u"as it was"_qs);
        end();
        drainEvents();
        EXPECT_TRUE(outcome->value);
        EXPECT_EQ(status.state(), State::signedOut());
        EXPECT_TRUE(states.empty());
        EXPECT_EQ(status.errorMessage(), u"as it was"_qs);
        EXPECT_FALSE(journal.holds(wait.nextStep));
        EXPECT_EQ(store.stored, std::nullopt);
        EXPECT_EQ(keeper.credentials(), std::nullopt);
        EXPECT_TRUE(proofs.empty());
        EXPECT_EQ(deleteFailures, 0);
    }
};

constexpr std::size_t waitCount = 4;

class AccountAuthorizationLateWaitTest
    : public AccountAuthorizationLateTest,
      public testing::WithParamInterface<std::tuple<AuthIntent, std::size_t>> {
protected:
    void SetUp() override {
        if (intent() != AuthIntent::signIn) {
            beSignedIn();
        }
    }

    static AuthIntent intent() { return std::get<0>(GetParam()); }

    Wait waiting() { return waits().at(std::get<1>(GetParam())); }
};

TEST_P(AccountAuthorizationLateWaitTest, AnAnswerIsDropped) {
    const Wait wait = waiting();
    expectDropped(intent(), wait, wait.answer);
}

TEST_P(AccountAuthorizationLateWaitTest, AnErrorIsDropped) {
    const Wait wait = waiting();
    expectDropped(intent(), wait,
                  [&wait] { wait.fail(std::make_exception_ptr(Error(Case::unavailable))); });
}

TEST_P(AccountAuthorizationLateWaitTest, AGivenUpPageIsDropped) {
    const Wait wait = waiting();
    expectDropped(intent(), wait,
                  [&wait] { wait.fail(std::make_exception_ptr(Error(Case::cancelled))); });
}

TEST_P(AccountAuthorizationLateWaitTest, ACancellationIsDropped) {
    const Wait wait = waiting();
    expectDropped(intent(), wait, [&wait] { wait.fail(std::make_exception_ptr(Cancelled())); });
}

TEST_P(AccountAuthorizationLateWaitTest, TheOwnerMayGo) {
    const Wait wait = waiting();
    wait.hold();
    const auto outcome = start(intent());
    states.clear();
    takeover.reset();
    authorization.reset();
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(states.empty());
    EXPECT_FALSE(journal.holds(wait.nextStep));
}

namespace {

std::string waitName(const testing::TestParamInfo<std::tuple<AuthIntent, std::size_t>>& info) {
    constexpr std::array names{"Transaction", "Page", "Device", "Completion"};
    constexpr std::array intents{"SignIn", "Link", "DeleteReauth"};
    return std::string(intents.at(std::size_t(std::get<0>(info.param)))) +
           names.at(std::get<1>(info.param));
}

} // namespace

INSTANTIATE_TEST_SUITE_P(EveryWait, AccountAuthorizationLateWaitTest,
                         testing::Combine(testing::ValuesIn(allCases<AuthIntent>()),
                                          testing::Range(std::size_t{0}, waitCount)),
                         waitName);

class AccountAuthorizationGivenUpTest : public AccountAuthorizationLateWaitTest {};

TEST_P(AccountAuthorizationGivenUpTest, TheFormerStateIsBackAtOnceAndNothingComesLater) {
    const Wait wait = waiting();
    const State former = status.state();
    status.setErrorMessage(u"as it was"_qs);
    wait.hold();
    const auto outcome = start(intent());
    ASSERT_FALSE(outcome->hasEnded());
    authorization->cancel();
    EXPECT_EQ(status.state(), former);
    states.clear();
    journal.clear();
    drainEvents();
    EXPECT_TRUE(outcome->value);
    wait.answer();
    drainEvents();
    EXPECT_TRUE(states.empty());
    EXPECT_FALSE(journal.holds(wait.nextStep));
    EXPECT_EQ(status.errorMessage(), u"as it was"_qs);
    EXPECT_TRUE(proofs.empty());
    EXPECT_EQ(deleteFailures, 0);
}

TEST_P(AccountAuthorizationGivenUpTest, APortThatCannotBeStoppedIsNotHeard) {
    service.transactionScript.ignoreStops();
    web.callback.ignoreStops();
    device.script.ignoreStops();
    service.completeScript.ignoreStops();
    const Wait wait = waiting();
    const State former = status.state();
    wait.hold();
    const auto outcome = start(intent());
    authorization->cancel();
    states.clear();
    journal.clear();
    wait.answer();
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), former);
    EXPECT_TRUE(states.empty());
    EXPECT_FALSE(journal.holds(wait.nextStep));
}

INSTANTIATE_TEST_SUITE_P(EveryWait, AccountAuthorizationGivenUpTest,
                         testing::Combine(testing::ValuesIn(allCases<AuthIntent>()),
                                          testing::Range(std::size_t{0}, waitCount)),
                         waitName);

TEST_F(AccountAuthorizationLateTest, ACompleteLoginCannotBeGivenUp) {
    store.saveGate.hold();
    const auto outcome = start();
    ASSERT_EQ(store.saveGate.pendingCount(), 1U);
    authorization->cancel();
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::github));
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(AccountAuthorizationLateTest, ADeletionUnderWayCannotBeGivenUp) {
    beSignedIn();
    service.completeScript.answerWith(proof());
    deletion.hold();
    const auto outcome = start(AuthIntent::deleteReauth);
    authorization->cancel();
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::github));
    deletion.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
}

TEST_F(AccountAuthorizationLateTest, GivingUpWithoutALoginChangesNothing) {
    authorization->cancel();
    beSignedIn();
    authorization->cancel();
    EXPECT_TRUE(states.empty());
}

TEST_F(AccountAuthorizationLateTest, ALinkThatWaitsForItsTokenIsNotTheOneToGiveUp) {
    beSignedIn();
    clock.advance(850s);
    service.refreshAnswer.hold();
    const auto outcome = start(AuthIntent::link);
    authorization->cancel(); // would take the refresh for ended
    EXPECT_EQ(status.state(), State::refreshing());
    service.refreshAnswer.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
}

TEST_F(AccountAuthorizationLateTest, ALoginAfterOneThatWasGivenUpGoesTheWholeWay) {
    web.callback.hold();
    const auto first = start();
    authorization->cancel();
    web.callback.letGo();
    const auto second = start(AuthIntent::signIn, AuthProvider::google);
    EXPECT_TRUE(first->value);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(AccountAuthorizationLateTest, ATokenThatComesAfterTheSessionWentStartsNothing) {
    beSignedIn();
    clock.advance(850s);
    service.refreshAnswer.hold();
    const auto outcome = start(AuthIntent::link);
    ASSERT_EQ(service.refreshAnswer.pendingCount(), 1U);
    endSession();
    service.refreshAnswer.cancelPending();
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_FALSE(journal.holds(u"createTransaction"_qs));
}

TEST_F(AccountAuthorizationLateTest, ASessionThatGoesWhileALoginIsStoredLeavesNothingStored) {
    store.saveGate.hold();
    const auto outcome = start();
    ASSERT_EQ(store.saveGate.pendingCount(), 1U);
    const auto cleared = watch(keeper.handleUnauthorized());
    drainEvents();
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_EQ(cleared->value, true);
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    EXPECT_EQ(status.state(), State::signedOut());
}

TEST_F(AccountAuthorizationLateTest, ACallbackOnItsWayWhenTheSessionGoesIsNotRead) {
    web.callback.hold();
    const auto outcome = start();
    web.callback.release(0, u"com.marnoth.lumivane.oauth://callback"_qs);
    endSession();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_FALSE(journal.holds(u"registration"_qs));
}

TEST_F(AccountAuthorizationLateTest, AProofThatComesAfterTheSessionWentDeletesNothing) {
    beSignedIn();
    service.completeScript.hold();
    const auto outcome = start(AuthIntent::deleteReauth);
    endSession();
    service.completeScript.release(0, AuthCompletion(proof()));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(proofs.empty());
    EXPECT_EQ(deleteFailures, 0);
}

TEST_F(AccountAuthorizationLateTest, AQuestionThatComesAfterTheSessionWentIsNotAsked) {
    service.completeScript.hold();
    const auto outcome = start();
    endSession();
    service.completeScript.release(0, AuthCompletion(question()));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(AccountAuthorizationLateTest, TheOwnerMayGoWhileALoginIsStored) {
    store.saveGate.hold();
    const auto outcome = start();
    ASSERT_EQ(store.saveGate.pendingCount(), 1U);
    takeover.reset();
    authorization.reset();
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(keeper.credentials(), std::nullopt);
}

TEST_F(AccountAuthorizationLateTest, SigningOutClosesThePage) {
    web.callback.hold();
    const auto outcome = start();
    const auto signedOut = watch(test::flagged(keeper.signOut()));
    drainEvents();
    EXPECT_TRUE(signedOut->value);
    EXPECT_TRUE(outcome->value);
    EXPECT_GE(web.cancelCount, 1);
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(AccountAuthorizationLateTest, ALateLoginDoesNotDisturbTheNextOne) {
    service.completeScript.hold();
    const auto first = start();
    endSession();
    web.callback.hold();
    const auto second = start(AuthIntent::signIn, AuthProvider::google);
    service.completeScript.cancelPending();
    drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_FALSE(second->hasEnded());
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::google));
}

// One login at a time

TEST_F(AccountAuthorizationLateTest, ASecondLoginTakesTheFirstOnesPlaceAtEveryWait) {
    for (std::size_t index = 0; index < waitCount; ++index) {
        const Wait wait = waits().at(index);
        SCOPED_TRACE(wait.name);
        status.setState(State::signedOut());
        wait.hold();
        const auto first = start(AuthIntent::signIn, AuthProvider::github);
        ASSERT_FALSE(first->hasEnded());
        states.clear();
        const auto second = start(AuthIntent::signIn, AuthProvider::google);
        EXPECT_TRUE(first->value);
        EXPECT_FALSE(second->hasEnded());
        EXPECT_THAT(states, ElementsAre(State::authorizing(AuthProvider::google)));
        service.transactionScript.letGo();
        web.callback.letGo();
        device.script.letGo();
        service.completeScript.letGo();
        wait.answer();
        drainEvents();
        EXPECT_TRUE(second->value);
        EXPECT_EQ(status.state(), signedIn());
    }
}

TEST_F(AccountAuthorizationLateTest, TheFirstOnesGivenUpPageLeavesTheSecondAlone) {
    web.callback.ignoreStops(); // as one that ends by being replaced, with `cancelled`
    web.callback.hold();
    const auto first = start(AuthIntent::signIn, AuthProvider::github);
    const auto second = start(AuthIntent::signIn, AuthProvider::google);
    web.callback.fail(0, Error(Case::cancelled));
    drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::google));
    web.callback.release(1, FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs));
    drainEvents();
    EXPECT_TRUE(second->value);
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(AccountAuthorizationLateTest, TheFirstOnesCallbackCompletesNothing) {
    web.callback.ignoreStops();
    web.callback.hold();
    const auto first = start(AuthIntent::signIn, AuthProvider::github);
    const auto second = start(AuthIntent::signIn, AuthProvider::google);
    web.callback.release(0, FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs));
    drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_FALSE(second->hasEnded());
    EXPECT_FALSE(journal.holds(u"registration"_qs));
    web.callback.cancelPending();
    drainEvents();
}

TEST_F(AccountAuthorizationLateTest, ALoginThatIsBeingStoredIsKeptAndTheSecondGoesOn) {
    store.saveGate.hold();
    const auto first = start(AuthIntent::signIn, AuthProvider::github);
    web.callback.hold();
    const auto second = start(AuthIntent::signIn, AuthProvider::google);
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_EQ(keeper.credentials(), service.login(1));
    EXPECT_EQ(store.stored, storedFormOf(service.login(1)));
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::google));
    web.callback.fail(0, Error(Case::cancelled));
    drainEvents();
    EXPECT_TRUE(second->value);
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(AccountAuthorizationLateTest, ALoginThatIsBeingStoredShowsWhenTheSecondHasEnded) {
    store.saveGate.hold();
    const auto first = start();
    web.callback.failWith(Error(Case::unavailable));
    const auto second = start(AuthIntent::signIn, AuthProvider::google);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(status.state(), State::failed(textOf(Case::unavailable)));
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_EQ(status.state(), signedIn());
}

TEST_F(AccountAuthorizationLateTest, ADeletionUnderWayIsNotBrokenOffByALogin) {
    beSignedIn();
    service.completeScript.answerWith(proof());
    deletion.hold();
    const auto first = start(AuthIntent::deleteReauth);
    web.callback.hold();
    const auto second = start(AuthIntent::link, AuthProvider::google);
    EXPECT_FALSE(first->hasEnded());
    deletion.fail(0, Error(Case::unavailable));
    drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_EQ(deleteFailures, 1);
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::google));
    EXPECT_FALSE(second->hasEnded());
}

} // namespace lumivane
