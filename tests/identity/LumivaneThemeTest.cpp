#include "ui/identity/LumivaneTheme.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <string>
#include <vector>

namespace lumivane {

namespace {

struct NamedToken {
    std::string_view token;
    ThemeColor color;
};

#define TOKEN(name)                                                                                \
    NamedToken { #name, LumivaneTheme::name }

const std::vector<NamedToken> allTokens{TOKEN(surfaceWindow),
                                        TOKEN(surfaceTitlebar),
                                        TOKEN(surfaceCard),
                                        TOKEN(surfaceCardBorder),
                                        TOKEN(surfaceCardShadow),
                                        TOKEN(surfaceInset),
                                        TOKEN(surfaceInsetBorder),
                                        TOKEN(surfaceControl),
                                        TOKEN(surfaceControlBorder),
                                        TOKEN(surfaceControlHover),
                                        TOKEN(surfaceSegmentIdle),
                                        TOKEN(surfaceActivationCellIdle),
                                        TOKEN(surfaceSliderTrack),
                                        TOKEN(accentFill),
                                        TOKEN(accentFillHover),
                                        TOKEN(accentOnFill),
                                        TOKEN(accentControl),
                                        TOKEN(accentKnob),
                                        TOKEN(accentStatusText),
                                        TOKEN(accentStatusBackground),
                                        TOKEN(accentStatusBorder),
                                        TOKEN(accentDot),
                                        TOKEN(selectLine),
                                        TOKEN(selectFill),
                                        TOKEN(selectCell),
                                        TOKEN(selectValueText),
                                        TOKEN(selectIdleRing),
                                        TOKEN(textPrimary),
                                        TOKEN(textSecondary),
                                        TOKEN(textTertiary),
                                        TOKEN(warning),
                                        TOKEN(warningBackground),
                                        TOKEN(warningBorder),
                                        TOKEN(destructiveText),
                                        TOKEN(destructiveBackground),
                                        TOKEN(destructiveBorder),
                                        TOKEN(destructiveFill),
                                        TOKEN(destructiveOnFill),
                                        TOKEN(overlayStatusOk),
                                        TOKEN(overlayStatusPending),
                                        TOKEN(overlayStatusChip),
                                        TOKEN(overlayCodeBackground),
                                        TOKEN(previewDesktopStart),
                                        TOKEN(previewDesktopEnd),
                                        TOKEN(avatarStart),
                                        TOKEN(avatarEnd),
                                        TOKEN(markStem),
                                        TOKEN(markPupil)};

#undef TOKEN

const std::vector<std::string_view> groupOrder{"Surface", "Accent",      "Select",  "Text",
                                               "Warning", "Destructive", "Preview", "Avatar",
                                               "Mark",    "Overlay"};

/// The place of the group that a name belongs to.
std::size_t groupOf(std::string_view name) {
    for (std::size_t index = 0; index < groupOrder.size(); ++index) {
        if (name.substr(0, groupOrder[index].size()) == groupOrder[index]) {
            return index;
        }
    }
    return groupOrder.size();
}

} // namespace

TEST(LumivaneTheme, EachTokenIsNamedLikeItsAsset) {
    for (const NamedToken& token : allTokens) {
        std::string expected(token.color.assetName);
        expected[0] = static_cast<char>(std::tolower(expected[0]));
        EXPECT_EQ(token.token, expected);
    }
}

TEST(LumivaneTheme, RequiredAssetNamesHoldOneNamePerToken) {
    const std::set<std::string_view> names(LumivaneTheme::requiredAssetNames.begin(),
                                           LumivaneTheme::requiredAssetNames.end());
    EXPECT_EQ(names.size(), LumivaneTheme::requiredAssetNames.size());
    EXPECT_EQ(names.size(), allTokens.size());
    for (const NamedToken& token : allTokens) {
        EXPECT_EQ(names.count(token.color.assetName), 1U) << token.token;
    }
}

TEST(LumivaneTheme, RequiredAssetNamesStandGroupByGroupAndInTheirOrderWithin) {
    std::vector<std::string_view> expected;
    for (const NamedToken& token : allTokens) {
        ASSERT_LT(groupOf(token.color.assetName), groupOrder.size()) << token.token;
        expected.push_back(token.color.assetName);
    }
    std::stable_sort(
        expected.begin(), expected.end(),
        [](std::string_view one, std::string_view other) { return groupOf(one) < groupOf(other); });
    const std::vector<std::string_view> names(LumivaneTheme::requiredAssetNames.begin(),
                                              LumivaneTheme::requiredAssetNames.end());
    EXPECT_EQ(names, expected);
    EXPECT_EQ(names.front(), "SurfaceWindow");
    EXPECT_EQ(names.back(), "OverlayCodeBackground");
}

TEST(LumivaneTheme, EachColourResolvesToItsTwoValues) {
    for (const ThemeColor& color : LumivaneTheme::allColors) {
        EXPECT_EQ(color.resolved(Appearance::light), color.light) << color.assetName;
        EXPECT_EQ(color.resolved(Appearance::dark), color.dark) << color.assetName;
        EXPECT_NE(color.light, color.dark) << color.assetName;
    }
    EXPECT_EQ(LumivaneTheme::overlayStatusOk.light, OverlayPalette::color(0x0B6B3A));
    EXPECT_EQ(LumivaneTheme::overlayStatusOk.dark, OverlayPalette::color(0x7CE3A8));
}

TEST(LumivaneTheme, OnlyShadowAndVeilLetAnythingThrough) {
    std::set<std::string_view> translucent;
    for (const ThemeColor& color : LumivaneTheme::allColors) {
        if (color.light.opacity < 1 || color.dark.opacity < 1) {
            translucent.insert(color.assetName);
        }
    }
    EXPECT_EQ(translucent,
              (std::set<std::string_view>{"SurfaceCardShadow", "OverlayCodeBackground"}));
}

} // namespace lumivane
