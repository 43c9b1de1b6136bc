#include "platform/linux/UserDefaultsText.h"

#include <gtest/gtest.h>

#include <random>

namespace lumivane {

using UserDefaultsText::Entries;
using UserDefaultsText::read;
using UserDefaultsText::write;

namespace {

/// Whether data comes back from its written form.
bool goesThereAndBack(const QByteArray& data) {
    const Entries entries{{u"key"_qs, data}};
    return read(write(entries)) == entries;
}

} // namespace

TEST(UserDefaultsText, NoEntriesAreAnEmptyObject) {
    EXPECT_EQ(write({}), "{}\n");
    EXPECT_EQ(read("{}\n"), Entries());
    EXPECT_EQ(read(""), std::nullopt);
}

TEST(UserDefaultsText, DataInUtf8IsPlainAndAnyOtherIsNot) {
    EXPECT_EQ(write({{u"a"_qs, "é"}}), "{\n  \"a\": \"é\"\n}\n");
    EXPECT_EQ(write({{u"a"_qs, "\xe9"}}), "{\n  \"a\": {\n    \"base64\": \"6Q==\"\n  }\n}\n");
}

TEST(UserDefaultsText, EveryPairOfBytesGoesThereAndBack) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            QByteArray data(2, static_cast<char>(first));
            data[1] = static_cast<char>(second);
            ASSERT_TRUE(goesThereAndBack(data)) << data.toHex().constData();
        }
    }
}

TEST(UserDefaultsText, LongerRunsOfHighBytesGoThereAndBack) {
    std::mt19937 random(3);
    std::uniform_int_distribution<int> lead(0xe0, 0xff);
    std::uniform_int_distribution<int> next(0x80, 0xbf);
    for (int round = 0; round < 20'000; ++round) {
        QByteArray data(1, static_cast<char>(lead(random)));
        for (int count = 1 + round % 5; count > 0; --count) {
            data += static_cast<char>(next(random));
        }
        ASSERT_TRUE(goesThereAndBack(data)) << data.toHex().constData();
    }
}

TEST(UserDefaultsText, OnlyProperBase64IsTaken) {
    EXPECT_EQ(read(R"({"a":{"base64":""}})"), (Entries{{u"a"_qs, ""}}));
    EXPECT_EQ(read(R"({"a":{"base64":"/w=="}})"), (Entries{{u"a"_qs, "\xff"}}));
    EXPECT_EQ(read(R"({"a":{"base64":"/w=!"}})"), std::nullopt);
    EXPECT_EQ(read(R"({"a":{"base64":"é"}})"), std::nullopt);
    EXPECT_EQ(read(R"({"a":{"base64":"/w==","base64":"/w=="}})"), std::nullopt);
    EXPECT_EQ(read(R"({"a":{"Base64":"/w=="}})"), std::nullopt);
}

TEST(UserDefaultsText, AKeyThatStandsThereTwiceFailsHoweverItIsWritten) {
    EXPECT_EQ(read(R"({"a":"x","\u0061":"x"})"), std::nullopt);
}

TEST(UserDefaultsText, ManyKeysTakeNoLongerEach) {
    Entries entries;
    for (int number = 0; number < 50'000; ++number) {
        entries[QString::number(number)] = "x";
    }
    const QByteArray text = write(entries);
    ASSERT_LT(text.size(), UserDefaultsText::maximumBytes);
    EXPECT_EQ(read(text), entries);
}

TEST(UserDefaultsText, TheLimitIsHeld) {
    const QByteArray text = "{}";
    const qsizetype rest = UserDefaultsText::maximumBytes - text.size();
    EXPECT_TRUE(read(text + QByteArray(rest, ' ')).has_value());
    EXPECT_EQ(read(text + QByteArray(rest + 1, ' ')), std::nullopt);
}

} // namespace lumivane
