#include "overlay_views/ResultViewFixture.h"
#include "support/EventLoop.h"

#include <QQuickTextDocument>
#include <QTest>
#include <QTextBlock>

#include <gmock/gmock.h>

namespace lumivane {

namespace {

using test::contentOf;
using test::ResultView;

double sizeOf(const QQuickItem* text) { return text->parentItem()->property("size").toDouble(); }

} // namespace

TEST(ResultOverlayView, ShowsHeaderAnswerAndFooter) {
    ResultOverlayContent content = contentOf(u"Two plans."_qs, ResultKind::text);
    content.countdownSeconds = 4.2;
    ResultView view(content);
    EXPECT_TRUE(view->shows(u"SCREEN SUMMARY"_qs));
    EXPECT_TRUE(view->shows(u"5s"_qs));
    EXPECT_TRUE(view->shows(u"Esc or click to dismiss"_qs));
    EXPECT_TRUE(view->shows(u"Copy"_qs));
    EXPECT_EQ(view->item(u"answerText"_qs)->property("text").toString(), u"Two plans."_qs);
    EXPECT_FALSE(view->item(u"resultClose"_qs)->isVisible());
    view.state().tick(3.9, false);
    test::drainEvents();
    EXPECT_TRUE(view->shows(u"4s"_qs));
}

TEST(ResultOverlayView, LiesOnTheLengthsOfItsLayout) {
    ResultOverlayContent content = contentOf(u"B"_qs, ResultKind::choice);
    content.countdownSeconds = 6;
    ResultView view(content, {360, 210});
    EXPECT_EQ(view->place(view->itemOfType("ResultHeader")), QRectF(18, 16, 324, 24));
    EXPECT_EQ(view->place(view->itemOfType("ChoiceAnswer")), QRectF(18, 49, 324, 210 - 116));
    EXPECT_EQ(view->place(view->itemOfType("CountdownBar")), QRectF(18, 157, 324, 2));
    EXPECT_EQ(view->place(view->itemOfType("ResultFooter")), QRectF(18, 168, 324, 26));
}

TEST(ResultOverlayView, GivesTheRoomOfABarThatIsNotThereToTheAnswer) {
    ResultView view(contentOf(u"B"_qs, ResultKind::choice), {360, 210});
    EXPECT_TRUE(view->shows(u"Until dismissed"_qs));
    EXPECT_EQ(view->itemOfType("CountdownBar"), nullptr);
    EXPECT_EQ(view->place(view->itemOfType("ChoiceAnswer")), QRectF(18, 49, 324, 210 - 100));
}

TEST(ResultOverlayView, ShowsAChoiceInFullSizeInTheMiddle) {
    ResultView view(contentOf(u"B"_qs, ResultKind::choice), {360, 210});
    EXPECT_DOUBLE_EQ(sizeOf(view->textItem(u"B"_qs)), 64);
    EXPECT_EQ(view->textItem(u"B"_qs)->property("horizontalAlignment").toInt(), Qt::AlignHCenter);
}

TEST(ResultOverlayView, ShrinksAChoiceAndThenCutsIt) {
    const QString twenty = u"Twenty characters !!"_qs;
    ResultView shrunk(contentOf(twenty, ResultKind::choice), {360, 210});
    EXPECT_LT(sizeOf(shrunk->textItem(twenty)), 64);
    EXPECT_GE(sizeOf(shrunk->textItem(twenty)), 64 * 0.35);
    EXPECT_FALSE(shrunk->textItem(twenty)->property("truncated").toBool());

    const QString endless = twenty + twenty + twenty + twenty;
    ResultView cut(contentOf(endless, ResultKind::choice), {360, 210});
    EXPECT_DOUBLE_EQ(sizeOf(cut->textItem(endless)), 64 * 0.35);
    EXPECT_TRUE(cut->textItem(endless)->property("truncated").toBool());
    EXPECT_EQ(cut->textItem(endless)->property("lineCount").toInt(), 1);
}

TEST(ResultOverlayView, TapsCloseAnOrdinaryPanelOnce) {
    for (const QString& text : {u"Short."_qs, test::longAnswer()}) {
        ResultView view(contentOf(text, ResultKind::text));
        view->click(QPoint(250, 120));
        EXPECT_EQ(view.dismissals, 1) << text.size();
        view->click(QPoint(100, 28));
        EXPECT_EQ(view.dismissals, 2) << text.size();
    }
}

TEST(ResultOverlayView, TapsLeaveALeetCodePanelAloneAndItsButtonCloses) {
    ResultView view(contentOf(u"Use a map."_qs, ResultKind::leetCode), {560, 400});
    view->click(QPoint(280, 200));
    EXPECT_EQ(view.dismissals, 0);
    view->click(view->item(u"resultClose"_qs));
    EXPECT_EQ(view.dismissals, 1);
    EXPECT_EQ(view->place(view->item(u"resultClose"_qs)).size(), QSizeF(24, 24));
}

TEST(ResultOverlayView, TheTitleTakesItsOwnWidthAndGivesWayToTheTimeThatIsLeft) {
    ResultView view(contentOf(u"Two plans."_qs, ResultKind::text));
    const QQuickItem* title = view->item(u"resultTitle"_qs);
    const QQuickItem* remaining = view->item(u"remaining"_qs);
    const auto gap = [&] { return view->place(remaining).left() - view->place(title).right(); };
    EXPECT_EQ(title->width(), title->implicitWidth());
    EXPECT_GE(gap(), 100);
    view->root()->setWidth(180);
    view->settle();
    EXPECT_LT(title->width(), title->implicitWidth());
    EXPECT_TRUE(title->property("truncated").toBool());
    EXPECT_EQ(remaining->width(), remaining->implicitWidth());
    EXPECT_GE(gap(), 8);
}

TEST(ResultOverlayView, HeadingsOfASolutionHaveTheirShareOfTheSizeUnrounded) {
    for (const OverlayTextSize size : allCases<OverlayTextSize>()) {
        ResultOverlayContent content = contentOf(
            u"# Title\nbody\n# one\nbody\n## two\nbody\n### three\nbody"_qs, ResultKind::leetCode);
        content.settings.overlayTextSize = size;
        ResultView view(content, {560, 400});
        const QQuickItem* field = view->item(u"answerText"_qs);
        const auto* document =
            field->property("textDocument").value<QQuickTextDocument*>()->textDocument();
        const auto sizeOfLine = [&](const QString& line) {
            for (auto block = document->begin(); block.isValid(); block = block.next()) {
                if (block.text() == line) {
                    const QTextCharFormat format = block.begin().fragment().charFormat();
                    return format.property(QTextFormat::FontPixelSize).toInt() * field->scale();
                }
            }
            return 0.0;
        };
        const double base = view.model().answerSize();
        EXPECT_EQ(field->property("font").value<QFont>().pixelSize() * field->scale(), base);
        EXPECT_NEAR(sizeOfLine(u"one"_qs), base * 1.5, 0.0626);
        EXPECT_NEAR(sizeOfLine(u"two"_qs), base * 1.28, 0.0626);
        EXPECT_NEAR(sizeOfLine(u"three"_qs), base * 1.12, 0.0626);
    }
}

TEST(ResultOverlayView, CopiesTheWholeAnswerAndStaysOpen) {
    ResultView view(contentOf(u"Two plans."_qs, ResultKind::text));
    view->click(view->item(u"resultCopy"_qs));
    EXPECT_EQ(view.pasteboard().text(), u"Two plans."_qs);
    EXPECT_EQ(view.announcements(), QStringList(u"Copied to clipboard"_qs));
    EXPECT_TRUE(view->shows(u"Copied"_qs));
    EXPECT_EQ(view.dismissals, 0);
}

TEST(ResultOverlayView, SaysWhatWasCopiedInPlaceOfTheButton) {
    ResultOverlayContent content = contentOf(u"Two plans."_qs, ResultKind::text);
    content.copiedToClipboard = true;
    ResultView view(content);
    EXPECT_TRUE(view->shows(u"Copied to clipboard"_qs));
    EXPECT_FALSE(view->item(u"resultCopy"_qs)->isVisible());
}

TEST(ResultOverlayView, OffersTheCopyThatFailedWhateverTheSettingsAskFor) {
    ResultOverlayContent content = contentOf(u"Two plans."_qs, ResultKind::text);
    content.settings.deliveryMode = DeliveryMode::both;
    content.copiedToClipboard = false;
    ResultView view(content);
    EXPECT_TRUE(view->item(u"resultCopy"_qs)->isVisible());
    EXPECT_FALSE(view->shows(u"Copied to clipboard"_qs));
}

TEST(ResultOverlayView, ForwardsEachChangeOfThePointersPresence) {
    ResultView view(contentOf(u"Two plans."_qs, ResultKind::text));
    QTest::mouseMove(&view->window(), QPoint(250, 120));
    view->settle();
    EXPECT_THAT(view.hovers, testing::ElementsAre(true));
    QTest::mouseMove(&view->window(), view->middle(view->item(u"resultCopy"_qs)));
    view->settle();
    EXPECT_THAT(view.hovers, testing::ElementsAre(true));
    QEvent leave(QEvent::Leave);
    QCoreApplication::sendEvent(&view->window(), &leave);
    view->settle();
    EXPECT_THAT(view.hovers, testing::ElementsAre(true, false));
}

TEST(ResultOverlayView, ShowsABannerUntilItIsDismissed) {
    ResultView view(contentOf(u"Use a map."_qs, ResultKind::leetCode), {560, 400});
    EXPECT_EQ(view->itemOfType("NotesFailureBanner"), nullptr);
    const double top = view->place(view->itemOfType("SolutionAnswer")).top();
    view.state().setNotesFailure(u"Notes could not be reached."_qs);
    view->settle();
    ASSERT_NE(view->itemOfType("NotesFailureBanner"), nullptr);
    EXPECT_TRUE(view->shows(u"Notes could not be reached."_qs));
    EXPECT_GT(view->place(view->itemOfType("SolutionAnswer")).top(), top + 12);
    view->click(view->item(u"notesBannerDismiss"_qs));
    EXPECT_EQ(view.state().notesFailure(), std::nullopt);
    EXPECT_EQ(view->itemOfType("NotesFailureBanner"), nullptr);
    EXPECT_EQ(view->place(view->itemOfType("SolutionAnswer")).top(), top);
    EXPECT_EQ(view.dismissals, 0);
}

TEST(ResultOverlayView, ShowsHeadingAndStatusOfASolution) {
    ResultOverlayContent content = contentOf(u"# Two Sum\nUse a map."_qs, ResultKind::leetCode);
    content.answerStatus = LeetCodeAnswerStatus::liveUnvalidated;
    ResultView view(content, {560, 400});
    EXPECT_TRUE(view->shows(u"Two Sum"_qs));
    EXPECT_TRUE(view->shows(u"Live / Unvalidated"_qs));
    EXPECT_EQ(view->itemOfType("LeetCodeStatusChip")->property("color").value<QColor>(),
              view.model().statusChipColor());

    ResultView without(contentOf(u"Use a map."_qs, ResultKind::leetCode), {560, 400});
    EXPECT_TRUE(without->shows(u"LeetCode solution"_qs));
    EXPECT_FALSE(without->itemOfType("LeetCodeStatusChip")->isVisible());
}

TEST(ResultOverlayView, ShowsNoMarkupOfAnAnswerAsMarkup) {
    ResultView choice(contentOf(u"<b>B</b>"_qs, ResultKind::choice), {360, 210});
    EXPECT_TRUE(choice->shows(u"<b>B</b>"_qs));
    EXPECT_EQ(choice->textItem(u"<b>B</b>"_qs)->property("textFormat").toInt(), Qt::PlainText);
    ResultView text(contentOf(u"a <b>bold</b> claim"_qs, ResultKind::text));
    EXPECT_EQ(text->item(u"answerText"_qs)->property("text").toString(), u"a <b>bold</b> claim"_qs);
}

TEST(ResultOverlayView, StandsTheSmallestPanelThereIs) {
    ResultOverlayContent content = contentOf(test::longAnswer(), ResultKind::leetCode);
    content.answerStatus = LeetCodeAnswerStatus::memoryValidated;
    ResultView view(content, {1, 1});
    view.state().setNotesFailure(u"Notes could not be reached."_qs);
    view->settle();
    EXPECT_EQ(view->picture().size(), QSize(1, 1));
}

TEST(ResultOverlayView, DrawsASharpLineInsideItsRoundedOutline) {
    ResultOverlayContent content = contentOf(u"Failed."_qs, ResultKind::text);
    content.isError = true;
    content.settings.overlayTextColor = OverlayTextColor::black;
    ResultView view(content, {560, 240});
    const QImage picture = view->picture();
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
    const QColor line = picture.pixelColor(280, 0);
    const QColor inside = picture.pixelColor(280, 1);
    EXPECT_GT(line.red(), 0xB0); // red at 0.7 on the error's fill
    EXPECT_NEAR(inside.red(), 0x52, 1);
    EXPECT_NEAR(inside.alpha(), 245, 1); // 0.96
    EXPECT_EQ(view->item(u"answerText"_qs)->property("color").value<QColor>(), QColor(Qt::white));
}

TEST(ResultOverlayView, IsOneContainerWithItsPartsForAssistiveTechnology) {
    ResultOverlayContent content = contentOf(u"Two plans."_qs, ResultKind::text);
    content.countdownSeconds = 6;
    ResultView view(content);
    const auto spoken = view->spoken();
    ASSERT_FALSE(spoken.empty());
    EXPECT_EQ(spoken[0].name, u"Screen summary"_qs);
    EXPECT_EQ(spoken[0].description, u""_qs);
    QStringList names;
    for (const auto& element : spoken) {
        names.append(element.name);
    }
    EXPECT_EQ(names,
              (QStringList{u"Screen summary"_qs, u"Dismisses in 6 seconds"_qs, u"Two plans."_qs,
                           u"Esc or click to dismiss"_qs, u"Copy the answer to the clipboard"_qs}));
}

TEST(ResultOverlayView, TellsHowALeetCodePanelIsUsed) {
    ResultOverlayContent content = contentOf(u"Use a map."_qs, ResultKind::leetCode);
    content.answerStatus = LeetCodeAnswerStatus::memoryValidated;
    ResultView view(content, {560, 400});
    const auto spoken = view->spoken();
    EXPECT_EQ(spoken[0].name, u"LeetCode"_qs);
    EXPECT_EQ(spoken[0].description,
              u"Scrollable and selectable. Press Escape, or use the close button, to close."_qs);
    QStringList names;
    for (const auto& element : spoken) {
        names.append(element.name);
    }
    EXPECT_EQ(names,
              (QStringList{u"LeetCode"_qs, u"Stays until you dismiss it"_qs,
                           u"Close LeetCode solution"_qs, u"LeetCode solution"_qs,
                           u"Locally checked"_qs, u"LeetCode"_qs, u"Esc or the close button"_qs,
                           u"Copy the answer to the clipboard"_qs}));
}

TEST(ResultOverlayView, IsPressedByAssistiveTechnology) {
    ResultView view(contentOf(u"Use a map."_qs, ResultKind::leetCode), {560, 400});
    for (const QString& name :
         {u"Copy the answer to the clipboard"_qs, u"Close LeetCode solution"_qs}) {
        QAccessibleInterface* button = view->spokenElement(name);
        ASSERT_NE(button, nullptr) << name.toStdString();
        EXPECT_EQ(button->role(), QAccessible::Button);
        button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }
    EXPECT_EQ(view.pasteboard().text(), u"Use a map."_qs);
    EXPECT_EQ(view.dismissals, 1);
}

} // namespace lumivane
