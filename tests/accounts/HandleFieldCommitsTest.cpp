#include "accounts/HandleFieldFixture.h"

namespace lumivane {

using namespace std::chrono_literals;

/// Two commits at once: the same handle twice is one save, another handle waits for the first to be
/// answered, and only the last one speaks in the field, unless the user has gone on typing.
class HandleFieldCommitsTest : public test::HandleFieldFixture {
protected:
    void releaseSave(std::size_t index, const QString& handle) {
        service.profileScript.release(index, userWith(handle));
        test::drainEvents();
    }
};

TEST_F(HandleFieldCommitsTest, TheSameHandleCommittedTwiceIsSavedOnce) {
    typeFreeHandle();
    service.profileScript.hold();
    const auto first = startCommit(u"cedar"_qs);
    const auto second = startCommit(u"@cedar"_qs);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(state(), State::saving());
    releaseSave(0, u"cedar"_qs);
    EXPECT_TRUE(first->value);
    EXPECT_EQ(saved().size(), 1);
    EXPECT_EQ(shown, (std::vector{State::saving(), State::saved()}));
    clock.advance(2s);
    EXPECT_EQ(state(), State::idle());
}

TEST_F(HandleFieldCommitsTest, TheSameHandleTypedAndCommittedAgainIsShownAgain) {
    typeFreeHandle();
    service.profileScript.hold();
    startCommit(u"cedar"_qs);
    type(u"cedar"_qs);
    EXPECT_EQ(state(), State::available());
    startCommit(u"cedar"_qs);
    EXPECT_EQ(state(), State::saving());
    releaseSave(0, u"cedar"_qs);
    EXPECT_EQ(state(), State::saved());
    EXPECT_EQ(saved().size(), 1);
}

TEST_F(HandleFieldCommitsTest, ASecondHandleIsSavedBehindTheFirst) {
    typeFreeHandle();
    service.profileScript.hold();
    const auto first = startCommit(u"cedar"_qs);
    type(u"maple"_qs);
    const auto second = startCommit(u"maple"_qs);
    EXPECT_EQ(saved(), QStringList{u"cedar"_qs});
    releaseSave(0, u"cedar"_qs);
    EXPECT_TRUE(first->value);
    EXPECT_EQ(state(), State::saving());
    EXPECT_EQ(status.state(), signedInAs(userWith(u"cedar"_qs)));
    EXPECT_EQ(saved(), QStringList({u"cedar"_qs, u"maple"_qs}));
    releaseSave(1, u"maple"_qs);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(state(), State::saved());
    EXPECT_EQ(status.state(), signedInAs(userWith(u"maple"_qs)));
}

TEST_F(HandleFieldCommitsTest, AFailureOfTheFirstDoesNotSpeakOverTheSecond) {
    typeFreeHandle();
    service.profileScript.hold();
    startCommit(u"cedar"_qs);
    type(u"maple"_qs);
    startCommit(u"maple"_qs);
    service.profileScript.fail(0, AuthenticationError(Case::handleTaken));
    test::drainEvents();
    EXPECT_EQ(state(), State::saving());
    releaseSave(1, u"maple"_qs);
    EXPECT_EQ(state(), State::saved());
}

TEST_F(HandleFieldCommitsTest, OfThreeTheOneThatWasNotSentYetIsSkipped) {
    typeFreeHandle();
    service.profileScript.hold();
    startCommit(u"cedar"_qs);
    type(u"maple"_qs);
    const auto second = startCommit(u"maple"_qs);
    type(u"birch"_qs);
    startCommit(u"birch"_qs);
    releaseSave(0, u"cedar"_qs);
    EXPECT_TRUE(second->value);
    EXPECT_EQ(saved(), QStringList({u"cedar"_qs, u"birch"_qs}));
    releaseSave(1, u"birch"_qs);
    EXPECT_EQ(state(), State::saved());
}

TEST_F(HandleFieldCommitsTest, ALaterCommitTakesThePlaceOfOneThatIsStillBeingChecked) {
    service.availabilityScript.hold();
    type(u"cedar"_qs);
    const auto first = startCommit(u"cedar"_qs);
    adoptFilter(false);
    type(u"maple"_qs);
    service.profileScript.answerWith(userWith(u"maple"_qs));
    commit(u"maple"_qs);
    service.availabilityScript.release(0, availability(true));
    test::drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_EQ(saved(), QStringList{u"maple"_qs});
    EXPECT_EQ(state(), State::saved());
}

TEST_F(HandleFieldCommitsTest, TypingDuringASaveKeepsTheFieldAndTheSaveGoesOn) {
    typeFreeHandle();
    service.profileScript.hold();
    startCommit(u"cedar"_qs);
    type(u"maple"_qs);
    EXPECT_EQ(state(), State::available());
    releaseSave(0, u"cedar"_qs);
    EXPECT_EQ(state(), State::available());
    EXPECT_EQ(status.state(), signedInAs(userWith(u"cedar"_qs)));
    clock.advance(5s);
    EXPECT_EQ(state(), State::available());
}

TEST_F(HandleFieldCommitsTest, TypingDuringTheCheckOfACommitKeepsTheFieldAndTheCommitGoesOn) {
    service.availabilityScript.hold();
    type(u"cedar"_qs);
    startCommit(u"cedar"_qs);
    adoptFilter(false);
    type(u"a"_qs);
    service.profileScript.answerWith(userWith(u"cedar"_qs));
    service.availabilityScript.release(0, availability(true));
    test::drainEvents();
    EXPECT_EQ(saved(), QStringList{u"cedar"_qs});
    EXPECT_EQ(state(), State::invalidFormat());
}

TEST_F(HandleFieldCommitsTest, TypingDuringTheCheckOfACommitKeepsItFromReverting) {
    service.availabilityScript.hold();
    type(u"cedar"_qs);
    startCommit(u"cedar"_qs);
    type(u"a"_qs);
    service.availabilityScript.release(0, availability(false));
    test::drainEvents();
    EXPECT_TRUE(saved().isEmpty());
    EXPECT_EQ(state(), State::invalidFormat());
}

TEST_F(HandleFieldCommitsTest, ASaveThatOutlivesItsOwnerTouchesNothing) {
    typeFreeHandle();
    service.profileScript.hold();
    const auto outcome = startCommit(u"cedar"_qs);
    field.reset();
    service.profileScript.fail(0, AuthenticationError(Case::unavailable));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(state(), State::saving());
}

} // namespace lumivane
