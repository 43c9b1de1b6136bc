#include "settings/SettingsStore.h"

#include "StoredForms.h"
#include "support/FakeUserDefaults.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace lumivane {

using test::FakeUserDefaults;
using test::storedForm;
using test::storedKey;
using Kind = FakeUserDefaults::Request::Kind;

class SettingsStoreTest : public testing::Test {
protected:
    void put(int version) {
        defaults.contents[storedKey(version)] = storedForm(u"v"_qs + QString::number(version));
    }

    std::set<QString> keys() const {
        std::set<QString> found;
        for (const auto& [key, data] : defaults.contents) {
            found.insert(key);
        }
        return found;
    }

    std::vector<test::LogCapture::Line> settingsLine(LogLevel level, const char* text) const {
        return {{"settings", level, text}};
    }

    FakeUserDefaults defaults;
    SettingsStore store{defaults};
    test::LogCapture log;
};

TEST_F(SettingsStoreTest, KeysRunFromTheNewestFormToTheFirst) {
    EXPECT_EQ(SettingsStore::version, 10);
    EXPECT_EQ(QString(SettingsStore::key), storedKey(10));
    ASSERT_EQ(SettingsStore::legacyKeys.size(), 8U);
    for (int version = 9; version >= 2; --version) {
        EXPECT_EQ(QString(SettingsStore::legacyKeys.at(static_cast<std::size_t>(9 - version))),
                  storedKey(version));
    }
    EXPECT_EQ(QString(SettingsStore::legacyKey), storedKey(1));
}

TEST_F(SettingsStoreTest, AnEmptyStoreGivesTheDefaultsAndStaysEmpty) {
    EXPECT_EQ(store.load(), AppSettings::defaults());
    EXPECT_FALSE(store.load().configured);
    EXPECT_TRUE(defaults.contents.empty());
    EXPECT_EQ(log.count("settings", LogLevel::info, "No valid saved settings; using defaults"), 2);
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(SettingsStoreTest, ReadsTheKeysInTheirOrderAndWritesNone) {
    store.load();
    std::vector<FakeUserDefaults::Request> expected;
    for (int version = 10; version >= 1; --version) {
        expected.push_back({Kind::data, storedKey(version)});
    }
    EXPECT_EQ(defaults.takeRequests(), expected);
}

TEST_F(SettingsStoreTest, TheCurrentFormIsTakenAsItStands) {
    put(10);
    EXPECT_EQ(store.load(), test::currentSettings());
    EXPECT_EQ(log.lines(), settingsLine(LogLevel::info, "Loaded settings; configured=1 paused=1"));
    EXPECT_EQ(defaults.takeRequests(),
              (std::vector<FakeUserDefaults::Request>{{Kind::data, storedKey(10)}}));
}

TEST_F(SettingsStoreTest, NothingIsNormalisedInEitherDirection) {
    AppSettings settings = test::currentSettings();
    settings.dwellSeconds = 5;
    settings.resultSeconds = 0;
    settings.backgroundOpacity = -7.25;
    settings.streamText = true;
    store.save(settings);
    EXPECT_EQ(store.load(), settings);
}

TEST_F(SettingsStoreTest, SavesUnderTheCurrentKeyByteForByte) {
    store.save(test::currentSettings());
    EXPECT_EQ(defaults.contents,
              (std::map<QString, QByteArray>{{storedKey(10), storedForm(u"v10"_qs)}}));
    EXPECT_EQ(log.lines(), settingsLine(LogLevel::info, "Saved settings; configured=1 paused=1"));
}

TEST_F(SettingsStoreTest, TheFlagsInTheLinesAreThoseOfTheSettings) {
    AppSettings settings;
    settings.paused = true;
    store.save(settings);
    store.load();
    settings.configured = true;
    settings.paused = false;
    store.save(settings);
    store.load();
    EXPECT_EQ(log.texts("settings"),
              (std::vector<std::string>{"Saved settings; configured=0 paused=1",
                                        "Loaded settings; configured=0 paused=1",
                                        "Saved settings; configured=1 paused=0",
                                        "Loaded settings; configured=1 paused=0"}));
}

TEST_F(SettingsStoreTest, NumbersAreStoredWithTheFewestDigits) {
    const auto stored = [this](double number) {
        AppSettings settings;
        settings.cornerSize = number;
        store.save(settings);
        EXPECT_EQ(store.load().cornerSize, number);
        const QString text = QString::fromUtf8(defaults.contents.at(storedKey(10)));
        return text.section(u"\"cornerSize\":"_qs, 1).section(u',', 0, 0).toStdString();
    };
    EXPECT_EQ(stored(6), "6.0");
    EXPECT_EQ(stored(0.1), "0.1");
    EXPECT_EQ(stored(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(stored(54.399999999999046), "54.39999999999905");
    EXPECT_EQ(stored(71.29999999999809), "71.2999999999981");
    EXPECT_EQ(stored(1e22), "1e+22");
    EXPECT_EQ(stored(5e-324), "5e-324");
    EXPECT_EQ(stored(-0.0), "-0.0");
    EXPECT_EQ(stored(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
}

TEST_F(SettingsStoreTest, WhatCannotBeEncodedLeavesTheOldValue) {
    put(10);
    for (const double bad :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()}) {
        AppSettings settings;
        settings.dwellSeconds = bad;
        store.save(settings);
        EXPECT_EQ(defaults.contents.at(storedKey(10)), storedForm(u"v10"_qs));
    }
    EXPECT_EQ(log.count("settings", LogLevel::error, "Could not encode settings"), 3);
    EXPECT_EQ(log.lines().size(), 3U);
    EXPECT_TRUE(defaults.takeRequests().empty());
}

TEST_F(SettingsStoreTest, AFailureToStoreIsLoggedAndTheProgramGoesOn) {
    put(10);
    defaults.failWriting(std::errc::no_space_on_device);
    store.save(AppSettings::defaults());
    EXPECT_EQ(log.lines(), settingsLine(LogLevel::error, "Could not store settings"));
    EXPECT_EQ(store.load(), test::currentSettings());
    defaults.failWriting(std::nullopt);
    store.save(AppSettings::defaults());
    EXPECT_EQ(store.load(), AppSettings::defaults());
}

TEST_F(SettingsStoreTest, NewerWinsAndTheOlderStays) {
    put(10);
    put(9);
    EXPECT_EQ(store.load(), test::currentSettings());
    EXPECT_EQ(keys(), (std::set<QString>{storedKey(10), storedKey(9)}));
}

TEST_F(SettingsStoreTest, TheNewestOlderFormWinsAndOnlyItsKeyGoes) {
    put(9);
    put(8);
    put(1);
    EXPECT_EQ(store.load(), test::ninthSettings());
    EXPECT_EQ(keys(), (std::set<QString>{storedKey(10), storedKey(8), storedKey(1)}));
    EXPECT_EQ(defaults.contents.at(storedKey(8)), storedForm(u"v8"_qs));
}

TEST_F(SettingsStoreTest, ACorruptCurrentValueIsOverwrittenByTheMigratedOne) {
    defaults.contents[storedKey(10)] = "{\"configured\":tr";
    put(9);
    EXPECT_EQ(store.load(), test::ninthSettings());
    EXPECT_EQ(keys(), std::set<QString>{storedKey(10)});
    EXPECT_EQ(store.load(), test::ninthSettings());
    EXPECT_EQ(log.texts("settings"),
              (std::vector<std::string>{
                  "Saved settings; configured=1 paused=1",
                  "Migrated settings; from=Lumivane.native.settings.v9 to=10",
                  "Loaded settings; configured=1 paused=1",
              }));
}

TEST_F(SettingsStoreTest, ACorruptCurrentValueStaysUntilTheNextSave) {
    defaults.contents[storedKey(10)] = "broken";
    EXPECT_EQ(store.load(), AppSettings::defaults());
    EXPECT_EQ(defaults.contents.at(storedKey(10)), "broken");
    EXPECT_EQ(log.lines(), settingsLine(LogLevel::info, "No valid saved settings; using defaults"));
    store.save(AppSettings::defaults());
    EXPECT_NE(defaults.contents.at(storedKey(10)), "broken");
}

TEST_F(SettingsStoreTest, AnOlderFormThatFailsIsLeftWhereItIs) {
    defaults.contents[storedKey(9)] = storedForm(u"overlayBackground-neon"_qs);
    put(8);
    AppSettings expected = test::currentSettings();
    expected.useDarkAppearance = true;
    expected.customPrompt = u"From the eighth form."_qs;
    EXPECT_EQ(store.load(), expected);
    EXPECT_EQ(keys(), (std::set<QString>{storedKey(10), storedKey(9)}));
    EXPECT_EQ(defaults.contents.at(storedKey(9)), storedForm(u"overlayBackground-neon"_qs));
}

TEST_F(SettingsStoreTest, AMigrationStoresFirstAndRemovesThen) {
    put(3);
    store.load();
    auto requests = defaults.takeRequests();
    ASSERT_EQ(requests.size(), 10U);
    EXPECT_EQ(requests[7], (FakeUserDefaults::Request{Kind::data, storedKey(3)}));
    EXPECT_EQ(requests[8], (FakeUserDefaults::Request{Kind::set, storedKey(10)}));
    EXPECT_EQ(requests[9], (FakeUserDefaults::Request{Kind::removeObject, storedKey(3)}));
    EXPECT_EQ(log.lines(),
              (std::vector<test::LogCapture::Line>{
                  {"settings", LogLevel::info, "Saved settings; configured=1 paused=1"},
                  {"settings", LogLevel::standard,
                   "Migrated settings; from=Lumivane.native.settings.v3 to=10"}}));
    store.load();
    EXPECT_EQ(defaults.takeRequests(),
              (std::vector<FakeUserDefaults::Request>{{Kind::data, storedKey(10)}}));
}

TEST_F(SettingsStoreTest, TheFirstFormIsMigratedLast) {
    put(1);
    const AppSettings settings = store.load();
    EXPECT_EQ(settings.customPrompt, u"From the first form."_qs);
    EXPECT_EQ(keys(), std::set<QString>{storedKey(10)});
    EXPECT_EQ(log.lines(),
              (std::vector<test::LogCapture::Line>{
                  {"settings", LogLevel::info, "Saved settings; configured=1 paused=0"},
                  {"settings", LogLevel::standard, "Migrated legacy settings; to=10"}}));
    EXPECT_EQ(store.load(), settings);
}

TEST_F(SettingsStoreTest, AnOlderFormThatCouldNotBeStoredAnewStays) {
    for (const int version : {9, 2, 1}) {
        defaults.contents.clear();
        put(version);
        const auto before = defaults.contents;
        defaults.failWriting(std::errc::read_only_file_system);
        const AppSettings settings = store.load();
        EXPECT_TRUE(settings.configured);
        EXPECT_EQ(defaults.contents, before);
        defaults.failWriting(std::nullopt);
        EXPECT_EQ(store.load(), settings);
        EXPECT_EQ(keys(), std::set<QString>{storedKey(10)});
    }
    EXPECT_EQ(log.countStartingWith("Could not store settings"), 3);
    EXPECT_EQ(log.countStartingWith("Migrated"), 3);
}

TEST_F(SettingsStoreTest, AnOlderKeyThatCannotBeRemovedHarmsNothing) {
    put(9);
    defaults.failRemoving(std::errc::io_error);
    EXPECT_EQ(store.load(), test::ninthSettings());
    EXPECT_EQ(keys(), (std::set<QString>{storedKey(10), storedKey(9)}));
    EXPECT_EQ(log.texts("settings"),
              (std::vector<std::string>{
                  "Saved settings; configured=1 paused=1", "Could not store settings",
                  "Migrated settings; from=Lumivane.native.settings.v9 to=10"}));
    store.save(AppSettings::defaults());
    EXPECT_EQ(store.load(), AppSettings::defaults());
}

TEST_F(SettingsStoreTest, ResetRemovesEveryFormAndNothingElse) {
    for (int version = 1; version <= 10; ++version) {
        put(version);
    }
    defaults.contents[u"another key"_qs] = "x";
    store.reset();
    EXPECT_EQ(keys(), std::set<QString>{u"another key"_qs});
    std::vector<FakeUserDefaults::Request> expected;
    for (int version = 10; version >= 1; --version) {
        expected.push_back({Kind::removeObject, storedKey(version)});
    }
    EXPECT_EQ(defaults.takeRequests(), expected);
    EXPECT_EQ(log.lines(), settingsLine(LogLevel::standard, "Reset settings"));
    EXPECT_EQ(store.load(), AppSettings::defaults());
}

TEST_F(SettingsStoreTest, AResetThatFailsDoesNotSayThatItWorked) {
    put(10);
    defaults.failRemoving(std::errc::io_error);
    store.reset();
    EXPECT_EQ(log.count("settings", LogLevel::error, "Could not store settings"), 10);
    EXPECT_EQ(log.countStartingWith("Reset settings"), 0);
    EXPECT_EQ(defaults.takeRequests().size(), 10U);
}

TEST_F(SettingsStoreTest, NoLineHoldsWhatTheUserWrote) {
    AppSettings settings;
    settings.customPrompt = u"canary-prompt"_qs;
    settings.hotKey.key = u"canary-key"_qs;
    store.save(settings);
    store.load();
    defaults.contents = {{storedKey(9), defaults.contents.at(storedKey(10))}};
    store.load();
    defaults.contents = {{storedKey(10), "canary"}, {storedKey(1), "{\"canary\":1}"}};
    store.load();
    defaults.failWriting(std::errc::io_error);
    store.save(settings);
    store.reset();
    EXPECT_FALSE(log.holds("canary"));
    EXPECT_GT(log.lines().size(), 5U);
}

} // namespace lumivane
