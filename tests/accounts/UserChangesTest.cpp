#include "accounts/UserChanges.h"

#include "accounts/AccountPartsFixture.h"

namespace lumivane {

using test::flagged;

class UserChangesTest : public test::AccountPartsFixture {
protected:
    UserChangesTest() { signIn(); }

    UserChanges::Change renaming(const QString& name) {
        UserChanges::Change change;
        change.isWanted = [this] { return isWanted; };
        change.send = [this, name](const SecretText& token) {
            return service.updateProfile(std::nullopt, name, token, std::stop_token());
        };
        return change;
    }

    std::shared_ptr<test::Outcome<bool>> make(const QString& name) {
        const auto outcome = test::watch(flagged(changes.make(renaming(name))));
        test::drainEvents();
        return outcome;
    }

    QStringList sentNames() const {
        QStringList names;
        for (const auto& request : service.requestsTo(u"updateProfile"_qs)) {
            names.append(request.displayName.value_or(QString()));
        }
        return names;
    }

    bool isWanted = true;
};

TEST_F(UserChangesTest, TheAnswerIsTheUserFromThenOn) {
    status.setErrorMessage(u"Trouble"_qs);
    service.profileScript.answerWith(userWith(u"ada"_qs, u"Grace"_qs));
    EXPECT_TRUE(make(u"Grace"_qs)->value);
    EXPECT_EQ(status.state(), signedInAs(userWith(u"ada"_qs, u"Grace"_qs)));
    EXPECT_EQ(keeper.credentials()->user.displayName, u"Grace"_qs);
    EXPECT_EQ(keeper.credentials()->accessToken, service.login(0).accessToken);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(service.requests.front().token, "access-0");
}

TEST_F(UserChangesTest, ChangesGoOneAfterAnother) {
    service.profileScript.hold();
    const auto first = make(u"First"_qs);
    const auto second = make(u"Second"_qs);
    EXPECT_EQ(sentNames(), QStringList{u"First"_qs});
    service.profileScript.release(0, userWith(u"ada"_qs, u"First"_qs));
    test::drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_EQ(sentNames(), QStringList({u"First"_qs, u"Second"_qs}));
    service.profileScript.release(1, userWith(u"ada"_qs, u"Second"_qs));
    test::drainEvents();
    EXPECT_TRUE(second->value);
    EXPECT_EQ(keeper.credentials()->user.displayName, u"Second"_qs);
}

TEST_F(UserChangesTest, AFailureLeavesTheUserAndTheNextChangeItsTurn) {
    service.profileScript.hold();
    const auto first = make(u"First"_qs);
    const auto second = make(u"Second"_qs);
    service.profileScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_EQ(first->errorAs<AuthenticationError>(), AuthenticationError(Case::unavailable));
    EXPECT_EQ(keeper.credentials()->user, service.user);
    service.profileScript.release(1, userWith(u"ada"_qs, u"Second"_qs));
    test::drainEvents();
    EXPECT_TRUE(second->value);
}

TEST_F(UserChangesTest, WhatIsNotWantedAtItsTurnIsNotSent) {
    service.profileScript.hold();
    const auto first = make(u"First"_qs);
    const auto second = make(u"Second"_qs);
    isWanted = false;
    service.profileScript.release(0, userWith(u"ada"_qs, u"First"_qs));
    test::drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_TRUE(second->isCancelled);
    EXPECT_EQ(sentNames(), QStringList{u"First"_qs});
}

TEST_F(UserChangesTest, TheEndOfTheSessionDropsTheAnswerAndWhatIsInLine) {
    service.profileScript.hold();
    const auto first = make(u"First"_qs);
    const auto second = make(u"Second"_qs);
    signOut();
    service.profileScript.release(0, userWith(u"ada"_qs, u"First"_qs));
    test::drainEvents();
    EXPECT_TRUE(first->isCancelled);
    EXPECT_TRUE(second->isCancelled);
    EXPECT_EQ(sentNames(), QStringList{u"First"_qs});
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_FALSE(keeper.credentials());
}

TEST_F(UserChangesTest, AFailureBehindTheEndOfTheSessionIsNoFailureOfTheNext) {
    service.profileScript.hold();
    const auto outcome = make(u"First"_qs);
    signOut();
    service.profileScript.fail(0, AuthenticationError(Case::expiredSession));
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
}

TEST_F(UserChangesTest, ANewSessionDoesNotWaitForAnOldOne) {
    service.profileScript.hold();
    const auto old = make(u"First"_qs);
    signOut();
    signIn();
    const auto fresh = make(u"Second"_qs);
    ASSERT_EQ(sentNames(), QStringList{u"Second"_qs});
    service.profileScript.release(1, userWith(u"ada"_qs, u"Second"_qs));
    test::drainEvents();
    EXPECT_TRUE(fresh->value);
    service.profileScript.release(0, userWith(u"ada"_qs, u"First"_qs));
    test::drainEvents();
    EXPECT_TRUE(old->isCancelled);
    EXPECT_EQ(keeper.credentials()->user.displayName, u"Second"_qs);
}

TEST_F(UserChangesTest, ATokenThatIsRunningOutIsRefreshedAndTheKeyringMayAsk) {
    letTheTokenAge();
    service.profileScript.answerWith(userWith(u"ada"_qs, u"Grace"_qs));
    EXPECT_TRUE(make(u"Grace"_qs)->value);
    EXPECT_EQ(service.requestsTo(u"updateProfile"_qs).front().token, "access-1");
    ASSERT_FALSE(store.savePrompts.empty());
    EXPECT_EQ(store.savePrompts.front(), UnlockPrompt::allowed);
}

TEST_F(UserChangesTest, AnAnswerDuringALoginLeavesTheLoginAlone) {
    service.profileScript.hold();
    make(u"Grace"_qs);
    status.setState(AuthenticationState::authorizing(AuthProvider::google));
    service.profileScript.release(0, userWith(u"ada"_qs, u"Grace"_qs));
    test::drainEvents();
    EXPECT_EQ(status.state(), AuthenticationState::authorizing(AuthProvider::google));
    EXPECT_EQ(keeper.credentials()->user.displayName, u"Grace"_qs);
}

TEST_F(UserChangesTest, ARefusedTokenEndsTheSessionAndIsTheReason) {
    letTheTokenAge();
    service.refreshFailure = AuthenticationError(Case::expiredSession);
    const auto outcome = make(u"Grace"_qs);
    EXPECT_EQ(outcome->errorAs<AuthenticationError>(), AuthenticationError(Case::expiredSession));
    EXPECT_EQ(status.state(), AuthenticationState::signedOut());
    EXPECT_TRUE(sentNames().isEmpty());
}

TEST_F(UserChangesTest, SignOutWhileTheTokenIsFetchedSendsNothing) {
    letTheTokenAge();
    service.refreshAnswer.hold();
    const auto outcome = make(u"Grace"_qs);
    signOut();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(sentNames().isEmpty());
    service.refreshAnswer.cancelPending();
}

} // namespace lumivane
