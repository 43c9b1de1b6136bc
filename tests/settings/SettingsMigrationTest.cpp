#include "settings/SettingsMigration.h"

#include "StoredForms.h"
#include "settings/SettingsStore.h"
#include "support/FakeUserDefaults.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace lumivane {

using test::currentSettings;
using test::ninthSettings;
using test::storedForm;

namespace {

std::optional<AppSettings> migrated(const char* name) {
    return migrateAddingCurrentDefaults(storedForm(QString::fromLatin1(name)));
}

/// The ninth form's settings with one change.
AppSettings changed(const std::function<void(AppSettings&)>& change) {
    AppSettings settings = ninthSettings();
    change(settings);
    return settings;
}

AppSettings withPrompt(const QString& prompt) {
    return changed([&prompt](AppSettings& settings) { settings.customPrompt = prompt; });
}

AppSettings background(OverlayBackgroundStyle style) {
    return changed([style](AppSettings& settings) { settings.overlayBackground = style; });
}

AppSettings textColor(OverlayTextColor color) {
    return changed([color](AppSettings& settings) { settings.overlayTextColor = color; });
}

AppSettings notes(bool isSaved) {
    return changed([isSaved](AppSettings& settings) { settings.saveLeetCodeNotes = isSaved; });
}

AppSettings analysis(AnalysisMode mode) {
    return changed([mode](AppSettings& settings) { settings.analysisMode = mode; });
}

AppSettings firstForm(const char* name) {
    return decodeJson<LegacyAppSettings>(storedForm(QString::fromLatin1(name))).migrated();
}

} // namespace

TEST(SettingsMigration, EveryVersionLoadsThroughTheStoreAndStaysSo) {
    AppSettings eighth = withPrompt(u"From the eighth form."_qs);
    eighth.useDarkAppearance = true;
    AppSettings seventh = eighth;
    seventh.customPrompt = u"From the seventh form."_qs;
    seventh.showProcessingOverlay = true;
    AppSettings sixth = seventh;
    sixth.customPrompt = u"From the sixth form."_qs;
    sixth.showInMenuBar = true;
    AppSettings fifth = sixth;
    fifth.customPrompt = u"From the fifth form."_qs;
    AppSettings fourth = sixth;
    fourth.customPrompt = u"From the fourth form."_qs;
    fourth.analysisMode = AnalysisMode::hyperPrivate;
    fourth.preset = Preset::leetCode;
    AppSettings third = fourth;
    third.customPrompt = u"From the third form."_qs;
    AppSettings second = fourth;
    second.customPrompt = u"From the second form."_qs;
    second.overlayBackground = OverlayBackgroundStyle::graphite;
    second.overlayTextColor = OverlayTextColor::mint;
    second.saveLeetCodeNotes = true;
    const std::vector<AppSettings> byVersion{
        firstForm("v1"), second,  third,  fourth,          fifth,
        sixth,           seventh, eighth, ninthSettings(), currentSettings()};
    for (int version = 1; version <= 10; ++version) {
        test::FakeUserDefaults defaults;
        defaults.contents[test::storedKey(version)] =
            storedForm(u"v"_qs + QString::number(version));
        SettingsStore store(defaults);
        const AppSettings& expected = byVersion.at(static_cast<std::size_t>(version - 1));
        EXPECT_EQ(store.load(), expected) << version;
        EXPECT_EQ(store.load(), expected) << version;
        EXPECT_EQ(defaults.contents.size(), 1U) << version;
        EXPECT_TRUE(defaults.contents.contains(test::storedKey(10))) << version;
    }
}

TEST(SettingsMigration, AFormWithAllCurrentKeysStaysAsItIs) {
    EXPECT_EQ(migrated("v9"), ninthSettings());
    EXPECT_EQ(migrated("v10"), currentSettings());
    EXPECT_EQ(migrated("unknown-keys"), ninthSettings());
}

TEST(SettingsMigration, FormerBackgroundsHaveASuccessor) {
    EXPECT_EQ(migrated("overlayBackground-glass"), background(OverlayBackgroundStyle::graphite));
    EXPECT_EQ(migrated("overlayBackground-tint"), background(OverlayBackgroundStyle::blue));
    EXPECT_EQ(migrated("overlayBackground-purple"), background(OverlayBackgroundStyle::blue));
    EXPECT_EQ(migrated("overlayBackground-amber"), background(OverlayBackgroundStyle::light));
    EXPECT_EQ(migrated("overlayBackground-neon"), std::nullopt);
    EXPECT_EQ(migrated("overlayBackground-number"), std::nullopt);
}

TEST(SettingsMigration, FormerTextColorsHaveASuccessor) {
    EXPECT_EQ(migrated("overlayTextColor-teal"), textColor(OverlayTextColor::mint));
    EXPECT_EQ(migrated("overlayTextColor-green"), textColor(OverlayTextColor::mint));
    EXPECT_EQ(migrated("overlayTextColor-blue"), textColor(OverlayTextColor::white));
    EXPECT_EQ(migrated("overlayTextColor-dim"), textColor(OverlayTextColor::white));
    EXPECT_EQ(migrated("overlayTextColor-pink"), textColor(OverlayTextColor::amber));
    EXPECT_EQ(migrated("overlayTextColor-neon"), std::nullopt);
}

TEST(SettingsMigration, TheFormerPresetHasASuccessor) {
    EXPECT_EQ(migrated("preset-interview"),
              changed([](AppSettings& settings) { settings.preset = Preset::leetCode; }));
    EXPECT_EQ(migrated("preset-interview-upper-case"), std::nullopt);
}

TEST(SettingsMigration, TheNotesFlagIsCarriedOverWhereNoneIsThere) {
    EXPECT_EQ(migrated("saveInterviewNotes-false"), notes(false));
    EXPECT_EQ(migrated("saveInterviewNotes-true"), notes(true));
    EXPECT_EQ(migrated("saveInterviewNotes-true-beside-false"), notes(false));
    EXPECT_EQ(migrated("saveInterviewNotes-false-beside-true"), notes(true));
    EXPECT_EQ(migrated("saveLeetCodeNotes-missing"), notes(true));
}

TEST(SettingsMigration, AKeyWithNullIsThere) {
    EXPECT_EQ(migrated("saveInterviewNotes-null"), std::nullopt);
    EXPECT_EQ(migrated("saveInterviewNotes-false-beside-null"), std::nullopt);
    EXPECT_EQ(migrated("saveLeetCodeNotes-null"), std::nullopt);
    EXPECT_EQ(migrated("showInMenuBar-null"), std::nullopt);
    EXPECT_EQ(migrated("useDarkAppearance-null"), std::nullopt);
    EXPECT_EQ(migrated("showProcessingOverlay-null"), std::nullopt);
    EXPECT_EQ(migrated("analysisMode-null"), std::nullopt);
}

TEST(SettingsMigration, ANotesFlagOfAnotherTypeIsCarriedOverAndFails) {
    EXPECT_EQ(migrated("saveInterviewNotes-number"), std::nullopt);
}

TEST(SettingsMigration, WhatCameLaterIsOn) {
    EXPECT_EQ(migrated("showInMenuBar-missing"),
              changed([](AppSettings& settings) { settings.showInMenuBar = true; }));
    EXPECT_EQ(migrated("useDarkAppearance-missing"),
              changed([](AppSettings& settings) { settings.useDarkAppearance = true; }));
    EXPECT_EQ(migrated("showProcessingOverlay-missing"),
              changed([](AppSettings& settings) { settings.showProcessingOverlay = true; }));
}

TEST(SettingsMigration, TheAnalysisModeFollowsTheFormerFlag) {
    EXPECT_EQ(migrated("sendScreenText-true"), analysis(AnalysisMode::hyperPrivate));
    EXPECT_EQ(migrated("sendScreenText-false"), analysis(AnalysisMode::hyperAccurate));
    EXPECT_EQ(migrated("analysisMode-missing"), analysis(AnalysisMode::hyperPrivate));
    EXPECT_EQ(migrated("analysisMode-beside-sendScreenText"), analysis(AnalysisMode::hyperPrivate));
}

TEST(SettingsMigration, AFormerFlagThatIsNoBooleanCountsAsTrue) {
    EXPECT_EQ(migrated("sendScreenText-null"), analysis(AnalysisMode::hyperPrivate));
    EXPECT_EQ(migrated("sendScreenText-zero"), analysis(AnalysisMode::hyperPrivate));
    EXPECT_EQ(migrated("sendScreenText-text"), analysis(AnalysisMode::hyperPrivate));
}

TEST(SettingsMigration, AKeyThatStandsThereTwiceFails) {
    EXPECT_EQ(migrated("sendScreenText-twice"), std::nullopt);
    EXPECT_EQ(migrated("saveInterviewNotes-twice"), std::nullopt);
    EXPECT_EQ(migrated("paused-twice"), std::nullopt);
}

TEST(SettingsMigration, EveryOtherCurrentKeyStaysRequired) {
    const Json form = parseJson(storedForm(u"v9"_qs));
    ASSERT_EQ(form.size(), 31U);
    int added = 0;
    for (const auto& [key, value] : form.items()) {
        Json without = form;
        without.erase(key);
        const bool isAdded = key == "showInMenuBar" || key == "useDarkAppearance" ||
                             key == "showProcessingOverlay" || key == "analysisMode" ||
                             key == "saveLeetCodeNotes";
        added += isAdded ? 1 : 0;
        EXPECT_EQ(migrateAddingCurrentDefaults(writeJson(without)).has_value(), isAdded) << key;
    }
    EXPECT_EQ(added, 5);
}

TEST(SettingsMigration, WantsOneObject) {
    EXPECT_EQ(migrated("list"), std::nullopt);
    EXPECT_EQ(migrated("two-objects"), std::nullopt);
    for (const char* text : {"", " ", "null", "7", "\"preset\"", "{}", "{1:2}", "{\"a\":1,}"}) {
        EXPECT_EQ(migrateAddingCurrentDefaults(QByteArrayView(text)), std::nullopt) << text;
    }
}

TEST(SettingsMigration, StrangeNumbersAndTextsFailQuietly) {
    EXPECT_EQ(migrated("cornerSize-too-large-for-a-number"), std::nullopt);
    EXPECT_EQ(migrated("cornerSize-nan"), std::nullopt);
    EXPECT_EQ(migrated("customPrompt-lone-surrogate"), std::nullopt);
    EXPECT_EQ(migrated("nested-too-deep"), std::nullopt);
    QByteArray form = storedForm(u"v9"_qs);
    EXPECT_EQ(migrateAddingCurrentDefaults(form.replace("From", "\xff\xfe")), std::nullopt);
    EXPECT_EQ(migrateAddingCurrentDefaults(QByteArray(1000000, '[')), std::nullopt);
}

TEST(SettingsMigration, AHugeNumberIsANumber) {
    EXPECT_EQ(migrated("cornerSize-huge"), changed([](AppSettings& settings) {
                  settings.cornerSize = 123456789012345678901234567890.0;
              }));
}

TEST(LegacyAppSettings, KeepsWhatItHeldAndTakesDefaultsForTheRest) {
    AppSettings expected = AppSettings::defaults();
    expected.configured = true;
    expected.paused = false;
    expected.activationMode = ActivationMode::hotkey;
    expected.corner = ScreenCorner::topRight;
    expected.hotKey = {.command = true, .shift = true, .key = u"K"_qs};
    expected.preset = Preset::mcq;
    expected.customPrompt = u"From the first form."_qs;
    expected.launchAtLogin = false;
    expected.cornerSize = 9.5;
    expected.dwellSeconds = 0.75;
    expected.pollSeconds = 0.2;
    expected.requestTimeoutSeconds = 31;
    expected.resultSeconds = 20;
    expected.overlayPosition = OverlayPosition::topRight;
    EXPECT_EQ(firstForm("v1"), expected);
}

TEST(LegacyAppSettings, TheTwoWaitsAreOneWithinItsRange) {
    EXPECT_EQ(firstForm("first-form-long-waits").dwellSeconds, 2.0);
    EXPECT_EQ(firstForm("first-form-negative-waits").dwellSeconds, 0.0);
    EXPECT_EQ(firstForm("first-form-endless-waits").dwellSeconds, 2.0);
    EXPECT_EQ(firstForm("first-form-short-result").resultSeconds, 1.0);
}

TEST(LegacyAppSettings, EachKeyIsRequired) {
    const Json form = parseJson(storedForm(u"v1"_qs));
    ASSERT_EQ(form.size(), 14U);
    for (const auto& [key, value] : form.items()) {
        Json without = form;
        without.erase(key);
        EXPECT_THROW(JsonCoding<LegacyAppSettings>::decode(without), DecodingError) << key;
        without[key] = nullptr;
        EXPECT_THROW(JsonCoding<LegacyAppSettings>::decode(without), DecodingError) << key;
    }
}

TEST(LegacyAppSettings, TheFormerPresetIsNoneOfItsValues) {
    EXPECT_THROW(firstForm("first-form-interview"), DecodingError);
}

} // namespace lumivane
