#include "overlay_views/ResultViewFixture.h"

#include <QTest>

#include <gtest/gtest.h>

namespace lumivane::test {

namespace {

QObject* clockOf(const QQuickItem* button) {
    return button->findChild<QObject*>(u"tipClock"_qs, Qt::FindChildrenRecursively);
}

bool isWaiting(const QQuickItem* button) { return clockOf(button)->property("running").toBool(); }

void rest(ShownView& view, const QQuickItem* button) {
    // A pointer that is there already does not move.
    QTest::mouseMove(&view.window(), QPoint(1, 1));
    QTest::mouseMove(&view.window(), view.middle(button));
    view.settle();
}

/// The pointer has rested long enough.
void elapse(ShownView& view, const QQuickItem* button) {
    EXPECT_TRUE(isWaiting(button));
    EXPECT_EQ(clockOf(button)->property("interval").toInt(), 600);
    QMetaObject::invokeMethod(clockOf(button), "triggered");
    view.settle();
}

void expectInside(const ShownView& view, const QQuickItem* words) {
    const QRectF panel(0, 0, view.root()->width(), view.root()->height());
    EXPECT_TRUE(panel.contains(view.place(words)));
    EXPECT_FALSE(words->property("truncated").toBool());
}

} // namespace

TEST(PressTip, SaysWhatAButtonWithoutWordsDoesOnceThePointerRestsOnIt) {
    ResultView view(contentOf(u"# Two sums\nUse a map."_qs, ResultKind::leetCode), {760, 560});
    const QQuickItem* close = view->item(u"resultClose"_qs);
    EXPECT_FALSE(isWaiting(close));
    rest(*view, close);
    EXPECT_FALSE(view->shows(u"Close LeetCode solution"_qs));
    elapse(*view, close);
    const QQuickItem* words = view->textItem(u"Close LeetCode solution"_qs);
    ASSERT_NE(words, nullptr);
    expectInside(*view, words);
    EXPECT_GE(view->place(words).top(), view->place(close).bottom());
    QTest::mouseMove(&view->window(), QPoint(200, 300));
    view->settle();
    EXPECT_FALSE(view->shows(u"Close LeetCode solution"_qs));
}

TEST(PressTip, LiesAboveWhatIsAtTheFootOfThePanel) {
    ResultView view(contentOf(u"the answer"_qs, ResultKind::text));
    const QQuickItem* copy = view->item(u"resultCopy"_qs);
    rest(*view, copy);
    elapse(*view, copy);
    const QQuickItem* words = view->textItem(u"Copy the answer to the clipboard"_qs);
    ASSERT_NE(words, nullptr);
    expectInside(*view, words);
    EXPECT_LE(view->place(words).bottom(), view->place(copy).top());
}

TEST(PressTip, TakesNeitherPressesNorThePointerFromWhatIsUnderIt) {
    ResultView view(contentOf(u"the answer"_qs, ResultKind::text));
    const QQuickItem* copy = view->item(u"resultCopy"_qs);
    rest(*view, copy);
    elapse(*view, copy);
    const QPoint onTip = view->middle(view->textItem(u"Copy the answer to the clipboard"_qs));
    EXPECT_EQ(view.hovers, std::vector<bool>{true});
    view->click(onTip);
    EXPECT_EQ(view.hovers, std::vector<bool>{true});
    EXPECT_EQ(view.dismissals, 1) << "the panel under the tip was pressed";
}

TEST(PressTip, GoesWithThePressAndDoesNotComeBackBehindIt) {
    ResultView view(contentOf(u"the answer"_qs, ResultKind::text));
    const QQuickItem* copy = view->item(u"resultCopy"_qs);
    rest(*view, copy);
    elapse(*view, copy);
    view->click(copy);
    EXPECT_EQ(view.pasteboard().text(), u"the answer"_qs);
    EXPECT_FALSE(view->shows(u"Copy the answer to the clipboard"_qs));
    EXPECT_FALSE(isWaiting(copy));
}

TEST(PressTip, IsNothingThatIsSpoken) {
    ResultView view(contentOf(u"the answer"_qs, ResultKind::text));
    const auto before = view->spoken().size();
    const QQuickItem* copy = view->item(u"resultCopy"_qs);
    rest(*view, copy);
    elapse(*view, copy);
    EXPECT_TRUE(view->shows(u"Copy the answer to the clipboard"_qs));
    EXPECT_EQ(view->spoken().size(), before);
}

} // namespace lumivane::test
