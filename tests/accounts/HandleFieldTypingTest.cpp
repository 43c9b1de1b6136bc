#include "accounts/HandleFieldFixture.h"

namespace lumivane {

using namespace std::chrono_literals;

/// What the field says while the user types.
class HandleFieldTypingTest : public test::HandleFieldFixture {
protected:
    void pause() { clock.advance(HandleAvailabilityChecker::defaultDebounce); }
};

TEST_F(HandleFieldTypingTest, AnyChangeOfTheTextIsEditingFirst) {
    for (const State& before :
         {State::idle(), State::available(), State::taken(), State::reserved(), State::saving(),
          State::saved(), State::invalidFormat(), State::checking(), State::reverted(u"ada"_qs),
          State::conflicted(u"cedar"_qs), State::failed(u"no"_qs)}) {
        status.setHandleState(before);
        field->draftChanged(u"cedar"_qs);
        EXPECT_EQ(state(), State::editing());
    }
}

TEST_F(HandleFieldTypingTest, ALocalVerdictIsThereAtOnceAndAsksNobody) {
    adoptFilter(false);
    const std::vector<std::pair<QString, State>> verdicts{
        {u"ada"_qs, State::idle()},
        {u" @ada "_qs, State::idle()},
        {u"ADA"_qs, State::available()},
        {u"a"_qs, State::invalidFormat()},
        {u"@ cedar"_qs, State::invalidFormat()},
        {u"caf\u00e9"_qs, State::invalidFormat()},
        {QString(40, u'c'), State::invalidFormat()},
        {QString(39, u'c'), State::available()},
        {u"ADMIN"_qs, State::reserved()},
        {u"  @@cedar "_qs, State::available()}};
    for (const auto& [draft, expected] : verdicts) {
        shown.clear();
        type(draft);
        EXPECT_EQ(shown, (std::vector{State::editing(), expected})) << draft.toStdString();
    }
    EXPECT_TRUE(service.requests.empty());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(HandleFieldTypingTest, WithoutAFilterTheServiceIsAskedBehindThePause) {
    service.availabilityScript.answerWith(availability(true));
    shown.clear();
    type(u" @cedar "_qs);
    EXPECT_EQ(shown, (std::vector{State::editing(), State::checking()}));
    clock.advance(349ms);
    EXPECT_TRUE(asked().isEmpty());
    clock.advance(1ms);
    EXPECT_EQ(asked(), QStringList{u"cedar"_qs});
    EXPECT_EQ(service.requests.front().token, "access-0");
    EXPECT_EQ(state(), State::available());
}

TEST_F(HandleFieldTypingTest, AFullFilterAsksTheServiceAsWell) {
    adoptFilter(true);
    service.availabilityScript.answerWith(availability(true));
    type(u"cedar"_qs);
    pause();
    EXPECT_EQ(asked(), QStringList{u"cedar"_qs});
}

TEST_F(HandleFieldTypingTest, TheServicesAnswerIsTheFieldsState) {
    const std::vector<std::pair<HandleAvailabilityResult, State>> answers{
        {availability(true), State::available()},
        {availability(true, u"reserved"_qs), State::available()},
        {availability(false), State::taken()},
        {availability(false, u"taken"_qs), State::taken()},
        {availability(false, u"reserved"_qs), State::reserved()}};
    for (const auto& [answer, expected] : answers) {
        service.availabilityScript.answerWith(answer);
        type(u"cedar"_qs);
        EXPECT_EQ(state(), State::checking());
        pause();
        EXPECT_EQ(state(), expected);
    }
}

TEST_F(HandleFieldTypingTest, AnOutageShowsNothing) {
    for (const Case errorCase : {Case::unavailable, Case::expiredSession, Case::invalidResponse}) {
        service.availabilityScript.failWith(AuthenticationError(errorCase));
        type(u"cedar"_qs);
        pause();
        EXPECT_EQ(state(), State::idle());
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        EXPECT_EQ(status.state(), signedInAs(service.user));
    }
    service.availabilityScript.failWith(Cancelled{});
    type(u"cedar"_qs);
    pause();
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldTypingTest, OnePauseIsOneRequest) {
    service.availabilityScript.answerWith(availability(true));
    for (const QString& draft : {u"ce"_qs, u"ced"_qs, u"ceda"_qs, u"cedar"_qs}) {
        type(draft);
        EXPECT_EQ(clock.timerCount(), 1U);
        clock.advance(349ms);
    }
    EXPECT_TRUE(asked().isEmpty());
    clock.advance(1ms);
    EXPECT_EQ(asked(), QStringList{u"cedar"_qs});
    pause();
    pause();
    EXPECT_EQ(asked().size(), 1);
}

TEST_F(HandleFieldTypingTest, TwoChangesInOneTurnAreOneCheck) {
    service.availabilityScript.answerWith(availability(true));
    field->draftChanged(u"ced"_qs);
    field->draftChanged(u"cedar"_qs);
    test::drainEvents();
    EXPECT_EQ(clock.timerCount(), 1U);
    pause();
    EXPECT_EQ(asked(), QStringList{u"cedar"_qs});
}

TEST_F(HandleFieldTypingTest, AKeystrokeCancelsTheRequestBeforeIt) {
    service.availabilityScript.hold();
    type(u"cedar"_qs);
    pause();
    ASSERT_EQ(asked().size(), 1);
    adoptFilter(false);
    type(u"cedars"_qs);
    EXPECT_TRUE(service.requests.front().stop.stop_requested());
    EXPECT_EQ(state(), State::available());
}

TEST_F(HandleFieldTypingTest, ALateAnswerDoesNotComeOverANewerText) {
    service.availabilityScript.hold();
    service.availabilityScript.ignoreStops();
    type(u"cedar"_qs);
    pause();
    type(u"a"_qs);
    service.availabilityScript.release(0, availability(true));
    test::drainEvents();
    EXPECT_EQ(state(), State::invalidFormat());
}

TEST_F(HandleFieldTypingTest, TypingNeverAsksForTheKeyring) {
    letTheTokenAge();
    service.availabilityScript.answerWith(availability(true));
    type(u"cedar"_qs);
    pause();
    EXPECT_EQ(service.requestsTo(u"handleAvailability"_qs).front().token, "access-1");
    EXPECT_EQ(store.savePrompts, std::vector(2, UnlockPrompt::never));
    EXPECT_EQ(state(), State::available());
}

TEST_F(HandleFieldTypingTest, AnOutageOfTheRefreshShowsNothing) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::unavailable);
    type(u"cedar"_qs);
    pause();
    EXPECT_EQ(state(), State::idle());
    EXPECT_TRUE(asked().isEmpty());
}

TEST_F(HandleFieldTypingTest, WithoutAUserNothingIsChecked) {
    for (const AuthenticationState& other :
         {AuthenticationState::signedOut(), AuthenticationState::refreshing()}) {
        status.setState(other);
        type(u"cedar"_qs);
        pause();
        EXPECT_EQ(state(), State::idle());
        EXPECT_TRUE(service.requests.empty());
    }
}

TEST_F(HandleFieldTypingTest, WithoutAUserTypingStillEndsTheCheckBeforeIt) {
    type(u"cedar"_qs);
    status.setState(AuthenticationState::signedOut());
    type(u"cedars"_qs);
    pause();
    EXPECT_TRUE(asked().isEmpty());
}

TEST_F(HandleFieldTypingTest, WithoutAUserTypingStillStopsTheClockOfWhatIsShown) {
    typeFreeHandle();
    commit(u"cedar"_qs);
    ASSERT_EQ(state(), State::saved());
    status.setState(AuthenticationState::refreshing());
    type(u"cedars"_qs);
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(ShownFieldState::savedShown);
    EXPECT_EQ(state(), State::saved());
}

TEST_F(HandleFieldTypingTest, SignOutDuringThePauseAsksNobody) {
    type(u"cedar"_qs);
    signOut();
    EXPECT_EQ(clock.timerCount(), 0U);
    pause();
    EXPECT_TRUE(asked().isEmpty());
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldTypingTest, SignOutWhileTheServiceIsAskedDropsItsAnswer) {
    service.availabilityScript.hold();
    service.availabilityScript.ignoreStops();
    type(u"cedar"_qs);
    pause();
    signOut();
    service.availabilityScript.release(0, availability(true));
    test::drainEvents();
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldTypingTest, SignOutWhileTheTokenIsFetchedAsksNobody) {
    letTheTokenAge();
    service.refreshAnswer.hold();
    type(u"cedar"_qs);
    pause();
    signOut();
    EXPECT_TRUE(asked().isEmpty());
    EXPECT_EQ(state(), State::idle());
    service.refreshAnswer.cancelPending();
}

TEST_F(HandleFieldTypingTest, ACheckThatOutlivesItsOwnerTouchesNothing) {
    service.availabilityScript.hold();
    service.availabilityScript.ignoreStops();
    type(u"cedar"_qs);
    pause();
    field.reset();
    service.availabilityScript.release(0, availability(true));
    test::drainEvents();
    EXPECT_EQ(state(), State::checking());
    EXPECT_EQ(clock.timerCount(), 0U);
}

} // namespace lumivane
