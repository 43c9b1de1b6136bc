#include "overlays/OverlayPlacement.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace lumivane {

namespace {

constexpr Rect frame{0, 0, 1440, 875};
const OverlayScreen screen{7, frame};

AppSettings at(OverlayPosition position) {
    AppSettings settings;
    settings.overlayPosition = position;
    return settings;
}

AppSettings on(OverlayBackgroundStyle background) {
    AppSettings settings = at(OverlayPosition::bottomRight);
    settings.overlayBackground = background;
    return settings;
}

} // namespace

TEST(OverlayPlacement, NinePlacesOfAPlainFrame) {
    const OverlaySize size{500, 250};
    const std::array<std::pair<OverlayPosition, Point>, 9> expected{{
        {OverlayPosition::topLeft, {40, 483}},
        {OverlayPosition::topCenter, {470, 483}},
        {OverlayPosition::topRight, {900, 483}},
        {OverlayPosition::middleLeft, {40, 312.5}},
        {OverlayPosition::middleCenter, {470, 312.5}},
        {OverlayPosition::middleRight, {900, 312.5}},
        {OverlayPosition::bottomLeft, {40, 40}},
        {OverlayPosition::bottomCenter, {470, 40}},
        {OverlayPosition::bottomRight, {900, 40}},
    }};
    for (const auto& [position, origin] : expected) {
        EXPECT_EQ(OverlayPlacement::origin(size, position, frame), origin)
            << rawValue(position).data();
    }
}

TEST(OverlayPlacement, FramesWithNegativeOriginsKeepTheirMargins) {
    const Rect left{-1920, -200, 1920, 1040};
    EXPECT_EQ(OverlayPlacement::origin({500, 250}, OverlayPosition::bottomLeft, left),
              (Point{-1880, -160}));
    EXPECT_EQ(OverlayPlacement::origin({500, 250}, OverlayPosition::topRight, left),
              (Point{-540, 448}));
    EXPECT_EQ(OverlayPlacement::origin({500, 250}, OverlayPosition::middleCenter, left),
              (Point{-1210, 195}));
}

TEST(OverlayPlacement, APanelThatFitsWithoutItsMarginsIsHeldInTheFrame) {
    const Rect narrow{100, 50, 520, 300};
    EXPECT_EQ(OverlayPlacement::origin({500, 250}, OverlayPosition::topLeft, narrow),
              (Point{120, 50}))
        << "the left margin of 40 does not fit, the top one neither";
    EXPECT_EQ(OverlayPlacement::origin({500, 250}, OverlayPosition::bottomRight, narrow),
              (Point{100, 90}));
}

TEST(OverlayPlacement, APanelLargerThanTheFrameKeepsToItsUpperBounds) {
    const Rect small{10, 20, 300, 200};
    for (const OverlayPosition position : allCases<OverlayPosition>()) {
        EXPECT_EQ(OverlayPlacement::origin({500, 250}, position, small), (Point{-190, -30}))
            << rawValue(position).data();
    }
}

TEST(OverlayPlacement, LeetCodeFollowsTheDisplayWithinItsBounds) {
    EXPECT_EQ(OverlayPlacement::leetCodeSize({0, 0, 1000, 700}), (OverlaySize{920, 600}));
    EXPECT_EQ(OverlayPlacement::leetCodeSize({0, 0, 1180, 900}), (OverlaySize{1100, 800}));
    EXPECT_EQ(OverlayPlacement::leetCodeSize({0, 0, 3840, 2160}), (OverlaySize{1100, 800}));
    EXPECT_EQ(OverlayPlacement::leetCodeSize({0, 0, 50, 60}), (OverlaySize{1, 1}));
    EXPECT_EQ(OverlayPlacement::leetCodeSize({0, 0, 81, 101}), (OverlaySize{1, 1}));
    EXPECT_EQ(OverlayPlacement::leetCodeSize({0, 0, 82, 102}), (OverlaySize{2, 2}));
}

TEST(OverlayPlacement, TheNotesPanelIsAsWideAsTheDisplayAllows) {
    EXPECT_EQ(OverlayPlacement::notesStatusSize(frame), (OverlaySize{620, 132}));
    EXPECT_EQ(OverlayPlacement::notesStatusSize({0, 0, 700, 500}), (OverlaySize{620, 132}));
    EXPECT_EQ(OverlayPlacement::notesStatusSize({0, 0, 600, 500}), (OverlaySize{520, 132}));
    EXPECT_EQ(OverlayPlacement::notesStatusSize({0, 0, 50, 500}), (OverlaySize{1, 132}));
}

TEST(OverlayPlacement, ResultsAreSizedByKind) {
    EXPECT_EQ(OverlayPlacement::resultSize(ResultKind::choice, frame), (OverlaySize{360, 210}));
    EXPECT_EQ(OverlayPlacement::resultSize(ResultKind::answers, frame), (OverlaySize{500, 280}));
    EXPECT_EQ(OverlayPlacement::resultSize(ResultKind::text, frame), (OverlaySize{500, 250}));
    EXPECT_EQ(OverlayPlacement::resultSize(ResultKind::leetCode, frame), (OverlaySize{1100, 775}));
}

TEST(OverlayPlacement, TheWorkingPanelLetsClicksThrough) {
    EXPECT_EQ(OverlayPlacement::working(screen, at(OverlayPosition::bottomRight)),
              (PanelRequest{7, {1000, 40, 400, 112}, 13, false, false, true}));
}

TEST(OverlayPlacement, AResultTakesClicksAndNoKeys) {
    EXPECT_EQ(OverlayPlacement::result(ResultKind::text, screen, at(OverlayPosition::topLeft)),
              (PanelRequest{7, {40, 483, 500, 250}, 11, true, false, true}));
    EXPECT_EQ(
        OverlayPlacement::result(ResultKind::leetCode, screen, at(OverlayPosition::middleCenter)),
        (PanelRequest{7, {170, 50, 1100, 775}, 11, true, false, true}));
}

TEST(OverlayPlacement, AnErrorTakesClicksAndNoKeys) {
    EXPECT_EQ(OverlayPlacement::error(screen, at(OverlayPosition::bottomLeft)),
              (PanelRequest{7, {40, 40, 560, 240}, 11, true, false, true}));
}

TEST(OverlayPlacement, TheNotesPanelIsAlwaysAtTheTopCentre) {
    EXPECT_EQ(OverlayPlacement::notesStatus(screen),
              (PanelRequest{7, {410, 601, 620, 132}, 13, true, false, true}));
}

TEST(OverlayPlacement, TheAccountPanelsTakeTheKeyboard) {
    const AppSettings settings = at(OverlayPosition::middleRight);
    EXPECT_EQ(OverlayPlacement::authenticationRequired(screen, settings),
              (PanelRequest{7, {970, 342.5, 430, 190}, 14, true, true, true}));
    EXPECT_EQ(OverlayPlacement::deviceEvicted(screen, settings),
              (PanelRequest{7, {970, 335, 430, 205}, 14, true, true, true}));
}

TEST(OverlayPlacement, OnlyAResultAndTheWorkingPanelLoseTheirShadowWithTheirBackground) {
    for (const OverlayBackgroundStyle style : allCases<OverlayBackgroundStyle>()) {
        const AppSettings settings = on(style);
        const bool hasChrome = style != OverlayBackgroundStyle::none;
        EXPECT_EQ(OverlayPlacement::working(screen, settings).hasShadow, hasChrome);
        for (const ResultKind kind : allCases<ResultKind>()) {
            EXPECT_EQ(OverlayPlacement::result(kind, screen, settings).hasShadow, hasChrome);
        }
        EXPECT_TRUE(OverlayPlacement::error(screen, settings).hasShadow);
        EXPECT_TRUE(OverlayPlacement::authenticationRequired(screen, settings).hasShadow);
        EXPECT_TRUE(OverlayPlacement::deviceEvicted(screen, settings).hasShadow);
    }
}

} // namespace lumivane
