// Where panels stand, to the pixel, on monitors at odd places and with scales of their own.

#include "integration/OverlayRoad.h"
#include "support/EventLoop.h"

#include <gmock/gmock.h>

namespace lumivane::test {

namespace {

// Before the application object is made, which reads it once.
[[maybe_unused]] const bool isScaled =
    qputenv("QT_SCREEN_SCALE_FACTORS", "Left=1;Right=1;Middle=1.5;Fine=2");

} // namespace

class OverlayPlacesTest : public OverlayRoadTest {
protected:
    /// The display of a monitor beside the one at the left.
    void divide(const QString& name, const QRect& area) {
        desktop.addMonitor(u"Left"_qs, QRect(0, 0, area.x(), 700));
        desktop.addMonitor(name, area);
        EXPECT_TRUE(waitUntil([this] { return displays.displays().size() == 2; }));
        for (const DisplayInfo& each : displays.displays()) {
            if (!each.isPrimary) {
                display = each.displayID;
            }
        }
    }

    QRect placeOfText(OverlayPosition position) {
        settings.overlayPosition = position;
        return placeOfResult(ResultKind::text);
    }

    QRect placeOfResult(ResultKind kind) {
        overlays.showResult(u"the answer"_qs, kind, std::nullopt, std::nullopt, display, settings,
                            false);
        return place();
    }

    QRect place() {
        EXPECT_TRUE(waitForPanels(1));
        return areaOf(panel());
    }

    /// The same once the panel has gone.
    QRect placeAndClear() {
        const QRect area = place();
        overlays.clearAll();
        EXPECT_TRUE(waitForPanels(0));
        return area;
    }

    std::uint32_t display = 0;
};

INSTANTIATE_TEST_SUITE_P(Desktop, OverlayPlacesTest, eachDesktop, nameOfDesktop);

TEST_P(OverlayPlacesTest, AResultStandsAtEachOfTheNinePlacesOfItsDisplay) {
    divide(u"Right"_qs, QRect(560, 100, 720, 700));
    EXPECT_EQ(placeOfText(OverlayPosition::topLeft), QRect(600, 242, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::topCenter), QRect(670, 242, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::topRight), QRect(740, 242, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::middleLeft), QRect(600, 325, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::middleCenter), QRect(670, 325, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::middleRight), QRect(740, 325, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::bottomLeft), QRect(600, 510, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::bottomCenter), QRect(670, 510, 500, 250));
    EXPECT_EQ(placeOfText(OverlayPosition::bottomRight), QRect(740, 510, 500, 250));
}

TEST_P(OverlayPlacesTest, EveryKindOfPanelHasItsOwnSize) {
    divide(u"Right"_qs, QRect(560, 100, 720, 700));
    EXPECT_EQ(placeOfResult(ResultKind::choice), QRect(880, 550, 360, 210));
    EXPECT_EQ(placeOfResult(ResultKind::answers), QRect(740, 480, 500, 280));
    EXPECT_EQ(placeOfResult(ResultKind::leetCode), QRect(600, 160, 640, 600));
    overlays.clearResult();
    overlays.showError(u"the failure"_qs, display, settings);
    EXPECT_EQ(placeAndClear(), QRect(680, 520, 560, 240));
    overlays.showWorking(display, settings);
    EXPECT_EQ(placeAndClear(), QRect(840, 648, 400, 112));
    overlays.showNotesStatus(u"the reason"_qs, display, settings);
    EXPECT_EQ(placeAndClear(), QRect(610, 242, 620, 132));
    overlays.showAuthenticationRequired(display, settings, [] {});
    EXPECT_EQ(placeAndClear(), QRect(810, 570, 430, 190));
    overlays.showDeviceEvicted(display, DeviceEvictedOrigin::beforeCapture, settings, [] {});
    EXPECT_EQ(placeAndClear(), QRect(810, 555, 430, 205));
}

TEST_P(OverlayPlacesTest, ALeetCodeAnswerAtTheTopIsHeldInsideItsDisplay) {
    divide(u"Right"_qs, QRect(560, 100, 720, 700));
    settings.overlayPosition = OverlayPosition::topRight;
    EXPECT_EQ(placeOfResult(ResultKind::leetCode), QRect(600, 200, 640, 600));
}

TEST_P(OverlayPlacesTest, AnErrorWithoutADisplayStandsOnTheMainOne) {
    divide(u"Right"_qs, QRect(600, 100, 680, 700));
    overlays.showError(u"the failure"_qs, std::nullopt, settings);
    EXPECT_EQ(place(), QRect(0, 420, 560, 240));
}

TEST_P(OverlayPlacesTest, APanelStaysWhereItIsWhenItsDisplayGoes) {
    divide(u"Right"_qs, QRect(560, 100, 720, 700));
    const QRect before = placeOfText(OverlayPosition::middleCenter);
    desktop.removeMonitor(u"Right"_qs);
    drainEvents();
    EXPECT_EQ(place(), before);
    desktop.click(before.center());
    EXPECT_TRUE(waitForPanels(0)) << "and it can still be closed";
}

TEST_P(OverlayPlacesTest, ADisplayThatHasGoneLeavesTheResultThatIsUp) {
    divide(u"Right"_qs, QRect(560, 100, 720, 700));
    const QRect before = placeOfText(OverlayPosition::middleCenter);
    desktop.removeMonitor(u"Right"_qs);
    overlays.showResult(u"another"_qs, ResultKind::choice, std::nullopt, std::nullopt, display,
                        settings, false);
    drainEvents();
    EXPECT_EQ(place(), before);
}

TEST_P(OverlayPlacesTest, AtAScaleOfOneAndAHalfAPanelIsThatMuchLarger) {
    divide(u"Middle"_qs, QRect(200, 50, 1080, 750));
    EXPECT_EQ(placeOfText(OverlayPosition::bottomRight), QRect(470, 365, 750, 375));
    EXPECT_EQ(placeOfText(OverlayPosition::topLeft), QRect(260, 263, 750, 375));
    EXPECT_EQ(placeOfResult(ResultKind::leetCode), QRect(260, 200, 960, 600));
    overlays.clearResult();
    settings.overlayPosition = OverlayPosition::bottomRight;
    overlays.showWorking(display, settings);
    EXPECT_EQ(placeAndClear(), QRect(620, 572, 600, 168));
}

TEST_P(OverlayPlacesTest, AtAScaleOfTwoAPanelIsTwiceAsLarge) {
    divide(u"Fine"_qs, QRect(200, 50, 1080, 750));
    EXPECT_EQ(placeOfText(OverlayPosition::bottomLeft), QRect(280, 220, 1000, 500));
    EXPECT_EQ(placeOfResult(ResultKind::leetCode), QRect(280, 170, 920, 550));
    overlays.clearResult();
    settings.overlayPosition = OverlayPosition::bottomRight;
    overlays.showWorking(display, settings);
    EXPECT_EQ(placeAndClear(), QRect(400, 496, 800, 224));
}

TEST_P(OverlayPlacesTest, WhatIsPressedOnALargerPanelLiesWhereItIsSeen) {
    divide(u"Middle"_qs, QRect(200, 50, 1080, 750));
    placeOfText(OverlayPosition::bottomRight);
    click(u"resultCopy"_qs);
    EXPECT_TRUE(
        waitUntil([] { return find(u"resultCopy"_qs)->property("label") == u"Copied"_qs; }));
    hover();
    clock.advance(std::chrono::minutes(1));
    EXPECT_EQ(remaining(), u"6s"_qs);
    leave();
    desktop.click(areaOf(panel()).center());
    EXPECT_TRUE(waitForPanels(0));
}

} // namespace lumivane::test
