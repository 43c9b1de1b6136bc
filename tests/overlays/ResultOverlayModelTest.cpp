#include "overlays/ResultOverlayModel.h"

#include "SignalCount.h"
#include "overlays/ColorMixing.h"
#include "support/EventLoop.h"
#include "support/FakeAnnouncer.h"
#include "support/FakePasteboard.h"
#include "ui/identity/PaintColor.h"

#include <QFont>

#include <gtest/gtest.h>

namespace lumivane {

using test::SignalCount;

class ResultOverlayModelTest : public testing::Test {
protected:
    ResultOverlayModelTest() { content.text = u"the answer"_qs; }

    ResultOverlayModel& open() {
        model = std::make_unique<ResultOverlayModel>(
            content, state, pasteboard, announcer, [this] { ++dismissals; },
            [this](bool isOver) { hovers.push_back(isOver); });
        return *model;
    }

    ResultOverlayModel& open(ResultKind kind, bool isError = false) {
        content.kind = kind;
        content.isError = isError;
        return open();
    }

    ResultOverlayContent content;
    std::shared_ptr<ResultOverlayState> state = std::make_shared<ResultOverlayState>();
    test::Journal journal;
    test::FakePasteboard clipboard{journal};
    OverlayPasteboard pasteboard{clipboard};
    test::FakeAnnouncer announcer;
    int dismissals = 0;
    std::vector<bool> hovers;
    std::unique_ptr<ResultOverlayModel> model;
};

TEST_F(ResultOverlayModelTest, TitlesComeFromKindAndError) {
    EXPECT_EQ(open(ResultKind::answers).title(), u"ANSWERS"_qs);
    EXPECT_EQ(model->spokenTitle(), u"Answers"_qs);
    EXPECT_EQ(open(ResultKind::leetCode, true).title(), u"LUMIVANE ERROR"_qs);
    EXPECT_EQ(model->spokenTitle(), u"Lumivane error"_qs);
    EXPECT_TRUE(model->isError());
    EXPECT_TRUE(model->isLeetCode());
    EXPECT_TRUE(open(ResultKind::choice).isChoice());
}

TEST_F(ResultOverlayModelTest, OnlyASolutionHasAHint) {
    EXPECT_EQ(open(ResultKind::leetCode).accessibilityHint(),
              u"Scrollable and selectable. Press Escape, or use the close button, to close."_qs);
    content.settings.dismissWithEscape = false;
    EXPECT_EQ(open(ResultKind::leetCode).accessibilityHint(),
              u"Scrollable and selectable. Use the close button to close."_qs);
    EXPECT_EQ(model->closeHelp(), u"Close LeetCode solution"_qs);
    for (const auto kind : {ResultKind::choice, ResultKind::answers, ResultKind::text}) {
        EXPECT_EQ(open(kind).accessibilityHint(), QString());
    }
}

TEST_F(ResultOverlayModelTest, RemainingTimeFollowsTheClockOnceASecond) {
    open();
    const SignalCount changes(*model, &ResultOverlayModel::remainingChanged);
    EXPECT_EQ(model->remainingLabel(), u"Until dismissed"_qs);
    EXPECT_EQ(model->remainingAccessibilityLabel(), u"Stays until you dismiss it"_qs);
    state->beginCountdown(6);
    EXPECT_EQ(model->remainingLabel(), u"6s"_qs);
    EXPECT_EQ(model->remainingAccessibilityLabel(), u"Dismisses in 6 seconds"_qs);
    for (int tick = 1; tick <= 10; ++tick) {
        state->tick(6 - tick / 10.0, false);
    }
    EXPECT_EQ(model->remainingLabel(), u"5s"_qs);
    EXPECT_EQ(changes, 0) << "no label is laid out inside a tick";
    test::drainEvents();
    EXPECT_EQ(changes, 2);
}

TEST_F(ResultOverlayModelTest, HeadingIsTheQuestionElseTheTitleElseFixed) {
    content.text = u"\n# Two Sum\nx"_qs;
    content.questionTitle = u"Asked"_qs;
    EXPECT_EQ(open(ResultKind::leetCode).heading(), u"Asked"_qs);
    content.questionTitle = std::nullopt;
    EXPECT_EQ(open().heading(), u"Two Sum"_qs);
    content.text = u"x"_qs;
    EXPECT_EQ(open().heading(), u"LeetCode solution"_qs);
    content.text = u"# "_qs;
    EXPECT_EQ(open().heading(), QString());
}

TEST_F(ResultOverlayModelTest, StatusHasWordsAndColours) {
    EXPECT_EQ(open(ResultKind::leetCode).statusLabel(), QString());
    content.settings.useDarkAppearance = false;
    content.answerStatus = LeetCodeAnswerStatus::memoryValidated;
    EXPECT_EQ(open().statusLabel(), u"Locally checked"_qs);
    EXPECT_EQ(model->statusColor(), paintColor(LumivaneTheme::overlayStatusOk.light));
    EXPECT_EQ(model->statusChipColor(), paintColor(LumivaneTheme::overlayStatusChip.light));
    content.settings.useDarkAppearance = true;
    content.answerStatus = LeetCodeAnswerStatus::liveUnvalidated;
    EXPECT_EQ(open().statusLabel(), u"Live / Unvalidated"_qs);
    EXPECT_EQ(model->statusColor(), paintColor(LumivaneTheme::overlayStatusPending.dark));
    EXPECT_EQ(model->statusChipColor(), paintColor(LumivaneTheme::overlayStatusChip.dark));
}

TEST_F(ResultOverlayModelTest, NotesBannerComesFromTheStateAndIsEmptiedThere) {
    open(ResultKind::leetCode);
    const SignalCount changes(*model, &ResultOverlayModel::notesFailureChanged);
    EXPECT_FALSE(model->hasNotesFailure());
    state->setNotesFailure(u"no access"_qs);
    EXPECT_TRUE(model->hasNotesFailure());
    EXPECT_EQ(model->notesFailure(), u"no access"_qs);
    model->dismissNotesFailure();
    EXPECT_FALSE(model->hasNotesFailure());
    EXPECT_EQ(state->notesFailure(), std::nullopt);
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(dismissals, 0);
}

TEST_F(ResultOverlayModelTest, AnswerIsSetByItsKind) {
    EXPECT_EQ(open(ResultKind::choice).answerSize(), 64);
    EXPECT_EQ(model->answerWeight(), int(QFont::ExtraBold));
    EXPECT_EQ(model->answerLineSpacing(), 0);
    EXPECT_EQ(open(ResultKind::answers).answerSize(), 22);
    EXPECT_EQ(model->answerWeight(), int(QFont::Bold));
    EXPECT_EQ(model->answerLineSpacing(), 0);
    EXPECT_EQ(open(ResultKind::leetCode).answerSize(), 12.5);
    EXPECT_EQ(model->answerWeight(), int(QFont::Medium));
    EXPECT_EQ(model->answerLineSpacing(), 0);
    EXPECT_EQ(open(ResultKind::text).answerSize(), 18);
    EXPECT_EQ(model->answerWeight(), int(QFont::DemiBold));
    EXPECT_EQ(model->answerLineSpacing(), 18 * 0.35);
}

TEST_F(ResultOverlayModelTest, ErrorIsSetInBodySize) {
    struct Row {
        OverlayTextSize size;
        double error;
        double answer;
    };

    for (const Row& row :
         {Row{OverlayTextSize::small, 11, 15}, Row{OverlayTextSize::medium, 12.5, 18},
          Row{OverlayTextSize::large, 15, 22}}) {
        content.settings.overlayTextSize = row.size;
        EXPECT_EQ(open(ResultKind::text, true).answerSize(), row.error);
        EXPECT_EQ(model->answerLineSpacing(), row.error * 0.35);
        EXPECT_EQ(open(ResultKind::text, false).answerSize(), row.answer);
        EXPECT_EQ(open(ResultKind::leetCode, false).answerSize(), row.error);
    }
}

TEST_F(ResultOverlayModelTest, SolutionIsRenderedInBodySizeAndCopiedWhole) {
    content.settings.overlayTextSize = OverlayTextSize::large;
    content.text = u"# T\n## H\nUse `map`.\n```\ncode\n```"_qs;
    open(ResultKind::leetCode);
    EXPECT_EQ(model->renderedText().plainText(), u"H\nUse map."_qs);
    EXPECT_EQ(model->renderedText().runs.front().pointSize, 15 * 1.28);
    EXPECT_EQ(model->passage(), content.text);
    model->footer()->copy();
    EXPECT_EQ(clipboard.contents.at(PasteboardType::string), content.text);
}

TEST_F(ResultOverlayModelTest, ErrorIsWhiteOnAnyTextColour) {
    for (const auto& row : tables::overlayTextColor) {
        content.settings.overlayTextColor = row.value;
        EXPECT_EQ(open(ResultKind::text, true).foreground(), paintColor({1, 1, 1, 1}));
        EXPECT_EQ(open(ResultKind::text, false).foreground(),
                  paintColor(OverlayPalette::color(row.colorHex)));
    }
}

TEST_F(ResultOverlayModelTest, OutlineFollowsErrorAndBackground) {
    content.settings.overlayBackground = OverlayBackgroundStyle::none;
    EXPECT_EQ(open(ResultKind::text, true).outline(), paintColor({1, 0, 0, 0.7}));
    EXPECT_EQ(open(ResultKind::text, false).outline().alpha(), 0);
    content.settings.overlayBackground = OverlayBackgroundStyle::light;
    EXPECT_EQ(open().outline(), paintColor({1, 1, 1, 0.12}));
}

TEST_F(ResultOverlayModelTest, SurfaceFollowsErrorAndTransparency) {
    content.settings.overlayBackground = OverlayBackgroundStyle::none;
    EXPECT_EQ(open(ResultKind::text, true).surface(false),
              paintColor(withOpacity(OverlayPalette::color(0x520F0A), 0.96)));
    EXPECT_EQ(open(ResultKind::text, false).surface(false).alpha(), 0);
    EXPECT_EQ(model->surface(true), paintColor(OverlayPalette::color(0x1C1D1F)));
}

TEST_F(ResultOverlayModelTest, BarIsThereWithACountdownOnlyAndInTheForeground) {
    EXPECT_EQ(open().countdown(), nullptr);
    content.countdownSeconds = 6;
    content.settings.overlayTextColor = OverlayTextColor::amber;
    state->beginCountdown(6);
    ASSERT_NE(open().countdown(), nullptr);
    EXPECT_EQ(model->countdown()->fill(),
              paintColor(withOpacity(OverlayPalette::color(0xF5C469), 0.5)));
    content.isError = true;
    EXPECT_EQ(open().countdown()->fill(), paintColor({1, 1, 1, 0.5}));
}

TEST_F(ResultOverlayModelTest, FooterTellsWhatReallyHappened) {
    content.settings.deliveryMode = DeliveryMode::both;
    content.copiedToClipboard = false;
    EXPECT_TRUE(open().footer()->offersCopy()) << "the copy failed";
    content.settings.deliveryMode = DeliveryMode::screen;
    content.copiedToClipboard = true;
    EXPECT_FALSE(open().footer()->offersCopy());
    EXPECT_TRUE(open(ResultKind::text, true).footer()->offersCopy());
}

TEST_F(ResultOverlayModelTest, FooterHintFollowsKindAndSettings) {
    content.settings.dismissWithEscape = false;
    EXPECT_EQ(open(ResultKind::text).footer()->hint(), u"Click to dismiss"_qs);
    EXPECT_EQ(open(ResultKind::leetCode).footer()->hint(), u"Use the close button"_qs);
    EXPECT_EQ(open(ResultKind::text, true).footer()->hint(), u"Esc or click to dismiss"_qs);
}

TEST_F(ResultOverlayModelTest, TapClosesEverythingButASolution) {
    int expected = 0;
    for (const auto kind : {ResultKind::choice, ResultKind::answers, ResultKind::text}) {
        open(kind).tap();
        EXPECT_EQ(dismissals, ++expected);
    }
    open(ResultKind::leetCode).tap();
    EXPECT_EQ(dismissals, expected);
    model->dismiss();
    EXPECT_EQ(dismissals, expected + 1);
}

TEST_F(ResultOverlayModelTest, HoverIsForwarded) {
    open().hover(true);
    model->hover(false);
    EXPECT_EQ(hovers, (std::vector{true, false}));
}

} // namespace lumivane
