#include "domain/AppSettingsCoding.h"

#include <gtest/gtest.h>

#include <limits>

namespace lumivane {

namespace {

using Reason = DecodingError::Reason;

constexpr const char* writtenDefaults =
    R"({"configured":false,"paused":false,"activationMode":"corner","corner":"bottomRight",)"
    R"("hotKey":{"command":true,"option":true,"control":false,"shift":false,"key":"E"},)"
    R"("preset":"summary",)"
    R"("customPrompt":"Summarise the screen in two lines, then list any deadlines.",)"
    R"("launchAtLogin":true,"showInMenuBar":true,"useDarkAppearance":true,)"
    R"("showProcessingOverlay":true,"cornerSize":6.0,"dwellSeconds":0.4,"pollSeconds":0.1,)"
    R"("requestTimeoutSeconds":20.0,"deliveryMode":"both","overlayPosition":"bottomRight",)"
    R"("resultSeconds":6.0,"keepUntilDismissed":false,"extendOnHover":true,)"
    R"("overlayBackground":"graphite","backgroundOpacity":90.0,"overlayTextColor":"white",)"
    R"("overlayTextSize":"medium","dismissWithEscape":true,"soundWhenReady":false,)"
    R"("includePromptWhenCopying":false,"notifyOnCopy":false,"streamText":false,)"
    R"("analysisMode":"hyperPrivate","saveLeetCodeNotes":true})";

Json defaultsAsJson() { return parseJson(writtenDefaults); }

/// Why settings with one value replaced do not decode; none when they do.
std::optional<Reason> failureWith(const std::string& key, Json value) {
    Json json = defaultsAsJson();
    json[key] = std::move(value);
    try {
        JsonCoding<AppSettings>::decode(json);
    } catch (const DecodingError& error) {
        return error.reason;
    }
    return std::nullopt;
}

AppSettings everythingChanged() {
    AppSettings settings;
    settings.configured = true;
    settings.paused = true;
    settings.activationMode = ActivationMode::hotkey;
    settings.corner = ScreenCorner::topLeft;
    settings.hotKey = {
        .command = false, .option = false, .control = true, .shift = true, .key = u"é"_qs};
    settings.preset = Preset::leetCode;
    settings.customPrompt = u" \"two\nlines\" 漢 "_qs;
    settings.launchAtLogin = false;
    settings.showInMenuBar = false;
    settings.useDarkAppearance = false;
    settings.showProcessingOverlay = false;
    settings.cornerSize = 0.1;
    settings.dwellSeconds = 5;
    settings.pollSeconds = 0;
    settings.requestTimeoutSeconds = -1;
    settings.deliveryMode = DeliveryMode::clipboard;
    settings.overlayPosition = OverlayPosition::middleCenter;
    settings.resultSeconds = 0;
    settings.keepUntilDismissed = true;
    settings.extendOnHover = false;
    settings.overlayBackground = OverlayBackgroundStyle::none;
    settings.backgroundOpacity = 1.0 / 3;
    settings.overlayTextColor = OverlayTextColor::amber;
    settings.overlayTextSize = OverlayTextSize::large;
    settings.dismissWithEscape = false;
    settings.soundWhenReady = true;
    settings.includePromptWhenCopying = true;
    settings.notifyOnCopy = true;
    settings.streamText = true;
    settings.analysisMode = AnalysisMode::hyperAccurate;
    settings.saveLeetCodeNotes = false;
    return settings;
}

} // namespace

TEST(AppSettingsCoding, WritesAllKeysInTheirOrder) {
    EXPECT_EQ(encodeJson(AppSettings::defaults()), writtenDefaults);
    EXPECT_EQ(JsonCoding<AppSettings>::encode(AppSettings::defaults()).size(), 31U);
}

TEST(AppSettingsCoding, EveryFieldGoesThereAndBackUnchanged) {
    const AppSettings settings = everythingChanged();
    EXPECT_EQ(decodeJson<AppSettings>(encodeJson(settings)), settings);
    EXPECT_EQ(decodeJson<AppSettings>(writtenDefaults), AppSettings::defaults());
}

TEST(AppSettingsCoding, NoFieldIsLeftToItsInitialValue) {
    const Json changed = JsonCoding<AppSettings>::encode(everythingChanged());
    const Json defaults = defaultsAsJson();
    for (const auto& [key, value] : changed.items()) {
        EXPECT_NE(value, defaults.at(key)) << key;
    }
}

TEST(AppSettingsCoding, EachKeyIsRequired) {
    const Json defaults = defaultsAsJson();
    for (const auto& [key, value] : defaults.items()) {
        Json without = defaults;
        without.erase(key);
        EXPECT_THROW(JsonCoding<AppSettings>::decode(without), DecodingError) << key;
        EXPECT_EQ(failureWith(key, nullptr), Reason::missing) << key;
        EXPECT_EQ(failureWith(key, Json::array()), Reason::wrongType) << key;
    }
}

TEST(AppSettingsCoding, AnUnknownRawTextFailsTheWhole) {
    for (const char* key :
         {"activationMode", "corner", "preset", "deliveryMode", "overlayPosition",
          "overlayBackground", "overlayTextColor", "overlayTextSize", "analysisMode"}) {
        EXPECT_EQ(failureWith(key, "neon"), Reason::unknownValue) << key;
    }
}

TEST(AppSettingsCoding, BooleansAndNumbersAreNotMixed) {
    EXPECT_EQ(failureWith("paused", 0), Reason::wrongType);
    EXPECT_EQ(failureWith("dwellSeconds", true), Reason::wrongType);
    EXPECT_EQ(failureWith("dwellSeconds", "0.4"), Reason::wrongType);
    EXPECT_EQ(failureWith("dwellSeconds", 1), std::nullopt);
}

TEST(AppSettingsCoding, IgnoresExtraKeys) {
    EXPECT_EQ(failureWith("sendScreenText", true), std::nullopt);
}

TEST(AppSettingsCoding, NothingIsNormalised) {
    Json json = defaultsAsJson();
    json["streamText"] = true;
    json["dwellSeconds"] = 5;
    const AppSettings settings = JsonCoding<AppSettings>::decode(json);
    EXPECT_TRUE(settings.streamText);
    EXPECT_EQ(settings.dwellSeconds, 5);
}

TEST(AppSettingsCoding, ANumberThatIsNotFiniteCannotBeWritten) {
    AppSettings settings;
    settings.cornerSize = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(encodeJson(settings), EncodingError);
}

TEST(HotKeyCoding, WritesFiveKeysInTheirOrder) {
    EXPECT_EQ(encodeJson(HotKey::defaultValue()),
              R"({"command":true,"option":true,"control":true,"shift":false,"key":"S"})");
}

TEST(HotKeyCoding, EachKeyIsRequired) {
    const Json whole = JsonCoding<HotKey>::encode(HotKey::defaultValue());
    EXPECT_EQ(JsonCoding<HotKey>::decode(whole), HotKey::defaultValue());
    for (const auto& [key, value] : whole.items()) {
        Json without = whole;
        without.erase(key);
        EXPECT_THROW(JsonCoding<HotKey>::decode(without), DecodingError) << key;
    }
}

TEST(HotKeyCoding, TheKeyStaysAsWritten) {
    EXPECT_EQ(JsonCoding<HotKey>::decode(
                  parseJson(R"({"command":false,"option":false,"control":false,"shift":false,)"
                            R"("key":""})"))
                  .key,
              u""_qs);
}

} // namespace lumivane
