#include "domain/ContrastRatio.h"
#include "domain/Vocabulary.h"
#include "ui/identity/LumivaneTheme.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <vector>

namespace lumivane {

namespace {

using namespace LumivaneTheme;

/// What a pair has to reach.
constexpr double text = 4.5;
constexpr double graphic = 3.0;
/// For lines that only part what is told apart without them.
constexpr double hairline = 1.2;

/// One colour on all the colours that it is seen against.
struct Pairs {
    ThemeColor foreground;
    std::vector<ThemeColor> backgrounds;
    double minimum;
    const char* reason;
};

const std::vector<ThemeColor> everySurface{
    surfaceWindow,  surfaceTitlebar,     surfaceCard,        surfaceInset,
    surfaceControl, surfaceControlHover, surfaceSegmentIdle, surfaceActivationCellIdle};

const std::vector<Pairs> pairsUsedTogether{
    {textPrimary, everySurface, text, "titles, values and labels stand everywhere"},
    {textSecondary, everySurface, text, "notes, help and idle options stand everywhere"},
    {textTertiary, everySurface, text, "eyebrows, footnotes, placeholders, disabled captions"},
    {textPrimary, {selectFill}, text, "title of the chosen row or tile"},
    {textSecondary, {selectFill}, text, "summary of the chosen row or tile"},
    {textTertiary, {selectFill}, text, "badge in the chosen row"},
    {textPrimary, {accentStatusBackground}, text, "device name beside its badge in one tint"},
    {textPrimary, {warningBackground}, text, "words of a call-out"},
    {textSecondary, {warningBackground}, text, "note of a call-out"},
    {textPrimary, {destructiveBackground}, text, "words of a confirmation that deletes"},
    {textSecondary, {destructiveBackground}, text, "note of a confirmation that deletes"},

    {accentOnFill, {accentFill, accentFillHover}, text, "primary button"},
    {accentOnFill, {selectCell}, text, "glyph or label in a chosen cell"},
    {accentOnFill, {avatarStart, avatarEnd}, text, "initials on either end of the gradient"},
    {accentStatusText, {accentStatusBackground}, text, "pill that reads ready, default, linked"},
    {accentStatusText, everySurface, text, "text buttons and links"},
    {accentStatusText, {selectFill}, text, "badge in the chosen row"},
    {selectValueText, everySurface, text, "value of a slider or row"},
    {selectValueText, {selectFill}, text, "label of the chosen option on its indicator"},

    {warning, {warningBackground}, text, "pill that needs attention, mark of a call-out"},
    {warning, everySurface, text, "contrast note, error line of a pane"},
    {destructiveText, {destructiveBackground}, text, "failure of a field, deletion"},
    {destructiveText, everySurface, text, "destructive text button, error line of a card"},
    {destructiveOnFill, {destructiveFill}, text, "destructive button"},

    {overlayStatusOk, {overlayStatusChip}, text, "chip of a checked answer"},
    {overlayStatusPending, {overlayStatusChip}, text, "chip of an answer not checked"},

    {accentFill, {surfaceWindow, surfaceCard, surfaceInset}, graphic, "a button has a shape"},
    {destructiveFill, {surfaceWindow, surfaceCard, surfaceInset}, graphic, "so has this one"},
    {accentControl, {surfaceWindow, surfaceCard, surfaceInset}, graphic, "switch that is on"},
    {accentControl, {surfaceSliderTrack}, 2.4, "filled part against the rest; the knob ends it"},
    {accentKnob, {accentControl}, graphic, "knob of a switch that is on, or of a slider"},
    {accentKnob, {surfaceControlBorder}, graphic, "knob of a switch that is off"},
    {surfaceControlBorder,
     {surfaceWindow, surfaceCard, surfaceInset, surfaceControl},
     graphic,
     "a field is found by its edge"},
    {selectLine, everySurface, graphic, "ring of focus and of choice"},
    {selectLine, {selectFill}, graphic, "ring round a chosen tile"},
    {selectCell,
     {surfaceCard, surfaceInset, surfaceActivationCellIdle},
     graphic,
     "which cell of a grid is chosen"},
    {selectIdleRing,
     {surfaceWindow, surfaceCard, surfaceInset},
     graphic,
     "ring of an option that is not chosen"},
    {accentDot, {accentStatusBackground}, graphic, "dot of a pill"},
    {accentDot, {surfaceWindow, surfaceTitlebar, surfaceCard}, graphic, "dot without a pill"},
    {markStem, {surfaceWindow, surfaceTitlebar, surfaceCard}, graphic, "ring of the mark"},
    {markPupil, {surfaceWindow, surfaceTitlebar, surfaceCard}, graphic, "pupil of the mark"},

    {surfaceCardBorder, {surfaceCard, surfaceWindow}, hairline, "card on window, rows of a card"},
    {surfaceInsetBorder, {surfaceCard, surfaceInset}, hairline, "well in a card"},
    {surfaceSliderTrack, {surfaceCard, surfaceInset}, hairline, "the rest of a slider's way"},
    {accentStatusBorder, {accentStatusBackground, surfaceCard}, hairline, "edge of a pill"},
    {warningBorder, {warningBackground, surfaceCard}, hairline, "edge of a call-out"},
    {destructiveBorder, {destructiveBackground, surfaceCard}, hairline, "edge of a confirmation"},
    {previewDesktopStart, {surfaceCard, surfaceInset}, hairline, "the small desktop has a shape"},
    {previewDesktopEnd, {surfaceCard, surfaceInset}, hairline, "at both of its ends"},
};

/// Colours that are laid over others and never judged by themselves.
const std::set<std::string_view> veils{"SurfaceCardShadow", "OverlayCodeBackground"};

double contrast(const SrgbColor& color, const SrgbColor& other) {
    return ContrastRatio::ratio(ContrastRatio::luminance(color), ContrastRatio::luminance(other));
}

/// `veil` over an opaque ground.
SrgbColor laidOver(const SrgbColor& ground, const SrgbColor& veil) {
    const auto mix = [&](double below, double above) {
        return above * veil.opacity + below * (1 - veil.opacity);
    };
    return {mix(ground.red, veil.red), mix(ground.green, veil.green), mix(ground.blue, veil.blue),
            1};
}

} // namespace

TEST(PaletteContrast, EachPairReachesItsMinimumInBothAppearances) {
    for (const Pairs& pairs : pairsUsedTogether) {
        for (const ThemeColor& background : pairs.backgrounds) {
            EXPECT_GE(contrast(pairs.foreground.light, background.light), pairs.minimum)
                << pairs.foreground.assetName << " on " << background.assetName
                << ", light: " << pairs.reason;
            EXPECT_GE(contrast(pairs.foreground.dark, background.dark), pairs.minimum)
                << pairs.foreground.assetName << " on " << background.assetName
                << ", dark: " << pairs.reason;
        }
    }
}

TEST(PaletteContrast, EveryColourButTheVeilsIsInSomePair) {
    std::set<std::string_view> judged = veils;
    for (const Pairs& pairs : pairsUsedTogether) {
        judged.insert(pairs.foreground.assetName);
        for (const ThemeColor& background : pairs.backgrounds) {
            judged.insert(background.assetName);
        }
    }
    for (const std::string_view name : requiredAssetNames) {
        EXPECT_EQ(judged.count(name), 1U) << name;
    }
}

TEST(PaletteContrast, CodeStaysReadableInEachPanelWhoseTextIs) {
    for (const OverlayBackgroundStyle style : allCases<OverlayBackgroundStyle>()) {
        for (const OverlayTextColor textColor : allCases<OverlayTextColor>()) {
            const auto panel = fill(style);
            if (!panel || contrast(color(textColor), *panel) < text) {
                continue;
            }
            for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
                const SrgbColor ground =
                    laidOver(*panel, overlayCodeBackground.resolved(appearance));
                EXPECT_GE(contrast(color(textColor), ground), text)
                    << label(textColor).data() << " on " << label(style).data();
                EXPECT_GE(contrast(ground, *panel), 1.03) << label(style).data();
            }
        }
    }
}

TEST(PaletteContrast, TextIsGradedFromPrimaryToTertiary) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const SrgbColor card = surfaceCard.resolved(appearance);
        const double primary = contrast(textPrimary.resolved(appearance), card);
        const double secondary = contrast(textSecondary.resolved(appearance), card);
        const double tertiary = contrast(textTertiary.resolved(appearance), card);
        EXPECT_GE(primary, 12);
        EXPECT_GT(primary, secondary + 2);
        EXPECT_GT(secondary, tertiary + 1);
    }
}

TEST(PaletteContrast, SurfacesThatMeetCanBeToldApart) {
    for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
        const auto apart = [&](const ThemeColor& color, const ThemeColor& other) {
            return contrast(color.resolved(appearance), other.resolved(appearance));
        };
        EXPECT_GE(apart(surfaceCard, surfaceWindow), 1.06);
        EXPECT_GE(apart(surfaceTitlebar, surfaceWindow), 1.04);
        EXPECT_GE(apart(surfaceInset, surfaceCard), 1.08);
        EXPECT_GE(apart(surfaceControlHover, surfaceControl), 1.08);
        EXPECT_GE(apart(surfaceActivationCellIdle, surfaceCard), 1.2);
        EXPECT_GE(apart(selectFill, surfaceSegmentIdle), 1.06);
        EXPECT_GE(apart(selectFill, surfaceCard), 1.15);
        EXPECT_GE(apart(accentFillHover, accentFill), 1.15);
    }
}

} // namespace lumivane
