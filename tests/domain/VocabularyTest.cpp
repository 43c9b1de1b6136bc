#include "domain/Vocabulary.h"

#include "domain/AnalysisState.h"

#include <QString>

#include <gtest/gtest.h>

#include <functional>
#include <unordered_set>
#include <vector>

namespace lumivane {

namespace {

template <typename Case>
struct Row {
    Case value;
    const char* raw;
    const char* label = "";
};

/// Raw texts, their way back, and the order of all cases.
template <typename Case>
void expectRawValues(const std::vector<Row<Case>>& rows) {
    const auto cases = allCases<Case>();
    ASSERT_EQ(cases.size(), rows.size());
    for (std::size_t index = 0; index < rows.size(); ++index) {
        const Row<Case>& row = rows[index];
        EXPECT_EQ(cases[index], row.value) << row.raw;
        EXPECT_EQ(rawValue(row.value), QLatin1String(row.raw));
        EXPECT_EQ(fromRawValue<Case>(QString(QLatin1String(row.raw))), row.value);
        EXPECT_EQ(fromRawValue<Case>(QString(QLatin1String(row.raw)) + u' '), std::nullopt);
    }
    EXPECT_EQ(fromRawValue<Case>(u""), std::nullopt);
    EXPECT_EQ(fromRawValue<Case>(u"something else"), std::nullopt);
}

template <typename Case>
void expectRawValuesAndLabels(const std::vector<Row<Case>>& rows) {
    expectRawValues(rows);
    for (const Row<Case>& row : rows) {
        EXPECT_EQ(label(row.value), QLatin1String(row.label));
    }
}

} // namespace

TEST(Vocabulary, Preset) {
    expectRawValuesAndLabels<Preset>({{Preset::mcq, "mcq", "Multiple Choice"},
                                      {Preset::summary, "summary", "Screen Summary"},
                                      {Preset::custom, "custom", "Custom Prompt"},
                                      {Preset::leetCode, "leetcode", "LeetCode"}});
    EXPECT_EQ(resultKind(Preset::mcq), ResultKind::choice);
    EXPECT_EQ(resultKind(Preset::summary), ResultKind::text);
    EXPECT_EQ(resultKind(Preset::custom), ResultKind::text);
    EXPECT_EQ(resultKind(Preset::leetCode), ResultKind::leetCode);
}

TEST(Vocabulary, NoPresetMapsToAnswers) {
    for (const Preset preset : allCases<Preset>()) {
        EXPECT_NE(resultKind(preset), ResultKind::answers);
    }
}

TEST(Vocabulary, ResultKindHasNoLabel) {
    expectRawValues<ResultKind>({{ResultKind::choice, "choice"},
                                 {ResultKind::answers, "answers"},
                                 {ResultKind::text, "text"},
                                 {ResultKind::leetCode, "leetcode"}});
    static_assert(!LabelledSet<ResultKind>);
    static_assert(!LabelledSet<OverlayPosition>);
    static_assert(LabelledSet<Preset>);
}

TEST(Vocabulary, LeetCodeIsAllLowerCaseOnTheWireUnlikeItsCaseName) {
    EXPECT_EQ(fromRawValue<Preset>(u"leetCode"), std::nullopt);
    EXPECT_EQ(fromRawValue<ResultKind>(u"leetCode"), std::nullopt);
    EXPECT_EQ(fromRawValue<Preset>(u"leetcode"), Preset::leetCode);
    EXPECT_EQ(fromRawValue<ResultKind>(u"leetcode"), ResultKind::leetCode);
}

TEST(Vocabulary, LeetCodeAnswerStatus) {
    expectRawValuesAndLabels<LeetCodeAnswerStatus>(
        {{LeetCodeAnswerStatus::memoryValidated, "memory_validated", "Locally checked"},
         {LeetCodeAnswerStatus::liveUnvalidated, "live_unvalidated", "Live / Unvalidated"}});
}

TEST(Vocabulary, AnalysisMode) {
    expectRawValuesAndLabels<AnalysisMode>(
        {{AnalysisMode::hyperPrivate, "hyperPrivate", "Hyper Private"},
         {AnalysisMode::hyperAccurate, "hyperAccurate", "Hyper Accurate"}});
}

TEST(Vocabulary, ActivationMode) {
    expectRawValuesAndLabels<ActivationMode>(
        {{ActivationMode::corner, "corner", "Hot Corner"},
         {ActivationMode::hotkey, "hotkey", "Keyboard Shortcut"}});
}

TEST(Vocabulary, DeliveryMode) {
    expectRawValuesAndLabels<DeliveryMode>(
        {{DeliveryMode::screen, "screen", "Show on screen"},
         {DeliveryMode::clipboard, "clipboard", "Copy to clipboard"},
         {DeliveryMode::both, "both", "Both"}});
    EXPECT_TRUE(showsOnScreen(DeliveryMode::screen));
    EXPECT_FALSE(copiesToClipboard(DeliveryMode::screen));
    EXPECT_FALSE(showsOnScreen(DeliveryMode::clipboard));
    EXPECT_TRUE(copiesToClipboard(DeliveryMode::clipboard));
    EXPECT_TRUE(showsOnScreen(DeliveryMode::both));
    EXPECT_TRUE(copiesToClipboard(DeliveryMode::both));
}

TEST(Vocabulary, OverlayPosition) {
    using enum OverlayPosition;
    expectRawValues<OverlayPosition>({{topLeft, "topLeft"},
                                      {topCenter, "topCenter"},
                                      {topRight, "topRight"},
                                      {middleLeft, "middleLeft"},
                                      {middleCenter, "middleCenter"},
                                      {middleRight, "middleRight"},
                                      {bottomLeft, "bottomLeft"},
                                      {bottomCenter, "bottomCenter"},
                                      {bottomRight, "bottomRight"}});

    const struct {
        OverlayPosition position;
        int horizontal;
        int vertical;
    } rows[] = {{topLeft, 0, 0},    {topCenter, 1, 0},    {topRight, 2, 0},
                {middleLeft, 0, 1}, {middleCenter, 1, 1}, {middleRight, 2, 1},
                {bottomLeft, 0, 2}, {bottomCenter, 1, 2}, {bottomRight, 2, 2}};

    for (const auto& row : rows) {
        EXPECT_EQ(horizontalIndex(row.position), row.horizontal);
        EXPECT_EQ(verticalIndex(row.position), row.vertical);
    }
}

TEST(Vocabulary, OverlayPaletteColorIsOpaqueSrgb) {
    EXPECT_EQ(OverlayPalette::color(0x000000), (SrgbColor{0, 0, 0, 1}));
    EXPECT_EQ(OverlayPalette::color(0xFFFFFF), (SrgbColor{1, 1, 1, 1}));
    EXPECT_EQ(OverlayPalette::color(0x1C2D3E),
              (SrgbColor{0x1C / 255.0, 0x2D / 255.0, 0x3E / 255.0, 1}));
    EXPECT_EQ(OverlayPalette::color(0xFF000001), OverlayPalette::color(0x000001));
}

TEST(Vocabulary, OverlayBackgroundStyle) {
    using enum OverlayBackgroundStyle;
    expectRawValuesAndLabels<OverlayBackgroundStyle>({{graphite, "graphite", "Graphite"},
                                                      {slate, "slate", "Slate"},
                                                      {blue, "blue", "Blue"},
                                                      {light, "light", "Paper"},
                                                      {none, "none", "No background"}});

    const struct {
        OverlayBackgroundStyle style;
        std::uint32_t hex;
    } rows[] = {{graphite, 0x1C1D1F}, {slate, 0x9A9EA3}, {blue, 0x2F6FDB}, {light, 0xF2F2F4}};

    for (const auto& row : rows) {
        EXPECT_EQ(fillHex(row.style), row.hex);
        EXPECT_EQ(fill(row.style), OverlayPalette::color(row.hex));
        EXPECT_TRUE(drawsPanelChrome(row.style));
    }
}

TEST(Vocabulary, NoBackgroundHasNoFillRatherThanATransparentOne) {
    EXPECT_EQ(fillHex(OverlayBackgroundStyle::none), std::nullopt);
    EXPECT_EQ(fill(OverlayBackgroundStyle::none), std::nullopt);
    EXPECT_FALSE(drawsPanelChrome(OverlayBackgroundStyle::none));
}

TEST(Vocabulary, OverlayTextColor) {
    using enum OverlayTextColor;
    expectRawValuesAndLabels<OverlayTextColor>({{white, "white", "White"},
                                                {black, "black", "Black"},
                                                {mint, "mint", "Mint"},
                                                {amber, "amber", "Amber"}});

    const struct {
        OverlayTextColor color;
        std::uint32_t hex;
    } rows[] = {{white, 0xFFFFFF}, {black, 0x111111}, {mint, 0x8FF0C2}, {amber, 0xF5C469}};

    for (const auto& row : rows) {
        EXPECT_EQ(colorHex(row.color), row.hex);
        EXPECT_EQ(color(row.color), OverlayPalette::color(row.hex));
    }
}

TEST(Vocabulary, OverlayTextSize) {
    using enum OverlayTextSize;
    expectRawValuesAndLabels<OverlayTextSize>(
        {{small, "small", "Small"}, {medium, "medium", "Medium"}, {large, "large", "Large"}});
    EXPECT_EQ(pointSize(small), 11.0);
    EXPECT_EQ(answerPointSize(small), 15.0);
    EXPECT_EQ(pointSize(medium), 12.5);
    EXPECT_EQ(answerPointSize(medium), 18.0);
    EXPECT_EQ(pointSize(large), 15.0);
    EXPECT_EQ(answerPointSize(large), 22.0);
}

TEST(Vocabulary, ScreenCorner) {
    using enum ScreenCorner;
    expectRawValuesAndLabels<ScreenCorner>({{topLeft, "topLeft", "Top Left"},
                                            {topRight, "topRight", "Top Right"},
                                            {bottomLeft, "bottomLeft", "Bottom Left"},
                                            {bottomRight, "bottomRight", "Bottom Right"}});
}

TEST(Vocabulary, AnalysisStatesAreFourInTheirOrder) {
    EXPECT_EQ(static_cast<int>(AnalysisState::idle), 0);
    EXPECT_EQ(static_cast<int>(AnalysisState::capturing), 1);
    EXPECT_EQ(static_cast<int>(AnalysisState::analyzing), 2);
    EXPECT_EQ(static_cast<int>(AnalysisState::showingResult), 3);
}

TEST(Vocabulary, CasesAreHashable) {
    std::unordered_set<Preset> presets;
    for (const Preset preset : allCases<Preset>()) {
        presets.insert(preset);
    }
    EXPECT_EQ(presets.size(), 4U);
}

TEST(Vocabulary, RawValuesAreComparedWithRegardToCase) {
    EXPECT_EQ(fromRawValue<ScreenCorner>(u"topleft"), std::nullopt);
    EXPECT_EQ(fromRawValue<AnalysisMode>(u"HyperPrivate"), std::nullopt);
}

/// A display that does not start at the origin: x 100 to 1540, y -50 to 850, edge 6.
class ScreenCornerContainsTest : public testing::Test {
protected:
    static bool holds(ScreenCorner corner, Point point) {
        return contains(corner, point, Rect{100, -50, 1440, 900}, 6);
    }
};

TEST_F(ScreenCornerContainsTest, ExactlyTheSizeFromBothEdgesIsInside) {
    EXPECT_TRUE(holds(ScreenCorner::topLeft, {106, 844}));
    EXPECT_TRUE(holds(ScreenCorner::topRight, {1534, 844}));
    EXPECT_TRUE(holds(ScreenCorner::bottomLeft, {106, -44}));
    EXPECT_TRUE(holds(ScreenCorner::bottomRight, {1534, -44}));
}

TEST_F(ScreenCornerContainsTest, JustBeyondEitherEdgeIsOutside) {
    constexpr double step = 0.001;
    EXPECT_FALSE(holds(ScreenCorner::topLeft, {106 + step, 844}));
    EXPECT_FALSE(holds(ScreenCorner::topLeft, {106, 844 - step}));
    EXPECT_FALSE(holds(ScreenCorner::topRight, {1534 - step, 844}));
    EXPECT_FALSE(holds(ScreenCorner::topRight, {1534, 844 - step}));
    EXPECT_FALSE(holds(ScreenCorner::bottomLeft, {106 + step, -44}));
    EXPECT_FALSE(holds(ScreenCorner::bottomLeft, {106, -44 + step}));
    EXPECT_FALSE(holds(ScreenCorner::bottomRight, {1534 - step, -44}));
    EXPECT_FALSE(holds(ScreenCorner::bottomRight, {1534, -44 + step}));
}

TEST_F(ScreenCornerContainsTest, TheFarSideHasNoBound) {
    EXPECT_TRUE(holds(ScreenCorner::topLeft, {-5000, 5000}));
    EXPECT_TRUE(holds(ScreenCorner::topRight, {5000, 5000}));
    EXPECT_TRUE(holds(ScreenCorner::bottomLeft, {-5000, -5000}));
    EXPECT_TRUE(holds(ScreenCorner::bottomRight, {5000, -5000}));
}

TEST_F(ScreenCornerContainsTest, ACornerHoldsNoOtherCorner) {
    const Point outer[] = {{100, 850}, {1540, 850}, {100, -50}, {1540, -50}};
    const auto corners = allCases<ScreenCorner>();
    for (std::size_t corner = 0; corner < corners.size(); ++corner) {
        for (std::size_t point = 0; point < std::size(outer); ++point) {
            EXPECT_EQ(holds(corners[corner], outer[point]), corner == point);
        }
    }
}

} // namespace lumivane
