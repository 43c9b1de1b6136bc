#include "overlay_views/ResultViewFixture.h"

#include <QQuickTextDocument>
#include <QTextBlock>
#include <QTextDocument>

#include <gtest/gtest.h>

namespace lumivane {

namespace {

using test::contentOf;
using test::ResultView;

QQuickItem* area(ResultView& view) {
    QQuickItem* passage = view->itemOfType("PassageAnswer");
    return passage != nullptr ? passage : view->itemOfType("SolutionAnswer");
}

double scrolledTo(ResultView& view) { return area(view)->property("contentY").toDouble(); }

double scrollable(ResultView& view) { return area(view)->property("scrollable").toDouble(); }

constexpr QPoint inAnswer(250, 120);
constexpr QSize leetCodeSize(560, 400);

/// The share of the pixels of a strip that letters have touched.
bool isWrittenOn(const QImage& picture, const QRect& strip) {
    const QColor background = picture.pixelColor(5, strip.top());
    for (int y = strip.top(); y <= strip.bottom(); ++y) {
        for (int x = strip.left(); x <= strip.right(); ++x) {
            if (picture.pixelColor(x, y).lightness() > background.lightness() + 60) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

TEST(ResultOverlayScroll, TheWheelScrollsByStepsAndStopsAtBothEnds) {
    for (const ResultKind kind : {ResultKind::text, ResultKind::answers, ResultKind::leetCode}) {
        ResultView view(contentOf(test::longAnswer(), kind), leetCodeSize);
        ASSERT_GT(scrollable(view), 200);
        view->turnWheel({250, 200}, 1);
        EXPECT_EQ(scrolledTo(view), 0);
        view->turnWheel({250, 200}, -1);
        EXPECT_EQ(scrolledTo(view), 60);
        view->turnWheel({250, 200}, -2);
        EXPECT_EQ(scrolledTo(view), 180);
        view->turnWheel({250, 200}, -1000);
        EXPECT_EQ(scrolledTo(view), scrollable(view));
        EXPECT_EQ(view.dismissals, 0);
    }
}

TEST(ResultOverlayScroll, ADragScrollsAndIsNoTap) {
    ResultView view(contentOf(test::longAnswer(), ResultKind::text));
    view->drag({250, 140}, {250, 60});
    EXPECT_GT(scrolledTo(view), 20);
    EXPECT_EQ(view.dismissals, 0);
}

TEST(ResultOverlayScroll, TheBarAtTheSideShowsThePlaceAndCanBeDragged) {
    ResultView view(contentOf(test::longAnswer(), ResultKind::leetCode), leetCodeSize);
    QQuickItem* bar = view->item(u"scrollIndicator"_qs);
    ASSERT_TRUE(bar->isVisible());
    EXPECT_GT(view->place(bar).left(), view->place(area(view)).right());
    EXPECT_LT(view->place(bar).right(), leetCodeSize.width());
    const QPoint start = view->middle(bar);
    view->drag(start, {start.x(), leetCodeSize.height() - 1});
    EXPECT_EQ(scrolledTo(view), scrollable(view));
    EXPECT_NEAR(view->place(bar).bottom(), view->place(area(view)).bottom(), 0.5);
    view->drag(view->middle(bar), {start.x(), 0});
    EXPECT_EQ(scrolledTo(view), 0);
}

TEST(ResultOverlayScroll, WhatFitsShowsNoBarAndDoesNotMove) {
    ResultView view(contentOf(u"Two plans."_qs, ResultKind::text));
    EXPECT_FALSE(view->item(u"scrollIndicator"_qs)->isVisible());
    view->turnWheel(inAnswer, -1);
    view->drag({250, 140}, {250, 60});
    EXPECT_EQ(scrolledTo(view), 0);
    EXPECT_EQ(view.dismissals, 0);
}

TEST(ResultOverlayScroll, OnlyASolutionCanBeSelected) {
    ResultView solution(contentOf(test::longAnswer(), ResultKind::leetCode), leetCodeSize);
    const QPoint first = solution->place(area(solution)).topLeft().toPoint() + QPoint(2, 6);
    solution->drag(first, first + QPoint(300, 60));
    const QString selected = solution->item(u"answerText"_qs)->property("selectedText").toString();
    EXPECT_TRUE(selected.startsWith(u"Paragraph 0 says"_qs)) << selected.toStdString();
    EXPECT_GT(selected.count(u'\n'), 1);
    EXPECT_EQ(scrolledTo(solution), 0);

    ResultView text(contentOf(u"Two plans."_qs, ResultKind::text));
    text->drag({20, 60}, {200, 62});
    EXPECT_EQ(text->item(u"answerText"_qs)->property("selectedText").toString(), u""_qs);
}

TEST(ResultOverlayScroll, SelectingPastTheEdgeScrollsAlong) {
    ResultView view(contentOf(test::longAnswer(), ResultKind::leetCode), leetCodeSize);
    const QPoint first = view->place(area(view)).topLeft().toPoint() + QPoint(2, 6);
    view->drag(first, {300, 396});
    EXPECT_GT(scrolledTo(view), 0);
    EXPECT_TRUE(view->item(u"answerText"_qs)
                    ->property("selectedText")
                    .toString()
                    .startsWith(u"Paragraph 0 says"_qs));
}

TEST(ResultOverlayScroll, AnAnswerStartsAtItsTop) {
    ResultView view(contentOf(test::longAnswer(400), ResultKind::leetCode), leetCodeSize);
    EXPECT_EQ(scrolledTo(view), 0);
}

TEST(ResultOverlayScroll, WhatIsScrolledToIsDrawn) {
    ResultView view(contentOf(test::longAnswer(600), ResultKind::leetCode), leetCodeSize);
    const QRect answer = view->place(area(view)).toRect();
    for (const double share : {0.0, 0.5, 1.0}) {
        area(view)->setProperty("contentY", scrollable(view) * share);
        view->settle();
        const QImage picture = view->picture();
        for (int y = answer.top() + 4; y < answer.bottom() - 40; y += 40) {
            EXPECT_TRUE(isWrittenOn(picture, {answer.left(), y, 200, 40})) << share << " at " << y;
        }
    }
}

TEST(ResultOverlayScroll, NothingOfAScrolledAnswerIsDrawnOverHeaderOrFooter) {
    ResultView view(contentOf(test::longAnswer(), ResultKind::text));
    view->turnWheel(inAnswer, -3);
    const QImage picture = view->picture();
    const QRect answer = view->place(area(view)).toRect();
    EXPECT_FALSE(isWrittenOn(picture, {20, answer.top() - 8, 400, 8}));
    EXPECT_FALSE(isWrittenOn(picture, {20, answer.bottom() + 2, 400, 5}));
}

TEST(ResultOverlayScroll, LinesOfATextStandApartAndTheLastHasNothingBehindIt) {
    AppSettings settings;
    settings.overlayTextSize = OverlayTextSize::medium; // 18 points
    const auto heightOf = [&](ResultKind kind, const QString& text) {
        ResultOverlayContent content = contentOf(text, kind);
        content.settings = settings;
        ResultView view(content);
        return view->item(u"answerText"_qs)->parentItem()->height();
    };
    const double one = heightOf(ResultKind::text, u"A"_qs);
    const double three = heightOf(ResultKind::text, u"A\nB\nC"_qs);
    EXPECT_NEAR(three, 3 * one + 2 * 18 * 0.35, 2);
}

TEST(ResultOverlayScroll, WordsWithoutEndAreBrokenAndNeverCutAtTheSide) {
    ResultView view(contentOf(QString(300, u'w'), ResultKind::text));
    const QQuickItem* text = view->item(u"answerText"_qs);
    EXPECT_GT(text->property("lineCount").toInt(), 5);
    EXPECT_LE(text->property("contentWidth").toDouble(), text->width());
}

TEST(ResultOverlayScroll, EachParagraphIsAlignedByItsOwnScript) {
    ResultView view(
        contentOf(u"English\n\u05E2\u05D1\u05E8\u05D9\u05EA\nEnglish"_qs, ResultKind::text));
    const auto* document = view->item(u"answerText"_qs)
                               ->property("textDocument")
                               .value<QQuickTextDocument*>()
                               ->textDocument();
    std::vector<Qt::LayoutDirection> directions;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        directions.push_back(block.blockFormat().layoutDirection());
    }
    EXPECT_EQ(directions, (std::vector{Qt::LeftToRight, Qt::RightToLeft, Qt::LeftToRight}));
    const QImage picture = view->picture();
    const QRect answer = view->place(area(view)).toRect();
    const int line = static_cast<int>(18 * 1.5);
    EXPECT_TRUE(isWrittenOn(picture, {answer.left(), answer.top(), 30, line - 4}));
    EXPECT_FALSE(isWrittenOn(picture, {answer.left(), answer.top() + line + 2, 30, line - 8}));
    EXPECT_TRUE(isWrittenOn(picture, {answer.right() - 30, answer.top() + line + 2, 30, line - 8}));
}

} // namespace lumivane
