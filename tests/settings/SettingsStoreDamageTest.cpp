#include "StoredForms.h"
#include "domain/StrictJson.h"
#include "settings/SettingsStore.h"
#include "support/FakeUserDefaults.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace lumivane {

using test::storedForm;
using test::storedKey;

namespace {

/// What a store with this content loads.
AppSettings loaded(std::map<QString, QByteArray> contents) {
    test::FakeUserDefaults defaults;
    defaults.contents = std::move(contents);
    return SettingsStore(defaults).load();
}

std::vector<Json> valuesOfEveryType() {
    return {nullptr, true, false, 0, 1.5, "text", "", "corner", Json::array(), Json::object()};
}

/// Whether a value of the settings, as the current form has it, could be the other one too.
bool isOfSameType(const Json& value, const Json& other) {
    return value.type() == other.type() || (value.is_number() && other.is_number());
}

} // namespace

TEST(SettingsStoreDamage, ACurrentFormCutAnywhereGivesTheOlderForm) {
    const QByteArray whole = storedForm(u"v10"_qs);
    const QByteArray older = storedForm(u"v9"_qs);
    for (qsizetype size = 0; size < whole.size(); ++size) {
        ASSERT_EQ(loaded({{storedKey(10), whole.first(size)}, {storedKey(9), older}}),
                  test::ninthSettings())
            << size;
    }
    EXPECT_EQ(loaded({{storedKey(10), whole}, {storedKey(9), older}}), test::currentSettings());
}

TEST(SettingsStoreDamage, AnyFormCutAnywhereGivesTheDefaults) {
    for (int version = 1; version <= 10; ++version) {
        const QByteArray whole = storedForm(u"v"_qs + QString::number(version));
        for (qsizetype size = 0; size < whole.size(); ++size) {
            ASSERT_EQ(loaded({{storedKey(version), whole.first(size)}}), AppSettings::defaults())
                << version << " at " << size;
        }
    }
}

TEST(SettingsStoreDamage, AnOlderFormCutAnywhereGivesTheNextOlderOne) {
    const QByteArray whole = storedForm(u"v2"_qs);
    const QByteArray first = storedForm(u"v1"_qs);
    const AppSettings expected = loaded({{storedKey(1), first}});
    ASSERT_EQ(expected.customPrompt, u"From the first form."_qs);
    for (qsizetype size = 0; size < whole.size(); ++size) {
        ASSERT_EQ(loaded({{storedKey(2), whole.first(size)}, {storedKey(1), first}}), expected)
            << size;
    }
}

TEST(SettingsStoreDamage, AnyValueOfTheWrongTypeFailsTheWhole) {
    const Json whole = parseJson(storedForm(u"v10"_qs));
    ASSERT_EQ(whole.size(), 31U);
    for (const auto& [key, value] : whole.items()) {
        int tried = 0;
        for (const Json& other : valuesOfEveryType()) {
            if (isOfSameType(value, other)) {
                continue;
            }
            Json damaged = whole;
            damaged[key] = other;
            for (const int version : {10, 9}) {
                EXPECT_EQ(loaded({{storedKey(version), writeJson(damaged)}}),
                          AppSettings::defaults())
                    << key << ' ' << other.dump();
            }
            ++tried;
        }
        EXPECT_GE(tried, 7) << key;
    }
}

TEST(SettingsStoreDamage, AnyValueOfTheWrongTypeFailsTheFirstForm) {
    const Json whole = parseJson(storedForm(u"v1"_qs));
    for (const auto& [key, value] : whole.items()) {
        for (const Json& other : valuesOfEveryType()) {
            if (!isOfSameType(value, other)) {
                Json damaged = whole;
                damaged[key] = other;
                EXPECT_EQ(loaded({{storedKey(1), writeJson(damaged)}}), AppSettings::defaults())
                    << key << ' ' << other.dump();
            }
        }
    }
}

TEST(SettingsStoreDamage, AnyKeyThatIsMissingOrThereTwiceFailsTheWhole) {
    const QByteArray form = storedForm(u"v10"_qs);
    const Json whole = parseJson(form);
    for (const auto& [key, value] : whole.items()) {
        Json without = whole;
        without.erase(key);
        EXPECT_EQ(loaded({{storedKey(10), writeJson(without)}}), AppSettings::defaults()) << key;
        const std::string twice = "{\"" + key + "\":" + value.dump() + ",";
        EXPECT_EQ(loaded({{storedKey(10), QByteArray::fromStdString(twice) + form.mid(1)}}),
                  AppSettings::defaults())
            << key;
    }
}

TEST(SettingsStoreDamage, UnknownKeysAreIgnored) {
    QByteArray form = storedForm(u"v10"_qs);
    form.insert(1, "\"future\":[{\"a\":null}],\"future\":2,");
    EXPECT_EQ(loaded({{storedKey(10), form}}), test::currentSettings());
}

TEST(SettingsStoreDamage, AByteOrderMarkOrWhiteSpaceHarmsNothing) {
    const QByteArray form = storedForm(u"v10"_qs);
    EXPECT_EQ(loaded({{storedKey(10), "\xef\xbb\xbf" + form}}), test::currentSettings());
    EXPECT_EQ(loaded({{storedKey(10), "\r\n\t " + form + " \n"}}), test::currentSettings());
    EXPECT_EQ(loaded({{storedKey(10), form + QByteArray(1, '\0')}}), AppSettings::defaults());
    EXPECT_EQ(loaded({{storedKey(10), form + "x"}}), AppSettings::defaults());
}

TEST(SettingsStoreDamage, RandomBytesGiveTheDefaults) {
    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<int> size(0, 3000);
    for (int round = 0; round < 2000; ++round) {
        QByteArray bytes(size(random), Qt::Uninitialized);
        for (char& each : bytes) {
            each = static_cast<char>(byte(random));
        }
        const int version = 1 + round % 10;
        ASSERT_EQ(loaded({{storedKey(version), bytes}}), AppSettings::defaults()) << round;
    }
}

TEST(SettingsStoreDamage, AFormWithOneByteChangedIsWholeOrNotThere) {
    std::mt19937 random(7);
    for (int version = 1; version <= 10; ++version) {
        const QByteArray whole = storedForm(u"v"_qs + QString::number(version));
        std::uniform_int_distribution<qsizetype> place(0, whole.size() - 1);
        std::uniform_int_distribution<int> byte(0, 255);
        for (int round = 0; round < 300; ++round) {
            QByteArray changed = whole;
            changed[place(random)] = static_cast<char>(byte(random));
            test::FakeUserDefaults defaults;
            defaults.contents = {{storedKey(version), changed}};
            SettingsStore store(defaults);
            const AppSettings settings = store.load();
            ASSERT_TRUE(settings == AppSettings::defaults() || settings.configured);
            ASSERT_EQ(store.load(), settings);
        }
    }
}

TEST(SettingsStoreDamage, WhatIsTooLargeIsNotThere) {
    QByteArray form = storedForm(u"v10"_qs);
    const QByteArray older = storedForm(u"v9"_qs);
    form += QByteArray(5 * 1024 * 1024, ' ');
    EXPECT_EQ(loaded({{storedKey(10), form}, {storedKey(9), older}}), test::ninthSettings());
}

} // namespace lumivane
