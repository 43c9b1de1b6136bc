#include "overlay_views/ShownView.h"
#include "overlays/WorkingOverlayModel.h"

#include <gmock/gmock.h>

namespace lumivane {

namespace {

class WorkingOverlayView : public testing::Test {
protected:
    test::ShownView& show(const AppSettings& settings = {}) {
        m_shown.emplace(OverlayViews::working(),
                        std::make_shared<WorkingOverlayModel>(settings, m_state), QSize(400, 112));
        return *m_shown;
    }

    std::shared_ptr<WorkingOverlayState> m_state = std::make_shared<WorkingOverlayState>();
    std::optional<test::ShownView> m_shown;
};

} // namespace

TEST_F(WorkingOverlayView, ShowsItsWordsAndFollowsTheState) {
    test::ShownView& view = show();
    EXPECT_TRUE(view.shows(u"LUMIVANE IS ANALYZING"_qs));
    EXPECT_TRUE(view.shows(u"Processing…"_qs));
    EXPECT_DOUBLE_EQ(view.item(u"workingStatus"_qs)->opacity(), 0.75);
    m_state->setSlow(true);
    EXPECT_TRUE(view.shows(u"Still thinking — this one is taking a while."_qs));
    EXPECT_DOUBLE_EQ(view.item(u"workingStatus"_qs)->opacity(), 1);
}

TEST_F(WorkingOverlayView, KeepsHalfPointsOfItsSize) {
    EXPECT_DOUBLE_EQ(show().item(u"workingStatus"_qs)->property("size").toDouble(), 12.5);
}

TEST_F(WorkingOverlayView, ShrinksWordsThatAreTooWideButNotBeyondTheirLimit) {
    AppSettings settings;
    settings.overlayTextSize = OverlayTextSize::large;
    m_state->setSlow(true);
    test::ShownView& view = show(settings);
    const QQuickItem* status = view.item(u"workingStatus"_qs);
    EXPECT_DOUBLE_EQ(status->property("fullSize").toDouble(), 15);
    const double size = status->property("size").toDouble();
    EXPECT_GE(size, 15 * 0.85);
    const double widthAtFullSize = status->property("implicitWidth").toDouble();
    EXPECT_EQ(size<15, widthAtFullSize> status->width()) << "it shrinks only where it has to";
    EXPECT_FALSE(status->property("truncated").toBool());
    view.root()->setWidth(200);
    view.settle();
    EXPECT_DOUBLE_EQ(status->property("size").toDouble(), 15 * 0.85);
    EXPECT_TRUE(status->property("truncated").toBool());
}

TEST_F(WorkingOverlayView, IsOneElementWithItsStatusAsValue) {
    test::ShownView& view = show();
    const auto spoken = view.spoken();
    ASSERT_EQ(spoken.size(), 1U);
    EXPECT_EQ(spoken[0].name, u"Lumivane is analyzing"_qs);
    EXPECT_EQ(spoken[0].role, QAccessible::Pane);
    QAccessibleInterface* element = view.spokenElement(u"Lumivane is analyzing"_qs);
    ASSERT_NE(element->textInterface(), nullptr);
    EXPECT_EQ(element->textInterface()->text(0, element->textInterface()->characterCount()),
              u"Processing…"_qs);
    m_state->setSlow(true);
    EXPECT_EQ(element->textInterface()->text(0, element->textInterface()->characterCount()),
              u"Still thinking — this one is taking a while."_qs);
}

TEST_F(WorkingOverlayView, TurnsSeeThroughOnlyAsFarAsTheUserAllows) {
    test::ShownView& view = show();
    const auto opacity = [&] { return view.picture().pixelColor(200, 5).alpha(); };
    EXPECT_EQ(opacity(), 230); // 90 %
    view.needs().setReduceTransparency(true);
    EXPECT_EQ(opacity(), 255);
}

TEST_F(WorkingOverlayView, HasRoundedCornersAndStaysInsideThem) {
    const QImage picture = show().picture();
    EXPECT_EQ(picture.size(), QSize(400, 112));
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(399, 111).alpha(), 0);
    EXPECT_EQ(picture.pixelColor(13, 0).alpha(), 230);
}

TEST_F(WorkingOverlayView, CalmsItsSpinnerUnderReduceMotion) {
    test::ShownView& view = show();
    QObject* timer = view.root()->findChild<QObject*>(u"spinnerClock"_qs);
    ASSERT_NE(timer, nullptr);
    EXPECT_TRUE(timer->property("running").toBool());
    const int quick = timer->property("interval").toInt();
    EXPECT_GE(quick, 80); // a dozen repaints a second, whatever the screen could do
    view.needs().setReduceMotion(true);
    EXPECT_GE(timer->property("interval").toInt(), 4 * quick);
}

} // namespace lumivane
