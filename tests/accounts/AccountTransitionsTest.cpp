// Every way from one state of the login, and of the handle's field, to the next.

#include "accounts/AuthenticationCoordinator.h"
#include "accounts/AuthenticationFixture.h"

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <string>
#include <tuple>

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::outcomeOf;
using test::watch;
using namespace std::chrono_literals;
using testing::ElementsAre;

class AccountTransitionsTest : public test::AuthenticationFixture {
protected:
    using Field = ProfileFieldState;

    ~AccountTransitionsTest() override {
        service.refreshAnswer.cancelPending();
        service.profileScript.cancelPending();
        service.availabilityScript.cancelPending();
        web.callback.cancelPending();
        drainEvents();
    }

    static void run(QCoro::Task<void> flow) {
        watch(flagged(std::move(flow)));
        drainEvents();
    }

    void begin(AuthenticationStart start) {
        account = std::make_unique<AuthenticationCoordinator>(ports, start);
        const AccountStatus& shown = account->status();
        QObject::connect(&shown, &AccountStatus::stateChanged, &shown,
                         [this] { states.push_back(state().stateCase()); });
        QObject::connect(&shown, &AccountStatus::handleStateChanged, &shown,
                         [this] { fields.push_back(account->status().handleState()); });
        run(account->loadProviders(Loading::ifNeeded));
    }

    void beSignedOut() { begin(AuthenticationStart::signedOut); }

    void beSignedIn() {
        store.stored = service.session();
        begin(AuthenticationStart::restoring);
        run(account->restore());
        ASSERT_TRUE(account->isSignedIn());
        states.clear();
    }

    void beRefreshing() {
        beSignedIn();
        clock.advance(service.accessLifetime);
        service.refreshAnswer.hold();
        askForToken();
        ASSERT_TRUE(state().is(StateCase::refreshing));
    }

    void beAuthorizing() {
        beSignedIn();
        web.callback.hold();
        run(account->link(AuthProvider::google));
        ASSERT_TRUE(state().is(StateCase::authorizing));
    }

    void beAskedForATakeover() {
        beSignedOut();
        DeviceTakeoverRequired required;
        required.takeoverTicket = SecretText("ticket-1");
        required.expiresAt = clock.wallNow().addSecs(300);
        service.completeScript.answerWith(AuthCompletion(required));
        run(account->signIn(AuthProvider::google));
        ASSERT_TRUE(state().is(StateCase::deviceTakeover));
    }

    void beWithoutRestoredSession() {
        store.stored = service.session();
        service.refreshFailure = AuthenticationError(ErrorCase::unavailable);
        begin(AuthenticationStart::restoring);
        run(account->restore());
        ASSERT_TRUE(state().is(StateCase::restoreFailed));
    }

    void askForToken() {
        token = watch(account->validAccessToken(60s, stop.get_token()));
        drainEvents();
    }

    /// The field holds a handle that can be had.
    void beAvailable() {
        beSignedIn();
        service.availabilityScript.answerWith({u"cedar"_qs, true, std::nullopt});
        draft(u"cedar"_qs);
        clock.advance(1s);
        drainEvents();
        ASSERT_EQ(account->status().handleState(), Field::available());
        fields.clear();
    }

    void draft(const QString& text) {
        account->handleDraftChanged(text);
        drainEvents();
    }

    void save(const QString& handle = u"cedar"_qs) {
        run(account->commitHandle(handle));
        clock.advance(10s);
        drainEvents();
    }

    const AuthenticationState& state() const { return account->status().state(); }

    std::vector<StateCase> states;
    std::vector<Field> fields;
    std::stop_source stop;
    std::shared_ptr<test::Outcome<SecretText>> token;
    std::unique_ptr<AuthenticationCoordinator> account;
};

// Signing in

TEST_F(AccountTransitionsTest, AuthorizingErrorWithoutSessionFailed) {
    beSignedOut();
    web.callback.failWith(AuthenticationError(ErrorCase::unavailable));
    run(account->signIn(AuthProvider::google));
    EXPECT_THAT(states, ElementsAre(StateCase::authorizing, StateCase::failed));
}

TEST_F(AccountTransitionsTest, AuthorizingErrorWithSessionSignedInWithMessage) {
    beAuthorizing();
    web.callback.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_TRUE(account->isSignedIn());
    EXPECT_TRUE(account->errorMessage());
}

TEST_F(AccountTransitionsTest, AuthorizingCancelledWithSessionSignedIn) {
    beAuthorizing();
    web.callback.fail(0, AuthenticationError(ErrorCase::cancelled));
    drainEvents();
    EXPECT_TRUE(account->isSignedIn());
    EXPECT_FALSE(account->errorMessage());
}

TEST_F(AccountTransitionsTest, AuthorizingGivenUpWithoutSessionSignedOut) {
    beSignedOut();
    web.callback.hold();
    run(account->signIn(AuthProvider::google));
    account->cancelLogin();
    drainEvents();
    EXPECT_THAT(states, ElementsAre(StateCase::authorizing, StateCase::signedOut));
}

// A refresh

TEST_F(AccountTransitionsTest, SignedInNearExpiryRefreshing) {
    beRefreshing();
    EXPECT_THAT(states, ElementsAre(StateCase::refreshing));
}

TEST_F(AccountTransitionsTest, RefreshingSucceededSignedInWithTheNewUser) {
    beSignedIn();
    service.user.displayName = u"Grace"_qs;
    clock.advance(service.accessLifetime);
    askForToken();
    EXPECT_THAT(states, ElementsAre(StateCase::refreshing, StateCase::signedIn));
    EXPECT_EQ(state().user()->displayName, u"Grace");
}

TEST_F(AccountTransitionsTest, RefreshingOutageWithCredentialsSignedIn) {
    beRefreshing();
    service.refreshAnswer.fail(0, AuthenticationError(ErrorCase::unavailable));
    drainEvents();
    EXPECT_THAT(states, ElementsAre(StateCase::refreshing, StateCase::signedIn));
}

TEST_F(AccountTransitionsTest, RefreshingCancelledWithCredentialsSignedIn) {
    beRefreshing();
    stop.request_stop();
    drainEvents();
    EXPECT_THAT(states, ElementsAre(StateCase::refreshing, StateCase::signedIn));
}

TEST_F(AccountTransitionsTest, RefreshingOutageWithoutCredentialsRestoreFailed) {
    beWithoutRestoredSession();
    EXPECT_THAT(states, ElementsAre(StateCase::refreshing, StateCase::restoreFailed));
}

TEST_F(AccountTransitionsTest, RefreshingRejectedSignedOut) {
    beRefreshing();
    service.refreshAnswer.fail(0, AuthenticationError(ErrorCase::expiredSession));
    drainEvents();
    EXPECT_THAT(states, ElementsAre(StateCase::refreshing, StateCase::signedOut));
    EXPECT_FALSE(store.stored);
}

TEST_F(AccountTransitionsTest, RefreshingPreWriteFailsWithCredentialsSignedIn) {
    beSignedIn();
    clock.advance(service.accessLifetime);
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    askForToken();
    EXPECT_THAT(states, ElementsAre(StateCase::refreshing, StateCase::signedIn));
}

TEST_F(AccountTransitionsTest, RefreshingPreWriteFailsWithoutCredentialsFailed) {
    store.stored = service.session();
    store.saveGate.failWith(AuthenticationError(ErrorCase::unavailable));
    begin(AuthenticationStart::restoring);
    run(account->restore());
    EXPECT_THAT(states,
                ElementsAre(StateCase::refreshing, StateCase::failed, StateCase::restoreFailed))
        << "the last is the restoration's";
}

// The end

TEST_F(AccountTransitionsTest, AnySessionSignOutSigningOutSignedOut) {
    beSignedIn();
    run(account->signOut());
    EXPECT_THAT(states, ElementsAre(StateCase::signingOut, StateCase::signedOut));
}

TEST_F(AccountTransitionsTest, RestoreFailedSignOutSigningOutSignedOut) {
    beWithoutRestoredSession();
    states.clear();
    run(account->signOut());
    EXPECT_THAT(states, ElementsAre(StateCase::signingOut, StateCase::signedOut));
    EXPECT_FALSE(store.stored);
}

class AnyStateTest : public AccountTransitionsTest,
                     public testing::WithParamInterface<std::tuple<std::size_t, bool>> {
protected:
    void goToState() {
        const std::array<std::function<void()>, 6> ways{
            [this] { beSignedOut(); },         [this] { beSignedIn(); },
            [this] { beRefreshing(); },        [this] { beAuthorizing(); },
            [this] { beAskedForATakeover(); }, [this] { beWithoutRestoredSession(); }};
        ways.at(std::get<0>(GetParam()))();
    }

    void end() {
        if (std::get<1>(GetParam())) {
            run(account->signOutLocallyAfterEviction());
        } else {
            EXPECT_EQ(outcomeOf(account->handleUnauthorized()).value, true);
        }
    }
};

TEST_P(AnyStateTest, EndedByTheServiceSignedOut) {
    goToState();
    const int cancelled = web.cancelCount;
    end();
    EXPECT_TRUE(state().is(StateCase::signedOut));
    EXPECT_FALSE(store.stored);
    EXPECT_GT(web.cancelCount, cancelled);
    states.clear();
    service.refreshAnswer.cancelPending();
    web.callback.cancelPending();
    clock.advance(10min);
    drainEvents();
    EXPECT_TRUE(states.empty());
}

namespace {

std::string endName(const testing::TestParamInfo<std::tuple<std::size_t, bool>>& info) {
    constexpr std::array states{"SignedOut",   "SignedIn",       "Refreshing",
                                "Authorizing", "DeviceTakeover", "RestoreFailed"};
    return std::string(states.at(std::get<0>(info.param))) +
           (std::get<1>(info.param) ? "Evicted" : "Unauthorized");
}

} // namespace

INSTANTIATE_TEST_SUITE_P(EveryState, AnyStateTest,
                         testing::Combine(testing::Range(std::size_t{0}, std::size_t{6}),
                                          testing::Bool()),
                         endName);

// The handle's field

TEST_F(AccountTransitionsTest, AnyTextChangesEditingLocalVerdict) {
    beSignedIn();
    draft(u"cedar"_qs);
    EXPECT_THAT(fields, ElementsAre(Field::editing(), Field::checking()));
    for (const auto& [text, verdict] :
         {std::pair(u"!!"_qs, Field::invalidFormat()), std::pair(u"root"_qs, Field::reserved()),
          std::pair(u"ada"_qs, Field::idle())}) {
        fields.clear();
        draft(text);
        EXPECT_THAT(fields, ElementsAre(Field::editing(), verdict)) << text.toStdString();
    }
}

TEST_F(AccountTransitionsTest, CheckingServiceAnswersTheFieldFollows) {
    beSignedIn();
    const std::vector<std::pair<HandleAvailabilityResult, Field>> answers{
        {{u"cedar"_qs, true, std::nullopt}, Field::available()},
        {{u"cedar"_qs, false, u"taken"_qs}, Field::taken()},
        {{u"cedar"_qs, false, u"reserved"_qs}, Field::reserved()}};
    for (const auto& [answer, expected] : answers) {
        service.availabilityScript.answerWith(answer);
        draft(u"cedar"_qs);
        EXPECT_EQ(fields.back(), Field::checking());
        clock.advance(1s);
        drainEvents();
        EXPECT_EQ(fields.back(), expected);
    }
    service.availabilityScript.failWith(AuthenticationError(ErrorCase::unavailable));
    draft(u"cedar"_qs);
    clock.advance(1s);
    drainEvents();
    EXPECT_EQ(fields.back(), Field::idle());
}

TEST_F(AccountTransitionsTest, AvailableCommitSavingSavedIdle) {
    beAvailable();
    save();
    EXPECT_THAT(fields, ElementsAre(Field::saving(), Field::saved(), Field::idle()));
}

TEST_F(AccountTransitionsTest, OtherCommitRevertedIdle) {
    beSignedIn();
    draft(u"root"_qs);
    fields.clear();
    save(u"root"_qs);
    EXPECT_THAT(fields, ElementsAre(Field::reverted(u"ada"_qs), Field::idle()));
}

TEST_F(AccountTransitionsTest, UnchangedCommitIdle) {
    beAvailable();
    save(u"@ada"_qs);
    EXPECT_THAT(fields, ElementsAre(Field::idle()));
}

TEST_F(AccountTransitionsTest, SavingFailsInItsOwnWordsThenIdle) {
    for (const auto& [error, expected] :
         {std::pair(ErrorCase::handleTaken, Field::conflicted(u"cedar"_qs)),
          std::pair(ErrorCase::handleReserved, Field::reserved()),
          std::pair(ErrorCase::unavailable,
                    Field::failed(u"That handle could not be saved. Try again."_qs))}) {
        beAvailable();
        service.profileScript.failWith(AuthenticationError(error));
        save();
        EXPECT_THAT(fields, ElementsAre(Field::saving(), expected, Field::idle()));
    }
}

} // namespace lumivane
