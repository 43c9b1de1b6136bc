#include "overlay_views/ResultViewFixture.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

using test::ResultView;

ResultOverlayContent counting(double seconds) {
    ResultOverlayContent content = test::contentOf(u"B"_qs, ResultKind::choice);
    content.countdownSeconds = seconds;
    return content;
}

constexpr QSize choiceSize(360, 210);

} // namespace

TEST(CountdownBarView, TellsThePanelWhereItLiesAndOnWhat) {
    ResultView view(counting(6), choiceSize);
    std::optional<StripGlide> glide;
    view.model().countdown()->setGlider([&](const auto& wanted) { glide = wanted; });
    ASSERT_TRUE(glide);
    EXPECT_EQ(glide->strip, (Rect{18, 157, 324, 2}));
    EXPECT_NEAR(glide->track.opacity, 0.9 + 0.1 * 0.18, 0.002); // over the surface
    view->root()->setSize({400, 300});
    view->settle();
    EXPECT_EQ(glide->strip, (Rect{18, 247, 364, 2}));
}

TEST(CountdownBarView, FollowsASurfaceThatTurnsOpaque) {
    ResultView view(counting(6), choiceSize);
    std::optional<StripGlide> glide;
    view.model().countdown()->setGlider([&](const auto& wanted) { glide = wanted; });
    view->needs().setReduceTransparency(true);
    ASSERT_TRUE(glide);
    EXPECT_DOUBLE_EQ(glide->track.opacity, 1);
}

TEST(CountdownBarView, ShrinksFromItsLeadingEdgeWithEachSecond) {
    ResultView view(counting(6), choiceSize);
    const QQuickItem* fill = view->item(u"countdownFill"_qs);
    EXPECT_DOUBLE_EQ(fill->width(), 324);
    view.state().tick(3, false);
    EXPECT_DOUBLE_EQ(fill->width(), 162);
    EXPECT_DOUBLE_EQ(fill->x(), 0);
    EXPECT_DOUBLE_EQ(fill->height(), 2);
    view.state().tick(0, false);
    EXPECT_DOUBLE_EQ(fill->width(), 0);
}

TEST(CountdownBarView, StepsAndDoesNotGlideUnderReduceMotion) {
    ResultView view(counting(6), choiceSize);
    std::optional<StripGlide> glide;
    view.model().countdown()->setGlider([&](const auto& wanted) { glide = wanted; });
    view->needs().setReduceMotion(true);
    EXPECT_TRUE(view.model().countdown()->reduceMotion());
    EXPECT_FALSE(glide);
    view.state().tick(2.5, false);
    EXPECT_DOUBLE_EQ(view->item(u"countdownFill"_qs)->width(), 162);
    view->needs().setReduceMotion(false);
    EXPECT_TRUE(glide);
}

TEST(CountdownBarView, StaysEmptyWithoutTime) {
    ResultView view(counting(0), choiceSize);
    EXPECT_DOUBLE_EQ(view->item(u"countdownFill"_qs)->width(), 0);
}

TEST(CountdownBarView, IsHiddenFromAssistiveTechnology) {
    ResultView view(counting(6), choiceSize);
    for (const auto& element : view->spoken()) {
        EXPECT_NE(element.role, QAccessible::ProgressBar);
        EXPECT_FALSE(element.name.isEmpty());
    }
}

} // namespace lumivane
