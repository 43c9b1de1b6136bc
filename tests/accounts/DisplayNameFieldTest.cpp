#include "accounts/DisplayNameField.h"

#include "accounts/AccountPartsFixture.h"
#include "accounts/HandleField.h"

namespace lumivane {

using namespace std::chrono_literals;

class DisplayNameFieldTest : public test::AccountPartsFixture {
protected:
    using State = ProfileFieldState;

    DisplayNameFieldTest() {
        keeper.onForgetting = [this] {
            if (field) {
                field->forget();
            }
        };
        QObject::connect(&status, &AccountStatus::displayNameStateChanged, &status,
                         [this] { shown.push_back(status.displayNameState()); });
        signIn();
        service.profileScript.answerWith(userWith(u"ada"_qs, u"Grace"_qs));
    }

    void commit(const QString& draft) { run(field->commit(draft)); }

    std::shared_ptr<test::Outcome<bool>> startCommit(const QString& draft) {
        return start(field->commit(draft));
    }

    void release(std::size_t index, const QString& name) {
        service.profileScript.release(index, userWith(u"ada"_qs, name));
        test::drainEvents();
    }

    QStringList sent() const {
        QStringList names;
        for (const auto& request : service.requestsTo(u"updateProfile"_qs)) {
            names.append(request.displayName.value_or(u"(none)"_qs));
        }
        return names;
    }

    State state() const { return status.displayNameState(); }

    const State failed = State::failed(u"That name could not be saved. Try again."_qs);
    std::vector<State> shown;
    std::unique_ptr<DisplayNameField> field =
        std::make_unique<DisplayNameField>(ports, status, keeper, changes);
};

TEST_F(DisplayNameFieldTest, ANameIsSavedWithoutTheBlanksAroundIt) {
    status.setErrorMessage(u"Trouble"_qs);
    commit(u" \t\u00a0Grace B. \n"_qs);
    EXPECT_EQ(sent(), QStringList{u"Grace B."_qs});
    EXPECT_EQ(service.requests.back().handle, std::nullopt);
    EXPECT_EQ(service.requests.back().token, "access-0");
    EXPECT_EQ(shown, (std::vector{State::saving(), State::saved()}));
    EXPECT_EQ(status.state(), signedInAs(userWith(u"ada"_qs, u"Grace"_qs)));
    EXPECT_EQ(keeper.credentials()->user.displayName, u"Grace"_qs);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(DisplayNameFieldTest, SavedGoesAfterTwoSeconds) {
    commit(u"Grace"_qs);
    clock.advance(1999ms);
    EXPECT_EQ(state(), State::saved());
    clock.advance(1ms);
    EXPECT_EQ(state(), State::idle());
}

TEST_F(DisplayNameFieldTest, OnlyBlanksRevertSilently) {
    for (const QString& draft : {u""_qs, u"  "_qs, u" \n\t\u2003"_qs}) {
        status.setDisplayNameState(State::editing());
        commit(draft);
        EXPECT_EQ(state(), State::idle());
    }
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(DisplayNameFieldTest, ThePresentNameIsNothingToSave) {
    status.setDisplayNameState(State::editing());
    commit(u" CanaryName "_qs);
    EXPECT_EQ(state(), State::idle());
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(DisplayNameFieldTest, AnyLengthAndScriptIsTheServicesToJudge) {
    const QString name = QString(5000, u'x') + u"\U0001F469\u200d\U0001F680 <b>"_qs;
    commit(name);
    EXPECT_EQ(sent(), QStringList{name});
}

TEST_F(DisplayNameFieldTest, WithoutAUserNothingHappens) {
    for (const AuthenticationState& other :
         {AuthenticationState::signedOut(), AuthenticationState::refreshing()}) {
        status.setState(other);
        commit(u"Grace"_qs);
        commit(u" "_qs);
    }
    EXPECT_TRUE(shown.empty());
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(DisplayNameFieldTest, AnyFailureStaysOnTheFieldForFourSeconds) {
    for (const Case errorCase :
         {Case::unavailable, Case::expiredSession, Case::handleTaken, Case::invalidResponse}) {
        service.profileScript.failWith(AuthenticationError(errorCase));
        shown.clear();
        commit(u"Grace"_qs);
        EXPECT_EQ(shown, (std::vector{State::saving(), failed}));
        EXPECT_EQ(status.state(), signedInAs(service.user));
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        clock.advance(3999ms);
        EXPECT_EQ(state(), failed);
        clock.advance(1ms);
        EXPECT_EQ(state(), State::idle());
    }
}

TEST_F(DisplayNameFieldTest, ACancelledSaveLeavesNoTrace) {
    service.profileScript.failWith(Cancelled{});
    commit(u"Grace"_qs);
    EXPECT_EQ(shown, (std::vector{State::saving(), State::idle()}));
}

TEST_F(DisplayNameFieldTest, ACommitMayAskForTheKeyring) {
    letTheTokenAge();
    commit(u"Grace"_qs);
    EXPECT_EQ(service.requestsTo(u"updateProfile"_qs).front().token, "access-1");
    EXPECT_EQ(store.savePrompts, std::vector(2, UnlockPrompt::allowed));
}

TEST_F(DisplayNameFieldTest, AnOutageOfTheRefreshStaysOnTheField) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::unavailable);
    commit(u"Grace"_qs);
    EXPECT_EQ(state(), failed);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(sent().isEmpty());
}

TEST_F(DisplayNameFieldTest, ARefusedTokenEndsTheSessionAndLeavesTheFieldIdle) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    commit(u"Grace"_qs);
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_EQ(state(), State::idle());
}

TEST_F(DisplayNameFieldTest, SignOutDuringTheSaveLeavesTheFieldIdle) {
    for (const bool succeeds : {true, false}) {
        service.profileScript = test::ScriptedCall<UserSummary>(service.user);
        service.profileScript.hold();
        const auto outcome = startCommit(u"Grace"_qs);
        signOut();
        EXPECT_EQ(state(), State::idle());
        if (succeeds) {
            service.profileScript.release(0, userWith(u"ada"_qs, u"Grace"_qs));
        } else {
            service.profileScript.fail(0, AuthenticationError(Case::unavailable));
        }
        test::drainEvents();
        EXPECT_TRUE(outcome->value);
        EXPECT_EQ(state(), State::idle());
        EXPECT_EQ(status.state(), AuthenticationState::signedOut());
        signIn();
    }
}

TEST_F(DisplayNameFieldTest, SignOutWhileTheTokenIsFetchedSavesNothing) {
    letTheTokenAge();
    service.refreshAnswer.hold();
    const auto outcome = startCommit(u"Grace"_qs);
    signOut();
    EXPECT_TRUE(outcome->value);
    EXPECT_TRUE(sent().isEmpty());
    EXPECT_EQ(state(), State::idle());
    service.refreshAnswer.cancelPending();
}

TEST_F(DisplayNameFieldTest, ARevertIsSilentAndEndsTheTimer) {
    commit(u"Grace"_qs);
    ASSERT_EQ(state(), State::saved());
    field->revert();
    test::drainEvents();
    EXPECT_EQ(state(), State::idle());
    EXPECT_EQ(clock.timerCount(), 0U);
}

// Two at once: the same name twice is one save, and another name waits for the first.

TEST_F(DisplayNameFieldTest, TheSameNameCommittedTwiceIsSavedOnce) {
    service.profileScript.hold();
    startCommit(u"Grace"_qs);
    const auto second = startCommit(u" Grace "_qs);
    EXPECT_TRUE(second->value);
    release(0, u"Grace"_qs);
    EXPECT_EQ(sent().size(), 1);
    EXPECT_EQ(shown, (std::vector{State::saving(), State::saved()}));
}

TEST_F(DisplayNameFieldTest, ASecondNameIsSavedBehindTheFirst) {
    service.profileScript.hold();
    startCommit(u"Grace"_qs);
    const auto second = startCommit(u"Edith"_qs);
    EXPECT_EQ(sent(), QStringList{u"Grace"_qs});
    release(0, u"Grace"_qs);
    EXPECT_EQ(state(), State::saving());
    EXPECT_EQ(sent(), QStringList({u"Grace"_qs, u"Edith"_qs}));
    release(1, u"Edith"_qs);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(state(), State::saved());
    EXPECT_EQ(status.state(), signedInAs(userWith(u"ada"_qs, u"Edith"_qs)));
}

TEST_F(DisplayNameFieldTest, AFailureOfTheFirstDoesNotSpeakOverTheSecond) {
    service.profileScript.hold();
    startCommit(u"Grace"_qs);
    startCommit(u"Edith"_qs);
    service.profileScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_EQ(state(), State::saving());
    release(1, u"Edith"_qs);
    EXPECT_EQ(shown, (std::vector{State::saving(), State::saved()}));
}

TEST_F(DisplayNameFieldTest, OfThreeTheOneThatWasNotSentYetIsSkipped) {
    service.profileScript.hold();
    startCommit(u"Grace"_qs);
    startCommit(u"Edith"_qs);
    startCommit(u"Hedy"_qs);
    release(0, u"Grace"_qs);
    release(1, u"Hedy"_qs);
    EXPECT_EQ(sent(), QStringList({u"Grace"_qs, u"Hedy"_qs}));
    EXPECT_EQ(state(), State::saved());
}

TEST_F(DisplayNameFieldTest, ANameThatIsTakenBackBeforeItWasSentIsNotSaved) {
    service.profileScript.hold();
    const auto before =
        start(changes.make({[] { return true; },
                            [this](const SecretText& token) {
                                return service.updateProfile(u"cedar"_qs, std::nullopt, token,
                                                             std::stop_token());
                            }}));
    for (const QString& present : {u"CanaryName"_qs, u"  "_qs}) {
        const auto dropped = startCommit(u"Grace"_qs);
        ASSERT_EQ(state(), State::saving());
        commit(present);
        EXPECT_EQ(state(), State::idle());
        EXPECT_FALSE(dropped->hasEnded());
    }
    service.profileScript.release(0, userWith(u"cedar"_qs));
    test::drainEvents();
    EXPECT_TRUE(before->value);
    EXPECT_EQ(sent(), QStringList{u"(none)"_qs});
    EXPECT_EQ(state(), State::idle());
}

TEST_F(DisplayNameFieldTest, ANameThatWasTakenBackCanBeCommittedAfterAll) {
    service.profileScript.hold();
    const auto first = startCommit(u"Grace"_qs);
    commit(u"CanaryName"_qs);
    const auto second = startCommit(u"Grace"_qs);
    release(0, u"Grace"_qs);
    release(1, u"Grace"_qs);
    EXPECT_TRUE(first->value);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(state(), State::saved());
}

TEST_F(DisplayNameFieldTest, ANameAndAHandleSavedAtOnceKeepBoth) {
    HandleField handles(ports, status, keeper, changes);
    status.setHandleState(State::available());
    service.profileScript.hold();
    startCommit(u"Grace"_qs);
    start(handles.commit(u"cedar"_qs));
    EXPECT_EQ(service.requestsTo(u"updateProfile"_qs).size(), 1U);
    release(0, u"Grace"_qs);
    service.profileScript.release(1, userWith(u"cedar"_qs, u"Grace"_qs));
    test::drainEvents();
    EXPECT_EQ(status.state(), signedInAs(userWith(u"cedar"_qs, u"Grace"_qs)));
    EXPECT_EQ(status.displayNameState(), State::saved());
    EXPECT_EQ(status.handleState(), State::saved());
}

TEST_F(DisplayNameFieldTest, ASaveThatOutlivesItsOwnerTouchesNothing) {
    service.profileScript.hold();
    const auto outcome = startCommit(u"Grace"_qs);
    field.reset();
    service.profileScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(state(), State::saving());
}

} // namespace lumivane
