#include "accounts/HandleFieldFixture.h"

namespace lumivane {

using namespace std::chrono_literals;

/// What becomes of a handle that the user wants.
class HandleFieldCommitTest : public test::HandleFieldFixture {};

TEST_F(HandleFieldCommitTest, AnAvailableHandleIsSaved) {
    typeFreeHandle();
    status.setErrorMessage(u"Trouble"_qs);
    commit(u" @cedar"_qs);
    EXPECT_EQ(shown, (std::vector{State::saving(), State::saved()}));
    EXPECT_EQ(saved(), QStringList{u"cedar"_qs});
    EXPECT_EQ(service.requests.back().displayName, std::nullopt);
    EXPECT_EQ(service.requests.back().token, "access-0");
    EXPECT_EQ(status.state(), signedInAs(userWith(u"cedar"_qs)));
    EXPECT_EQ(keeper.credentials()->user.handle, u"cedar"_qs);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(asked().isEmpty());
}

TEST_F(HandleFieldCommitTest, SavedGoesAfterTwoSeconds) {
    typeFreeHandle();
    commit(u"cedar"_qs);
    clock.advance(1999ms);
    EXPECT_EQ(state(), State::saved());
    clock.advance(1ms);
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldCommitTest, SavedDoesNotGoOverWhatTheUserTypesNext) {
    typeFreeHandle();
    commit(u"cedar"_qs);
    clock.advance(1s);
    type(u"maple"_qs);
    clock.advance(5s);
    EXPECT_EQ(state(), State::available());
}

TEST_F(HandleFieldCommitTest, TheCurrentHandleIsNothingToSave) {
    for (const QString& draft : {u"ada"_qs, u"@ada"_qs, u"  @@ada "_qs}) {
        type(u"cedar"_qs);
        commit(draft);
        EXPECT_EQ(state(), State::idle());
    }
    clock.advance(5s);
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(HandleFieldCommitTest, WithoutAUserNothingHappens) {
    type(u"cedar"_qs);
    status.setState(AuthenticationState::refreshing());
    commit(u"cedar"_qs);
    EXPECT_EQ(state(), State::checking());
    clock.advance(5s);
    EXPECT_TRUE(service.requests.empty()); // the check had ended
}

TEST_F(HandleFieldCommitTest, BeforeTheVerdictOfTheFieldTheCommitFindsItsOwn) {
    adoptFilter(false);
    field->draftChanged(u"cedar"_qs);
    ASSERT_EQ(state(), State::editing());
    service.profileScript.answerWith(userWith(u"cedar"_qs));
    shown.clear();
    commit(u"cedar"_qs);
    EXPECT_EQ(shown, (std::vector{State::checking(), State::available(), State::saving(),
                                  State::saved()}));
    EXPECT_TRUE(asked().isEmpty());
    EXPECT_EQ(saved(), QStringList{u"cedar"_qs});
}

TEST_F(HandleFieldCommitTest, WhileTheFieldWaitsForItsPauseTheCommitAsksAtOnce) {
    service.availabilityScript.answerWith(availability(true));
    service.profileScript.answerWith(userWith(u"cedar"_qs));
    type(u"cedar"_qs);
    ASSERT_EQ(state(), State::checking());
    commit(u"cedar"_qs);
    EXPECT_EQ(asked(), QStringList{u"cedar"_qs});
    EXPECT_EQ(saved(), QStringList{u"cedar"_qs});
    EXPECT_EQ(state(), State::saved());
    clock.advance(350ms);
    EXPECT_EQ(asked().size(), 1);
}

TEST_F(HandleFieldCommitTest, ACommitThatFindsTheHandleGoneReverts) {
    const std::vector<std::pair<HandleAvailabilityResult, State>> answers{
        {availability(false), State::taken()},
        {availability(false, u"reserved"_qs), State::reserved()}};
    for (const auto& [answer, found] : answers) {
        service.availabilityScript.answerWith(answer);
        type(u"cedar"_qs);
        shown.clear();
        commit(u"cedar"_qs);
        EXPECT_EQ(shown, (std::vector{found, State::reverted(u"ada"_qs)}));
        clock.advance(3999ms);
        EXPECT_EQ(state(), State::reverted(u"ada"_qs));
        clock.advance(1ms);
        EXPECT_EQ(state(), State::idle());
    }
    EXPECT_TRUE(saved().isEmpty());
}

TEST_F(HandleFieldCommitTest, ACommitThatFindsNobodyToAskReverts) {
    service.availabilityScript.failWith(AuthenticationError(Case::unavailable));
    type(u"cedar"_qs);
    commit(u"cedar"_qs);
    EXPECT_EQ(state(), State::reverted(u"ada"_qs));
    EXPECT_TRUE(saved().isEmpty());
}

TEST_F(HandleFieldCommitTest, ABadDraftRevertsWithoutARequest) {
    for (const QString& draft : {u"a"_qs, u"ADMIN"_qs, u"@ cedar"_qs, u""_qs}) {
        field->draftChanged(draft);
        commit(draft);
        EXPECT_EQ(state(), State::reverted(u"ada"_qs)) << draft.toStdString();
        type(draft);
        commit(draft);
        EXPECT_EQ(state(), State::reverted(u"ada"_qs)) << draft.toStdString();
    }
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(HandleFieldCommitTest, FromEveryStateButAvailableACommitReverts) {
    for (const State& before :
         {State::idle(), State::taken(), State::reserved(), State::invalidFormat(), State::saved(),
          State::saving(), State::reverted(u"ada"_qs), State::conflicted(u"cedar"_qs),
          State::failed(u"no"_qs)}) {
        status.setHandleState(before);
        commit(u"cedar"_qs);
        EXPECT_EQ(state(), State::reverted(u"ada"_qs));
    }
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(HandleFieldCommitTest, AnAvailableFieldDoesNotLetABadDraftThrough) {
    status.setHandleState(State::available());
    commit(u"a"_qs);
    EXPECT_EQ(state(), State::reverted(u"ada"_qs));
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(HandleFieldCommitTest, AFailureOfTheSaveStaysOnTheFieldForFourSeconds) {
    const State failed = State::failed(u"That handle could not be saved. Try again."_qs);
    const std::vector<std::pair<Case, State>> failures{
        {Case::handleTaken, State::conflicted(u"cedar"_qs)},
        {Case::handleReserved, State::reserved()},
        {Case::unavailable, failed},
        {Case::expiredSession, failed},
        {Case::invalidResponse, failed}};
    for (const auto& [errorCase, expected] : failures) {
        typeFreeHandle();
        service.profileScript.failWith(AuthenticationError(errorCase));
        commit(u"@cedar"_qs);
        EXPECT_EQ(shown, (std::vector{State::saving(), expected}));
        EXPECT_EQ(status.state(), signedInAs(service.user));
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        clock.advance(3999ms);
        EXPECT_EQ(state(), expected);
        clock.advance(1ms);
        EXPECT_EQ(state(), State::idle());
    }
}

TEST_F(HandleFieldCommitTest, ALostHandleIsNamedUnderTheField) {
    typeFreeHandle();
    service.profileScript.failWith(AuthenticationError(Case::handleTaken));
    commit(u"cedar"_qs);
    EXPECT_EQ(state().message(), u"@cedar was taken while you were typing"_qs);
}

TEST_F(HandleFieldCommitTest, ACancelledSaveLeavesNoTrace) {
    typeFreeHandle();
    service.profileScript.failWith(Cancelled{});
    commit(u"cedar"_qs);
    EXPECT_EQ(state(), State::idle());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(HandleFieldCommitTest, ACommitMayAskForTheKeyring) {
    letTheTokenAge();
    service.availabilityScript.answerWith(availability(true));
    service.profileScript.answerWith(userWith(u"cedar"_qs));
    type(u"cedar"_qs);
    commit(u"cedar"_qs);
    EXPECT_EQ(service.requestsTo(u"updateProfile"_qs).front().token, "access-1");
    EXPECT_EQ(store.savePrompts, std::vector(2, UnlockPrompt::allowed));
}

TEST_F(HandleFieldCommitTest, AnOutageOfTheRefreshStaysOnTheField) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::unavailable);
    typeFreeHandle();
    commit(u"cedar"_qs);
    EXPECT_EQ(state(), State::failed(u"That handle could not be saved. Try again."_qs));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(saved().isEmpty());
}

TEST_F(HandleFieldCommitTest, ARefusedTokenEndsTheSessionAndLeavesTheFieldIdle) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    typeFreeHandle();
    commit(u"cedar"_qs);
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldCommitTest, SignOutDuringTheSaveLeavesTheFieldIdle) {
    for (const bool succeeds : {true, false}) {
        typeFreeHandle();
        service.profileScript = test::ScriptedCall<UserSummary>(service.user);
        service.profileScript.hold();
        const auto outcome = startCommit(u"cedar"_qs);
        EXPECT_EQ(state(), State::saving());
        signOut();
        EXPECT_EQ(state(), State::idle());
        if (succeeds) {
            service.profileScript.release(0, userWith(u"cedar"_qs));
        } else {
            service.profileScript.fail(0, AuthenticationError(Case::handleTaken));
        }
        test::drainEvents();
        EXPECT_TRUE(outcome->value);
        EXPECT_EQ(state(), State::idle());
        EXPECT_EQ(status.state(), AuthenticationState::signedOut());
        signIn();
    }
}

TEST_F(HandleFieldCommitTest, SignOutDuringTheCheckOfACommitSavesNothing) {
    service.availabilityScript.hold();
    type(u"cedar"_qs);
    const auto outcome = startCommit(u"cedar"_qs);
    signOut();
    signIn();
    service.availabilityScript.release(0, availability(true));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(saved().isEmpty());
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldCommitTest, SignOutWhileTheTokenIsFetchedSavesNothing) {
    letTheTokenAge();
    service.refreshAnswer.hold();
    typeFreeHandle();
    const auto outcome = startCommit(u"cedar"_qs);
    signOut();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(saved().isEmpty());
    EXPECT_EQ(state(), State::idle());
    service.refreshAnswer.cancelPending();
}

TEST_F(HandleFieldCommitTest, ARevertShowsTheHandleThatStandsAgainForFourSeconds) {
    type(u"cedar"_qs);
    field->revert(u"cedar"_qs);
    EXPECT_EQ(state(), State::reverted(u"ada"_qs));
    EXPECT_EQ(state().message(), u"Reverted to @ada"_qs);
    test::drainEvents();
    EXPECT_EQ(clock.timerCount(), 1U); // its own; the check has ended
    clock.advance(3999ms);
    EXPECT_EQ(state(), State::reverted(u"ada"_qs));
    clock.advance(1ms);
    EXPECT_EQ(state(), State::idle());
    EXPECT_TRUE(service.requests.empty());
}

TEST_F(HandleFieldCommitTest, ARevertOfWhatIsUnchangedIsSilent) {
    type(u"@ada"_qs);
    status.setHandleState(State::available());
    field->revert(u"@ada "_qs);
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldCommitTest, ARevertWithoutAUserIsSilent) {
    status.setHandleState(State::available());
    status.setState(AuthenticationState::signedOut());
    field->revert(u"cedar"_qs);
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldCommitTest, TheEndOfTheSessionEndsEveryTimerOfTheField) {
    type(u"cedar"_qs);
    field->revert(u"cedar"_qs);
    test::drainEvents();
    signOut();
    EXPECT_EQ(state(), State::idle());
    EXPECT_EQ(clock.timerCount(), 0U);
}

} // namespace lumivane
