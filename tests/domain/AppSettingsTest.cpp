#include "domain/AppSettings.h"

#include "domain/SettingsValidationError.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

namespace lumivane {

namespace {

std::optional<SettingsValidationError::Case> failureOf(const AppSettings& settings) {
    try {
        settings.validated();
    } catch (const SettingsValidationError& error) {
        return error.errorCase;
    }
    return std::nullopt;
}

} // namespace

TEST(AppSettings, DefaultsAreThoseOfANewInstallation) {
    const AppSettings& settings = AppSettings::defaults();
    EXPECT_FALSE(settings.configured);
    EXPECT_FALSE(settings.paused);
    EXPECT_EQ(settings.activationMode, ActivationMode::corner);
    EXPECT_EQ(settings.corner, ScreenCorner::bottomRight);
    EXPECT_EQ(settings.hotKey, (HotKey{true, true, false, false, u"E"_qs}));
    EXPECT_EQ(settings.preset, Preset::summary);
    EXPECT_EQ(settings.customPrompt,
              u"Summarise the screen in two lines, then list any deadlines.");
    EXPECT_TRUE(settings.launchAtLogin);
    EXPECT_TRUE(settings.showInMenuBar);
    EXPECT_TRUE(settings.useDarkAppearance);
    EXPECT_TRUE(settings.showProcessingOverlay);
    EXPECT_EQ(settings.cornerSize, 6.0);
    EXPECT_EQ(settings.dwellSeconds, 0.4);
    EXPECT_EQ(settings.pollSeconds, 0.1);
    EXPECT_EQ(settings.requestTimeoutSeconds, 20.0);
    EXPECT_EQ(settings.deliveryMode, DeliveryMode::both);
    EXPECT_EQ(settings.overlayPosition, OverlayPosition::bottomRight);
    EXPECT_EQ(settings.resultSeconds, 6.0);
    EXPECT_FALSE(settings.keepUntilDismissed);
    EXPECT_TRUE(settings.extendOnHover);
    EXPECT_EQ(settings.overlayBackground, OverlayBackgroundStyle::graphite);
    EXPECT_EQ(settings.backgroundOpacity, 90.0);
    EXPECT_EQ(settings.overlayTextColor, OverlayTextColor::white);
    EXPECT_EQ(settings.overlayTextSize, OverlayTextSize::medium);
    EXPECT_TRUE(settings.dismissWithEscape);
    EXPECT_FALSE(settings.soundWhenReady);
    EXPECT_FALSE(settings.includePromptWhenCopying);
    EXPECT_FALSE(settings.notifyOnCopy);
    EXPECT_FALSE(settings.streamText);
    EXPECT_EQ(settings.analysisMode, AnalysisMode::hyperPrivate);
    EXPECT_TRUE(settings.saveLeetCodeNotes);
    EXPECT_EQ(settings, AppSettings());
}

TEST(AppSettings, AllThirtyOneFieldsStandInTheOrderOfTheStoredForm) {
    const AppSettings settings{true,
                               true,
                               ActivationMode::hotkey,
                               ScreenCorner::topLeft,
                               HotKey::defaultValue(),
                               Preset::mcq,
                               u"prompt"_qs,
                               false,
                               false,
                               false,
                               false,
                               1.0,
                               2.0,
                               3.0,
                               4.0,
                               DeliveryMode::screen,
                               OverlayPosition::topCenter,
                               5.0,
                               true,
                               false,
                               OverlayBackgroundStyle::none,
                               6.0,
                               OverlayTextColor::mint,
                               OverlayTextSize::large,
                               false,
                               true,
                               true,
                               true,
                               true,
                               AnalysisMode::hyperAccurate,
                               false};
    EXPECT_EQ(settings.customPrompt, u"prompt");
    EXPECT_EQ(settings.requestTimeoutSeconds, 4.0);
    EXPECT_EQ(settings.backgroundOpacity, 6.0);
    EXPECT_FALSE(settings.dismissWithEscape);
    EXPECT_FALSE(settings.saveLeetCodeNotes);
}

TEST(AppSettings, EqualityLooksAtEveryField) {
    const std::vector<std::function<void(AppSettings&)>> changes = {
        [](AppSettings& s) { s.configured = true; },
        [](AppSettings& s) { s.paused = true; },
        [](AppSettings& s) { s.activationMode = ActivationMode::hotkey; },
        [](AppSettings& s) { s.corner = ScreenCorner::topLeft; },
        [](AppSettings& s) { s.hotKey.shift = true; },
        [](AppSettings& s) { s.preset = Preset::mcq; },
        [](AppSettings& s) { s.customPrompt += u' '; },
        [](AppSettings& s) { s.launchAtLogin = false; },
        [](AppSettings& s) { s.showInMenuBar = false; },
        [](AppSettings& s) { s.useDarkAppearance = false; },
        [](AppSettings& s) { s.showProcessingOverlay = false; },
        [](AppSettings& s) { s.cornerSize = 7; },
        [](AppSettings& s) { s.dwellSeconds = 0.5; },
        [](AppSettings& s) { s.pollSeconds = 0.2; },
        [](AppSettings& s) { s.requestTimeoutSeconds = 21; },
        [](AppSettings& s) { s.deliveryMode = DeliveryMode::screen; },
        [](AppSettings& s) { s.overlayPosition = OverlayPosition::topLeft; },
        [](AppSettings& s) { s.resultSeconds = 7; },
        [](AppSettings& s) { s.keepUntilDismissed = true; },
        [](AppSettings& s) { s.extendOnHover = false; },
        [](AppSettings& s) { s.overlayBackground = OverlayBackgroundStyle::blue; },
        [](AppSettings& s) { s.backgroundOpacity = 91; },
        [](AppSettings& s) { s.overlayTextColor = OverlayTextColor::mint; },
        [](AppSettings& s) { s.overlayTextSize = OverlayTextSize::large; },
        [](AppSettings& s) { s.dismissWithEscape = false; },
        [](AppSettings& s) { s.soundWhenReady = true; },
        [](AppSettings& s) { s.includePromptWhenCopying = true; },
        [](AppSettings& s) { s.notifyOnCopy = true; },
        [](AppSettings& s) { s.streamText = true; },
        [](AppSettings& s) { s.analysisMode = AnalysisMode::hyperAccurate; },
        [](AppSettings& s) { s.saveLeetCodeNotes = false; },
    };
    EXPECT_EQ(changes.size(), 31U);
    for (std::size_t index = 0; index < changes.size(); ++index) {
        AppSettings changed;
        changes[index](changed);
        EXPECT_NE(changed, AppSettings::defaults()) << index;
    }
}

TEST(AppSettings, NormalizedHoldsThreeNumbersAndNoOthers) {
    const struct {
        double given;
        double dwell;
        double result;
        double opacity;
    } rows[] = {
        {-1, 0, 1, 0},   {0, 0, 1, 0},    {1, 1, 1, 1},      {2, 2, 2, 2},      {5, 2, 5, 5},
        {20, 2, 20, 20}, {21, 2, 20, 21}, {100, 2, 20, 100}, {101, 2, 20, 100},
    };

    for (const auto& row : rows) {
        AppSettings settings;
        settings.dwellSeconds = row.given;
        settings.resultSeconds = row.given;
        settings.backgroundOpacity = row.given;
        settings.cornerSize = row.given;
        settings.pollSeconds = row.given;
        settings.requestTimeoutSeconds = row.given;
        const AppSettings held = settings.normalized();
        EXPECT_EQ(held.dwellSeconds, row.dwell);
        EXPECT_EQ(held.resultSeconds, row.result);
        EXPECT_EQ(held.backgroundOpacity, row.opacity);
        EXPECT_EQ(held.cornerSize, row.given);
        EXPECT_EQ(held.pollSeconds, row.given);
        EXPECT_EQ(held.requestTimeoutSeconds, row.given);
    }
}

TEST(AppSettings, NormalizedMakesNumbersOfWhatIsNone) {
    AppSettings settings;
    settings.dwellSeconds = std::numeric_limits<double>::quiet_NaN();
    settings.resultSeconds = std::numeric_limits<double>::infinity();
    settings.backgroundOpacity = -std::numeric_limits<double>::infinity();
    const AppSettings held = settings.normalized();
    EXPECT_EQ(held.dwellSeconds, 0.0);
    EXPECT_EQ(held.resultSeconds, 20.0);
    EXPECT_EQ(held.backgroundOpacity, 0.0);
}

TEST(AppSettings, NormalizedTurnsStreamingOffAndChangesNothingElse) {
    AppSettings settings;
    settings.streamText = true;
    settings.paused = true;
    settings.customPrompt = u"  mine  "_qs;
    AppSettings expected = settings;
    expected.streamText = false;
    EXPECT_EQ(settings.normalized(), expected);
    EXPECT_TRUE(settings.streamText);
}

TEST(AppSettings, ACustomPromptOfWhiteSpaceIsNoneForTheCustomPresetOnly) {
    for (const auto& prompt : {u""_qs, u"   "_qs, u" \n\t\r\n "_qs, u"\u00A0\u2029"_qs}) {
        AppSettings settings;
        settings.customPrompt = prompt;
        for (const Preset preset : allCases<Preset>()) {
            settings.preset = preset;
            EXPECT_EQ(settings.hasValidCustomPrompt(), preset != Preset::custom);
        }
    }
    AppSettings settings;
    settings.preset = Preset::custom;
    settings.customPrompt = u" x\n"_qs;
    EXPECT_TRUE(settings.hasValidCustomPrompt());
}

TEST(AppSettings, TheShortcutIsValidatedInShortcutModeOnly) {
    AppSettings settings;
    settings.hotKey.key = u""_qs;
    EXPECT_EQ(failureOf(settings), std::nullopt);
    settings.activationMode = ActivationMode::hotkey;
    EXPECT_EQ(failureOf(settings), SettingsValidationError::Case::invalidHotKey);
    settings.hotKey = HotKey{.key = u"E"_qs};
    EXPECT_EQ(failureOf(settings), SettingsValidationError::Case::invalidHotKey);
}

TEST(AppSettings, ValidatedKeepsTheShortcutAsItStands) {
    AppSettings settings;
    settings.activationMode = ActivationMode::hotkey;
    settings.hotKey.key = u"e"_qs;
    EXPECT_EQ(settings.validated().hotKey, settings.hotKey);
}

TEST(AppSettings, TheMissingPromptIsReportedFirst) {
    AppSettings settings;
    settings.activationMode = ActivationMode::hotkey;
    settings.hotKey.key = u""_qs;
    settings.preset = Preset::custom;
    settings.customPrompt = u" \n"_qs;
    EXPECT_EQ(failureOf(settings), SettingsValidationError::Case::missingCustomPrompt);
}

TEST(AppSettings, ValidatedIsNormalized) {
    AppSettings settings;
    settings.dwellSeconds = 5;
    settings.resultSeconds = 0;
    settings.streamText = true;
    EXPECT_EQ(settings.validated(), settings.normalized());
    EXPECT_EQ(settings.validated().dwellSeconds, 2.0);
}

TEST(AppSettings, TheClipboardGetsTheTextAlone) {
    EXPECT_EQ(AppSettings().clipboardValue(u"  the answer\n"_qs), u"  the answer\n");
}

TEST(AppSettings, TheClipboardGetsThePromptInFrontWhereWanted) {
    AppSettings settings;
    settings.includePromptWhenCopying = true;
    settings.preset = Preset::mcq;
    EXPECT_EQ(settings.clipboardValue(u"B"_qs), u"Prompt: Multiple Choice\n\nResult: B");
    settings.preset = Preset::leetCode;
    EXPECT_EQ(settings.clipboardValue(u""_qs), u"Prompt: LeetCode\n\nResult: ");
    settings.preset = Preset::custom;
    settings.customPrompt = u" list %1 \n"_qs;
    EXPECT_EQ(settings.clipboardValue(u"x %2"_qs), u"Prompt:  list %1 \n\n\nResult: x %2");
}

TEST(AppSettings, OverlayForegroundIsTheColourOfTheText) {
    AppSettings settings;
    settings.overlayTextColor = OverlayTextColor::amber;
    EXPECT_EQ(settings.overlayForeground(), OverlayPalette::color(0xF5C469));
}

TEST(SettingsValidationError, HasItsWordsAndComparesByCase) {
    using Case = SettingsValidationError::Case;
    const SettingsValidationError hotKey(Case::invalidHotKey);
    const SettingsValidationError prompt(Case::missingCustomPrompt);
    EXPECT_EQ(hotKey.errorDescription(), u"Enter a shortcut such as cmd+alt+ctrl+s.");
    EXPECT_EQ(prompt.errorDescription(), u"Enter a custom prompt.");
    EXPECT_EQ(hotKey, SettingsValidationError(Case::invalidHotKey));
    EXPECT_FALSE(hotKey == prompt);
    EXPECT_STREQ(hotKey.what(), "SettingsValidationError");
}

} // namespace lumivane
