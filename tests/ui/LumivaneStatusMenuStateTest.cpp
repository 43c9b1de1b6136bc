#include "ui/LumivaneStatusMenuState.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace lumivane {

namespace {

AppSettings configured() {
    AppSettings settings;
    settings.configured = true;
    return settings;
}

LumivaneStatusMenuState stateOf(const AppSettings& settings) { return {settings, false}; }

} // namespace

TEST(LumivaneStatusMenuState, AnalysesOnlyWhenSetUpAndNotPaused) {
    AppSettings settings;
    for (const bool isConfigured : {false, true}) {
        for (const bool isPaused : {false, true}) {
            settings.configured = isConfigured;
            settings.paused = isPaused;
            EXPECT_EQ(stateOf(settings).analyzeEnabled, isConfigured && !isPaused)
                << isConfigured << isPaused;
        }
    }
}

TEST(LumivaneStatusMenuState, PauseLineSaysWhatItWillDo) {
    AppSettings settings = configured();
    EXPECT_EQ(stateOf(settings).pauseTitle, u"Pause Lumivane"_qs);
    settings.paused = true;
    EXPECT_EQ(stateOf(settings).pauseTitle, u"Resume Lumivane"_qs);
}

TEST(LumivaneStatusMenuState, PresetLineNamesEachPreset) {
    const std::vector<std::pair<Preset, QString>> titles{
        {Preset::mcq, u"Preset: Multiple Choice"_qs},
        {Preset::summary, u"Preset: Screen Summary"_qs},
        {Preset::custom, u"Preset: Custom Prompt"_qs},
        {Preset::leetCode, u"Preset: LeetCode"_qs},
    };
    AppSettings settings = configured();
    for (const auto& [preset, title] : titles) {
        settings.preset = preset;
        EXPECT_EQ(stateOf(settings).presetTitle, title);
    }
}

TEST(LumivaneStatusMenuState, ActivationLineNamesEachCorner) {
    const std::vector<std::pair<ScreenCorner, QString>> titles{
        {ScreenCorner::topLeft, u"Activation: Top Left Corner"_qs},
        {ScreenCorner::topRight, u"Activation: Top Right Corner"_qs},
        {ScreenCorner::bottomLeft, u"Activation: Bottom Left Corner"_qs},
        {ScreenCorner::bottomRight, u"Activation: Bottom Right Corner"_qs},
    };
    AppSettings settings = configured();
    settings.activationMode = ActivationMode::corner;
    for (const auto& [corner, title] : titles) {
        settings.corner = corner;
        EXPECT_EQ(stateOf(settings).activationTitle, title);
    }
}

TEST(LumivaneStatusMenuState, ActivationLineShowsTheShortcut) {
    AppSettings settings = configured();
    settings.activationMode = ActivationMode::hotkey;
    EXPECT_EQ(stateOf(settings).activationTitle, u"Activation: cmd+alt+E"_qs);
    settings.hotKey = {.control = true, .shift = true, .key = u"7"_qs};
    EXPECT_EQ(stateOf(settings).activationTitle,
              u"Activation: "_qs + settings.hotKey.displayValue());
}

TEST(LumivaneStatusMenuState, CopiesOnlyWhatIsThere) {
    EXPECT_FALSE(LumivaneStatusMenuState(configured(), false).copyEnabled);
    EXPECT_TRUE(LumivaneStatusMenuState(configured(), true).copyEnabled);
}

TEST(LumivaneStatusMenuState, EqualWhenAllThatIsShownIsEqual) {
    AppSettings settings = configured();
    const LumivaneStatusMenuState state = stateOf(settings);
    settings.resultSeconds = 9;
    EXPECT_EQ(stateOf(settings), state);
    settings.preset = Preset::mcq;
    EXPECT_NE(stateOf(settings), state);
}

} // namespace lumivane
