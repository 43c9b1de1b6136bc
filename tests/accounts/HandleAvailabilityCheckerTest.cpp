#include "accounts/HandleAvailabilityChecker.h"

#include "support/EventLoop.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

namespace lumivane {

using namespace std::chrono_literals;
using test::flagged;
using Verdict = HandleLocalVerdict;

namespace {

/// Everything is taken, or nothing.
HandleFilterPayload filterOf(char byte, const QString& version = u"v1"_qs) {
    return {version, 8, 2, u"h"_qs, u"00"_qs, QString::fromLatin1(QByteArray(1, byte).toBase64())};
}

const HandleFilterPayload full = filterOf('\xff');
const HandleFilterPayload empty = filterOf('\0');

} // namespace

class HandleAvailabilityCheckerTest : public testing::Test {
protected:
    Verdict verdict(const QString& draft, const std::optional<QString>& current = std::nullopt) {
        return checker.verdict(draft, current);
    }

    test::ManualClock clock;
    HandleAvailabilityChecker checker{clock};
};

TEST_F(HandleAvailabilityCheckerTest, WithoutAFilterEveryGoodNameGoesToTheService) {
    EXPECT_FALSE(checker.hasSnapshot());
    EXPECT_EQ(checker.snapshotVersion(), std::nullopt);
    EXPECT_EQ(verdict(u"cedar"_qs), Verdict::needsServerCheck);
    EXPECT_EQ(verdict(u"a"_qs), Verdict::invalidFormat);
    EXPECT_EQ(verdict(u"ADMIN"_qs), Verdict::reserved);
}

TEST_F(HandleAvailabilityCheckerTest, FormComesBeforeEverythingElse) {
    checker.adopt(empty);
    for (const QString& draft : {u""_qs, u"a"_qs, QString(40, u'a'), u"caf\u00e9"_qs, u"@ cedar"_qs,
                                 u"two words"_qs, u"@"_qs}) {
        EXPECT_EQ(verdict(draft), Verdict::invalidFormat) << draft.toStdString();
    }
    EXPECT_EQ(verdict(QString(39, u'a')), Verdict::available);
    EXPECT_EQ(verdict(u"  @@cedar "_qs), Verdict::available);
}

TEST_F(HandleAvailabilityCheckerTest, ReservedWordsNeedNoFilter) {
    checker.adopt(empty);
    EXPECT_EQ(verdict(u"admin"_qs), Verdict::reserved);
    EXPECT_EQ(verdict(u" @ADMIN "_qs), Verdict::reserved);
    EXPECT_EQ(verdict(u"admin1"_qs), Verdict::available);
}

TEST_F(HandleAvailabilityCheckerTest, TheFilterAnswersWhatIsFreeAndNeverWhatIsTaken) {
    checker.adopt(empty);
    EXPECT_EQ(verdict(u"cedar"_qs), Verdict::available);
    checker.adopt(full);
    EXPECT_EQ(verdict(u"cedar"_qs), Verdict::needsServerCheck);
}

TEST_F(HandleAvailabilityCheckerTest, OnesOwnHandleIsUnchangedAndAnotherCaseOfItAvailable) {
    checker.adopt(full);
    const QString current = u"Cedar"_qs;
    EXPECT_EQ(verdict(u"Cedar"_qs, current), Verdict::unchanged);
    EXPECT_EQ(verdict(u" @Cedar"_qs, current), Verdict::unchanged);
    EXPECT_EQ(verdict(u"cedar"_qs, current), Verdict::available);
    EXPECT_EQ(verdict(u"@cedar"_qs, current), Verdict::available);
    EXPECT_EQ(verdict(u"CEDAR"_qs, current), Verdict::available);
    EXPECT_EQ(verdict(u"cedars"_qs, current), Verdict::needsServerCheck);
}

TEST_F(HandleAvailabilityCheckerTest, OnesOwnHandleCountsEvenWhenTheRulesWouldRefuseIt) {
    EXPECT_EQ(verdict(u"Admin"_qs, u"Admin"_qs), Verdict::unchanged);
    EXPECT_EQ(verdict(u"admin"_qs, u"Admin"_qs), Verdict::available);
    EXPECT_EQ(verdict(u"A"_qs, u"A"_qs), Verdict::unchanged);
    EXPECT_EQ(verdict(u"a"_qs, u"A"_qs), Verdict::invalidFormat);
    EXPECT_EQ(verdict(u""_qs, u""_qs), Verdict::unchanged);
}

TEST_F(HandleAvailabilityCheckerTest, APayloadReplacesTheFilter) {
    checker.adopt(filterOf('\0', u"v1"_qs));
    EXPECT_TRUE(checker.hasSnapshot());
    EXPECT_EQ(checker.snapshotVersion(), u"v1"_qs);
    checker.adopt(filterOf('\xff', u"v2"_qs));
    EXPECT_EQ(checker.snapshotVersion(), u"v2"_qs);
    EXPECT_EQ(verdict(u"cedar"_qs), Verdict::needsServerCheck);
}

TEST_F(HandleAvailabilityCheckerTest, UnchangedLeavesTheFilterAndUnavailableRemovesIt) {
    checker.adopt(empty);
    checker.adopt(HandleFilterOutcome(HandleFilterUnchanged()));
    EXPECT_EQ(checker.snapshotVersion(), u"v1"_qs);
    EXPECT_EQ(verdict(u"cedar"_qs), Verdict::available);
    checker.adopt(HandleFilterOutcome(HandleFilterUnavailable()));
    EXPECT_FALSE(checker.hasSnapshot());
    EXPECT_EQ(checker.snapshotVersion(), std::nullopt);
    EXPECT_EQ(verdict(u"cedar"_qs), Verdict::needsServerCheck);
    checker.adopt(HandleFilterOutcome(HandleFilterUnchanged()));
    EXPECT_FALSE(checker.hasSnapshot());
}

TEST_F(HandleAvailabilityCheckerTest, ABadPayloadRemovesTheFilter) {
    HandleFilterPayload thousand = empty;
    thousand.m = 1000;
    HandleFilterPayload tooFew = empty;
    tooFew.m = 16;
    for (const HandleFilterPayload& bad : {thousand, tooFew}) {
        checker.adopt(empty);
        checker.adopt(bad);
        EXPECT_FALSE(checker.hasSnapshot());
    }
}

TEST_F(HandleAvailabilityCheckerTest, ASnapshotCanBePutInAndTakenOut) {
    checker.adopt(HandleFilterSnapshot::from(empty));
    EXPECT_EQ(verdict(u"cedar"_qs), Verdict::available);
    checker.adopt(std::optional<HandleFilterSnapshot>());
    EXPECT_FALSE(checker.hasSnapshot());
}

TEST_F(HandleAvailabilityCheckerTest, TheDebounceLasts350Milliseconds) {
    const auto outcome = test::watch(flagged(checker.waitForDebounce({})));
    clock.advance(349ms);
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1ms);
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(HandleAvailabilityCheckerTest, TheDebounceCanBeAnother) {
    HandleAvailabilityChecker patient(clock, 2s);
    const auto outcome = test::watch(flagged(patient.waitForDebounce({})));
    clock.advance(1999ms);
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1ms);
    EXPECT_TRUE(outcome->value);
}

TEST_F(HandleAvailabilityCheckerTest, AKeystrokeEndsTheWaitBeforeIt) {
    std::stop_source source;
    const auto outcome = test::watch(flagged(checker.waitForDebounce(source.get_token())));
    clock.advance(100ms);
    source.request_stop();
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST(HandleLocalVerdict, EachHasItsStateOfTheField) {
    EXPECT_EQ(profileFieldState(Verdict::unchanged), ProfileFieldState::idle());
    EXPECT_EQ(profileFieldState(Verdict::invalidFormat), ProfileFieldState::invalidFormat());
    EXPECT_EQ(profileFieldState(Verdict::reserved), ProfileFieldState::reserved());
    EXPECT_EQ(profileFieldState(Verdict::available), ProfileFieldState::available());
    EXPECT_EQ(profileFieldState(Verdict::needsServerCheck), ProfileFieldState::checking());
    EXPECT_EQ(static_cast<int>(Verdict::unchanged), 0);
    EXPECT_EQ(static_cast<int>(Verdict::needsServerCheck), 4);
}

} // namespace lumivane
