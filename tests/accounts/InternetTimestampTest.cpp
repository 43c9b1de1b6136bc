#include "accounts/InternetTimestamp.h"

#include <gtest/gtest.h>

#include <random>

namespace lumivane {

namespace {

QDateTime utc(int year, int month, int day, int hour, int minute, int second, int milli = 0) {
    return {QDate(year, month, day), QTime(hour, minute, second, milli), Qt::UTC};
}

std::optional<QDateTime> read(const char* text) {
    return InternetTimestamp::read(QString::fromUtf8(text));
}

std::optional<QDateTime> readPlain(const char* text) {
    return InternetTimestamp::readPlain(QString::fromUtf8(text));
}

} // namespace

TEST(InternetTimestamp, ReadsWithAndWithoutAFraction) {
    EXPECT_EQ(read("2026-11-15T06:25:30Z"), utc(2026, 11, 15, 6, 25, 30));
    EXPECT_EQ(read("2026-11-15T06:25:30.123Z"), utc(2026, 11, 15, 6, 25, 30, 123));
    EXPECT_EQ(read("2026-11-15T06:25:30Z")->timeSpec(), Qt::UTC);
}

TEST(InternetTimestamp, FractionsHaveOneToNineDigitsAndAreCutToMilliseconds) {
    EXPECT_EQ(read("2026-11-15T06:25:30.1Z"), utc(2026, 11, 15, 6, 25, 30, 100));
    EXPECT_EQ(read("2026-11-15T06:25:30.01Z"), utc(2026, 11, 15, 6, 25, 30, 10));
    EXPECT_EQ(read("2026-11-15T06:25:30.0019Z"), utc(2026, 11, 15, 6, 25, 30, 1));
    EXPECT_EQ(read("2026-11-15T06:25:30.999999999Z"), utc(2026, 11, 15, 6, 25, 30, 999));
    EXPECT_EQ(read("2026-11-15T06:25:30.000000000Z"), utc(2026, 11, 15, 6, 25, 30));
    EXPECT_FALSE(read("2026-11-15T06:25:30.Z"));
    EXPECT_FALSE(read("2026-11-15T06:25:30.1234567890Z"));
    EXPECT_FALSE(read("2026-11-15T06:25:30,123Z"));
}

TEST(InternetTimestamp, OffsetsAreTakenOff) {
    EXPECT_EQ(read("2026-11-15T06:25:30+02:00"), utc(2026, 11, 15, 4, 25, 30));
    EXPECT_EQ(read("2026-11-15T06:25:30-02:30"), utc(2026, 11, 15, 8, 55, 30));
    EXPECT_EQ(read("2026-11-15T06:25:30.5+00:00"), utc(2026, 11, 15, 6, 25, 30, 500));
    EXPECT_EQ(read("2026-12-31T23:59:59-23:59"), utc(2027, 1, 1, 23, 58, 59));
    EXPECT_EQ(read("2026-01-01T00:00:00+00:01"), utc(2025, 12, 31, 23, 59, 0));
    EXPECT_EQ(read("2026-01-01T00:00:00-00:00"), utc(2026, 1, 1, 0, 0, 0));
    EXPECT_FALSE(read("2026-11-15T06:25:30+24:00"));
    EXPECT_FALSE(read("2026-11-15T06:25:30+02:60"));
    EXPECT_FALSE(read("2026-11-15T06:25:30+0200"));
    EXPECT_FALSE(read("2026-11-15T06:25:30+02"));
    EXPECT_FALSE(read("2026-11-15T06:25:30+2:00"));
    EXPECT_FALSE(read("2026-11-15T06:25:30Z+02:00"));
    EXPECT_FALSE(read("2026-11-15T06:25:30\u221202:00"));
}

TEST(InternetTimestamp, RefusesTimesThatTheClockDoesNotShow) {
    EXPECT_EQ(read("2026-11-15T23:59:59Z"), utc(2026, 11, 15, 23, 59, 59));
    EXPECT_FALSE(read("2026-11-15T24:00:00Z"));
    EXPECT_FALSE(read("2026-11-15T23:60:00Z"));
    EXPECT_FALSE(read("2026-11-15T23:59:60Z"));
    EXPECT_FALSE(read("2016-12-31T23:59:60Z"));
}

TEST(InternetTimestamp, RefusesDaysThatTheCalendarDoesNotHave) {
    EXPECT_EQ(read("2028-02-29T00:00:00Z"), utc(2028, 2, 29, 0, 0, 0));
    EXPECT_EQ(read("2000-02-29T00:00:00Z"), utc(2000, 2, 29, 0, 0, 0));
    EXPECT_FALSE(read("2026-02-29T00:00:00Z"));
    EXPECT_FALSE(read("2100-02-29T00:00:00Z"));
    EXPECT_FALSE(read("2026-13-01T00:00:00Z"));
    EXPECT_FALSE(read("2026-00-01T00:00:00Z"));
    EXPECT_FALSE(read("2026-04-31T00:00:00Z"));
    EXPECT_FALSE(read("2026-04-00T00:00:00Z"));
}

TEST(InternetTimestamp, StaysWithinFourDigitsOfYear) {
    EXPECT_EQ(read("0001-01-01T00:00:00Z"), utc(1, 1, 1, 0, 0, 0));
    EXPECT_EQ(read("9999-12-31T23:59:59.999Z"), utc(9999, 12, 31, 23, 59, 59, 999));
    EXPECT_FALSE(read("0000-01-01T00:00:00Z"));
    EXPECT_FALSE(read("0001-01-01T00:00:00+00:01"));
    EXPECT_FALSE(read("9999-12-31T23:59:59-00:01"));
    EXPECT_FALSE(read("12026-11-15T06:25:30Z"));
    EXPECT_FALSE(read("-2026-11-15T06:25:30Z"));
    EXPECT_FALSE(read("+2026-11-15T06:25:30Z"));
}

TEST(InternetTimestamp, RefusesEveryOtherForm) {
    for (const char* text :
         {"", "2026-11-15", "2026-11-15T06:25:30", "2026-11-15T06:25Z", "2026-11-15t06:25:30Z",
          "2026-11-15T06:25:30z", "2026-11-15 06:25:30Z", " 2026-11-15T06:25:30Z",
          "2026-11-15T06:25:30Z ", "2026-11-15T06:25:30Z\n", "20261115T062530Z", "now",
          "1794723930", "2026-11-15T6:25:30Z", "2026-W46-7T06:25:30Z", "2026-319T06:25:30Z",
          "Sun, 15 Nov 2026 06:25:30 GMT", "2026-11-15T06:25:30UTC",
          "\u0662\u0660\u0662\u0666-11-15T06:25:30Z"}) {
        EXPECT_FALSE(read(text)) << text;
        EXPECT_FALSE(readPlain(text)) << text;
    }
    EXPECT_FALSE(InternetTimestamp::read(u"2026-11-15T06:25:30Z\0"_qs));
}

TEST(InternetTimestamp, ThePlainFormHasNoFraction) {
    EXPECT_EQ(readPlain("2026-11-15T06:25:30Z"), utc(2026, 11, 15, 6, 25, 30));
    EXPECT_EQ(readPlain("2026-11-15T06:25:30+01:00"), utc(2026, 11, 15, 5, 25, 30));
    EXPECT_FALSE(readPlain("2026-11-15T06:25:30.0Z"));
    EXPECT_FALSE(readPlain("2026-11-15T06:25:30.123Z"));
}

TEST(InternetTimestamp, WritesUtcWithThreeDigitsOfFraction) {
    EXPECT_EQ(InternetTimestamp::write(utc(2026, 11, 15, 6, 25, 30, 7)),
              u"2026-11-15T06:25:30.007Z");
    EXPECT_EQ(InternetTimestamp::write(utc(2026, 1, 2, 3, 4, 5)), u"2026-01-02T03:04:05.000Z");
    const QDateTime elsewhere(QDate(2026, 1, 1), QTime(1, 0), Qt::OffsetFromUTC, 7200);
    EXPECT_EQ(InternetTimestamp::write(elsewhere), u"2025-12-31T23:00:00.000Z");
}

TEST(InternetTimestamp, WritesThePlainFormByCutting) {
    EXPECT_EQ(InternetTimestamp::writePlain(utc(2026, 11, 15, 6, 25, 30, 999)),
              u"2026-11-15T06:25:30Z");
    EXPECT_EQ(InternetTimestamp::writePlain(utc(7, 1, 1, 0, 0, 0)), u"0007-01-01T00:00:00Z");
}

TEST(InternetTimestamp, WritesNoDateThatCouldNotBeRead) {
    for (const QDateTime& date : {QDateTime(), utc(9999, 12, 31, 23, 59, 59).addSecs(1),
                                  utc(1, 1, 1, 0, 0, 0).addSecs(-1)}) {
        EXPECT_THROW(InternetTimestamp::write(date), EncodingError);
        EXPECT_THROW(InternetTimestamp::writePlain(date), EncodingError);
    }
    EXPECT_EQ(InternetTimestamp::writePlain(utc(9999, 12, 31, 23, 59, 59)),
              u"9999-12-31T23:59:59Z");
}

TEST(InternetTimestamp, ReadsWhatItWrites) {
    std::mt19937_64 random(20261115);
    const qint64 first = utc(1, 1, 1, 0, 0, 0).toMSecsSinceEpoch();
    const qint64 last = utc(9999, 12, 31, 23, 59, 59, 999).toMSecsSinceEpoch();
    std::uniform_int_distribution<qint64> moments(first, last);
    for (int round = 0; round < 2000; ++round) {
        const QDateTime date = QDateTime::fromMSecsSinceEpoch(moments(random), Qt::UTC);
        EXPECT_EQ(InternetTimestamp::read(InternetTimestamp::write(date)), date);
        const auto plain = InternetTimestamp::readPlain(InternetTimestamp::writePlain(date));
        ASSERT_TRUE(plain);
        EXPECT_LE(*plain, date);
        EXPECT_GT(plain->addSecs(1), date);
    }
}

} // namespace lumivane
