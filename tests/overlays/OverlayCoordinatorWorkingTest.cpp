#include "overlays/OverlayCoordinatorFixture.h"
#include "overlays/WorkingOverlayCopy.h"
#include "overlays/WorkingOverlayModel.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class OverlayCoordinatorWorkingTest : public OverlayCoordinatorTest {};

TEST_F(OverlayCoordinatorWorkingTest, ThePanelStandsOnItsDisplayAndSaysNothingAloud) {
    settings.overlayPosition = OverlayPosition::topLeft;
    coordinator->showWorking(sideDisplay, settings);
    ASSERT_EQ(host.opened().size(), 1U);
    EXPECT_EQ(host.opened()[0].request,
              (PanelRequest{sideDisplay, {-1240, 770, 400, 112}, 13, false, false, true}));
    EXPECT_EQ(host.opened()[0].view, OverlayViews::working());
    EXPECT_EQ(host.model<WorkingOverlayModel>()->status(), WorkingOverlayCopy::normal);
    EXPECT_EQ(logged(LogLevel::standard, "Showing working overlay; display=8"), 1);
    EXPECT_TRUE(spoken().isEmpty());
    EXPECT_FALSE(isEscapeHeld());
    EXPECT_EQ(clock.timerCount(), 0U) << "it has no clock";
}

TEST_F(OverlayCoordinatorWorkingTest, ItShowsTheSettingsThatItWasGiven) {
    settings.overlayTextSize = OverlayTextSize::large;
    coordinator->showWorking(mainDisplay, settings);
    settings.overlayTextSize = OverlayTextSize::small;
    EXPECT_EQ(host.model<WorkingOverlayModel>()->statusSize(), pointSize(OverlayTextSize::large));
}

TEST_F(OverlayCoordinatorWorkingTest, AnUnknownDisplayIsLoggedAndShowsNothing) {
    coordinator->showWorking(unknownDisplay, settings);
    EXPECT_TRUE(host.opened().empty());
    EXPECT_EQ(logged(LogLevel::error,
                     "Could not show working overlay because the display is unavailable"),
              1);
    coordinator->markWorkingSlow();
    EXPECT_TRUE(spoken().isEmpty()) << "no state was made";
}

TEST_F(OverlayCoordinatorWorkingTest, AnUnknownDisplayLeavesThePanelThatIsUp) {
    coordinator->showWorking(mainDisplay, settings);
    coordinator->showWorking(unknownDisplay, settings);
    EXPECT_EQ(host.up(), Numbers{0});
}

TEST_F(OverlayCoordinatorWorkingTest, AServerThatDoesNotAnswerHasNoDisplay) {
    displays.failDisplays("gone");
    coordinator->showWorking(mainDisplay, settings);
    EXPECT_EQ(logged(LogLevel::error,
                     "Could not show working overlay because the display is unavailable"),
              1);
}

TEST_F(OverlayCoordinatorWorkingTest, AnotherOneTakesItsPlaceAndStartsQuick) {
    coordinator->showWorking(mainDisplay, settings);
    coordinator->markWorkingSlow();
    journal.clear();
    coordinator->showWorking(sideDisplay, settings);
    EXPECT_EQ(journal.entries(), (QStringList{u"close 0"_qs, u"open 1"_qs}));
    EXPECT_EQ(host.up(), Numbers{1});
    EXPECT_EQ(host.model<WorkingOverlayModel>()->status(), WorkingOverlayCopy::normal);
}

TEST_F(OverlayCoordinatorWorkingTest, ASlowAnswerIsSaidOnce) {
    coordinator->showWorking(mainDisplay, settings);
    coordinator->markWorkingSlow();
    coordinator->markWorkingSlow();
    EXPECT_EQ(host.model<WorkingOverlayModel>()->status(), WorkingOverlayCopy::slow);
    EXPECT_EQ(spoken(), QStringList{WorkingOverlayCopy::slow});
    EXPECT_EQ(logged(LogLevel::standard, "Working overlay switched to the slow-response copy"), 1);
}

TEST_F(OverlayCoordinatorWorkingTest, WithoutAPanelASlowAnswerIsNotSaid) {
    coordinator->markWorkingSlow();
    coordinator->showWorking(mainDisplay, settings);
    coordinator->clearWorking();
    coordinator->markWorkingSlow();
    EXPECT_TRUE(spoken().isEmpty());
    EXPECT_EQ(logged(LogLevel::standard, "Working overlay switched to the slow-response copy"), 0);
}

TEST_F(OverlayCoordinatorWorkingTest, ClearingClosesItAndTwiceIsHarmless) {
    coordinator->showWorking(mainDisplay, settings);
    const std::weak_ptr<QObject> model = host.opened()[0].model;
    coordinator->clearWorking();
    coordinator->clearWorking();
    EXPECT_EQ(host.closed(), Numbers{0});
    EXPECT_TRUE(model.expired()) << "nothing of it stays";
}

TEST_F(OverlayCoordinatorWorkingTest, ADisplayThatGoesLeavesThePanelWhereItIs) {
    coordinator->showWorking(sideDisplay, settings);
    displays.setDisplays({{mainDisplay, {0, 0, 1440, 900}, 2, true}});
    clock.advance(1h);
    EXPECT_EQ(host.up(), Numbers{0});
    EXPECT_EQ(host.opened().size(), 1U);
}

} // namespace lumivane::test
