#include "overlays/ResultOverlayCopy.h"

#include "overlays/WorkingOverlayCopy.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivane {

using namespace ResultOverlayCopy;

TEST(WorkingOverlayCopy, WordsStandAsWritten) {
    EXPECT_EQ(WorkingOverlayCopy::normal, u"Processing\u2026"_qs);
    EXPECT_EQ(WorkingOverlayCopy::slow, u"Still thinking \u2014 this one is taking a while."_qs);
}

TEST(ResultOverlayCopy, ConstantsStandAsWritten) {
    EXPECT_EQ(error, u"LUMIVANE ERROR"_qs);
    EXPECT_EQ(copiedToClipboard, u"Copied to clipboard"_qs);
    EXPECT_EQ(copy, u"Copy"_qs);
    EXPECT_EQ(copied, u"Copied"_qs);
}

TEST(ResultOverlayCopy, TitlesFollowTheKind) {
    struct Row {
        ResultKind kind;
        QString written;
        QString spoken;
    };

    for (const Row& row : {Row{ResultKind::choice, u"ANSWER"_qs, u"Answer"_qs},
                           Row{ResultKind::answers, u"ANSWERS"_qs, u"Answers"_qs},
                           Row{ResultKind::text, u"SCREEN SUMMARY"_qs, u"Screen summary"_qs},
                           Row{ResultKind::leetCode, u"LEETCODE"_qs, u"LeetCode"_qs}}) {
        EXPECT_EQ(title(row.kind, false), row.written);
        EXPECT_EQ(spokenTitle(row.kind, false), row.spoken);
        EXPECT_EQ(title(row.kind, true), u"LUMIVANE ERROR"_qs);
        EXPECT_EQ(spokenTitle(row.kind, true), u"Lumivane error"_qs);
    }
}

TEST(ResultOverlayCopy, AnnouncementReadsOutEverythingButASolution) {
    EXPECT_EQ(announcement(ResultKind::choice, false, u"B"_qs), u"Answer: B"_qs);
    EXPECT_EQ(announcement(ResultKind::answers, false, u"1 A\n2 C"_qs), u"Answers: 1 A\n2 C"_qs);
    EXPECT_EQ(announcement(ResultKind::text, false, u"%1 a"_qs), u"Screen summary: %1 a"_qs);
    EXPECT_EQ(announcement(ResultKind::text, true, u"no"_qs), u"Lumivane error: no"_qs);
    EXPECT_EQ(announcement(ResultKind::text, false, QString()), u"Screen summary: "_qs);
    EXPECT_EQ(announcement(ResultKind::leetCode, false, u"secret"_qs),
              u"LeetCode solution ready. Review the selectable solution on screen"_qs);
    EXPECT_EQ(announcement(ResultKind::leetCode, true, u"no"_qs), u"Lumivane error: no"_qs);
}

TEST(ResultOverlayCopy, HintTellsHowAPanelCloses) {
    for (const auto& row : tables::resultKind) {
        for (const bool escape : {true, false}) {
            EXPECT_EQ(dismissalHint(row.value, true, escape), u"Esc or click to dismiss"_qs);
        }
    }
    EXPECT_EQ(dismissalHint(ResultKind::leetCode, false, true), u"Esc or the close button"_qs);
    EXPECT_EQ(dismissalHint(ResultKind::leetCode, false, false), u"Use the close button"_qs);
    for (const auto kind : {ResultKind::choice, ResultKind::answers, ResultKind::text}) {
        EXPECT_EQ(dismissalHint(kind, false, true), u"Esc or click to dismiss"_qs);
        EXPECT_EQ(dismissalHint(kind, false, false), u"Click to dismiss"_qs);
    }
}

TEST(ResultOverlayCopy, RemainingTimeIsShort) {
    EXPECT_EQ(remainingLabel(std::nullopt), u"Until dismissed"_qs);
    EXPECT_EQ(remainingLabel(-3), u"0s"_qs);
    EXPECT_EQ(remainingLabel(0), u"0s"_qs);
    EXPECT_EQ(remainingLabel(1), u"1s"_qs);
    EXPECT_EQ(remainingLabel(7), u"7s"_qs);
    EXPECT_EQ(remainingLabel(59), u"59s"_qs);
    EXPECT_EQ(remainingLabel(60), u"1:00"_qs);
    EXPECT_EQ(remainingLabel(65), u"1:05"_qs);
    EXPECT_EQ(remainingLabel(125), u"2:05"_qs);
    EXPECT_EQ(remainingLabel(3'600), u"60:00"_qs);
    EXPECT_EQ(remainingLabel(std::numeric_limits<std::int64_t>::min()), u"0s"_qs);
    EXPECT_EQ(remainingLabel(std::numeric_limits<std::int64_t>::max()),
              u"153722867280912930:07"_qs);
}

TEST(ResultOverlayCopy, RemainingTimeIsSpokenInWords) {
    EXPECT_EQ(remainingAccessibilityLabel(std::nullopt), u"Stays until you dismiss it"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(-3), u"Dismisses in 0 seconds"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(0), u"Dismisses in 0 seconds"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(1), u"Dismisses in 1 second"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(2), u"Dismisses in 2 seconds"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(59), u"Dismisses in 59 seconds"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(60), u"Dismisses in about 1 minute"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(119), u"Dismisses in about 1 minute"_qs);
    EXPECT_EQ(remainingAccessibilityLabel(120), u"Dismisses in about 2 minutes"_qs);
}

TEST(ResultCopyState, OnlyWhatWasCopiedClaimsIt) {
    static_assert(int(ResultCopyState::alreadyCopied) == 0 &&
                  int(ResultCopyState::offersCopy) == 1);
    EXPECT_EQ(resolveCopyState(DeliveryMode::screen, false), ResultCopyState::offersCopy);
    EXPECT_EQ(resolveCopyState(DeliveryMode::clipboard, false), ResultCopyState::alreadyCopied);
    EXPECT_EQ(resolveCopyState(DeliveryMode::both, false), ResultCopyState::alreadyCopied);
    for (const auto& row : tables::deliveryMode) {
        EXPECT_EQ(resolveCopyState(row.value, true), ResultCopyState::offersCopy);
    }
}

} // namespace lumivane
