#include "notes/NoteNaming.h"

#include "SampleNotes.h"

#include <QTimeZone>

#include <gtest/gtest.h>

#include <ctime>
#include <random>

namespace lumivane {

using test::sampleNote;

namespace {

/// The part of a file's name that comes from the title.
QString nameOf(const QString& title) {
    const QString stem = NoteNaming::fileStem(sampleNote(title));
    const QString ending = u" - 2026-11-21 12.41.54"_qs;
    EXPECT_TRUE(stem.endsWith(ending)) << stem.toStdString();
    return stem.chopped(ending.size());
}

qsizetype longestFileName(const QString& stem) {
    return (stem + u" (1000).html"_qs).toUtf8().size();
}

/// Puts a time zone in place of the system's.
class TimeZoneOverride {
public:
    explicit TimeZoneOverride(const QByteArray& zone)
        : m_before(qgetenv("TZ"))
        , m_wasSet(qEnvironmentVariableIsSet("TZ")) {
        qputenv("TZ", zone);
        tzset();
    }

    ~TimeZoneOverride() {
        m_wasSet ? qputenv("TZ", m_before) : qunsetenv("TZ");
        tzset();
    }

    TimeZoneOverride(const TimeZoneOverride&) = delete;
    TimeZoneOverride& operator=(const TimeZoneOverride&) = delete;

private:
    QByteArray m_before;
    bool m_wasSet;
};

const QString fallback = u"LeetCode solution"_qs;

} // namespace

TEST(NoteNaming, ATitleNamesProgramQuestionAndTime) {
    EXPECT_EQ(NoteNaming::title(sampleNote(u"1. Two \"Sum\""_qs)),
              u"Lumivane LeetCode — 1. Two \"Sum\" — 2026-11-21 12:41:54"_qs);
}

TEST(NoteNaming, TimesStandInTheSystemsZoneAndInPlainDigits) {
    const TimeZoneOverride zone("XST-05:30");
    const QDateTime moment(QDate(2026, 1, 2), QTime(20, 4, 5, 999), Qt::UTC);
    EXPECT_EQ(NoteNaming::timestamp(moment), u"2026-01-03 01:34:05"_qs);
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    EXPECT_EQ(NoteNaming::timestamp(moment), u"2026-01-03 01:34:05"_qs);
    QLocale::setDefault(before);
}

TEST(NoteNaming, HoursRunToTwentyFour) {
    EXPECT_EQ(NoteNaming::timestamp(QDateTime(QDate(2026, 12, 31), QTime(0, 0))),
              u"2026-12-31 00:00:00"_qs);
    EXPECT_EQ(NoteNaming::timestamp(QDateTime(QDate(2026, 12, 31), QTime(23, 59, 59))),
              u"2026-12-31 23:59:59"_qs);
}

TEST(NoteNaming, AFileIsNamedForTitleAndTime) {
    EXPECT_EQ(NoteNaming::fileStem(sampleNote(u"Two Sum"_qs)), u"Two Sum - 2026-11-21 12.41.54"_qs);
    EXPECT_EQ(nameOf(u"1. Straße, 漢字 & œuvre (II)"_qs), u"1. Straße, 漢字 & œuvre (II)"_qs);
}

TEST(NoteNaming, ANoteOfNoTimeIsNamedForItsTitle) {
    LeetCodeNote note = sampleNote(u"Two Sum."_qs);
    note.createdAt = QDateTime();
    EXPECT_EQ(NoteNaming::fileStem(note), u"Two Sum"_qs);
}

TEST(NoteNaming, WhatSeparatesFoldersOrMeansSomethingToAFileSystemBecomesABlank) {
    EXPECT_EQ(nameOf(u"a/b\\c:d*e?f\"g<h>i|j"_qs), u"a b c d e f g h i j"_qs);
    EXPECT_EQ(nameOf(u"../../etc/passwd"_qs), u"etc passwd"_qs);
    EXPECT_EQ(nameOf(u"/"_qs), fallback);
}

TEST(NoteNaming, ControlsAndLineEndingsBecomeBlanks) {
    EXPECT_EQ(nameOf(u"a"_qs + QChar(QChar::Null) + u"b\u0001c\x7f\u0085d"_qs), u"a b c d"_qs);
    EXPECT_EQ(nameOf(u"a\r\n\tb\u2028c\u00A0 d"_qs), u"a b c d"_qs);
    EXPECT_EQ(nameOf(QString(3, QChar(QChar::Null))), fallback);
}

TEST(NoteNaming, MarksThatTurnTextAroundOrHideGo) {
    EXPECT_EQ(nameOf(u"gpj.\u202Eexe\u202C"_qs), u"gpj.exe"_qs);
    EXPECT_EQ(nameOf(u"\u200Ea\u200Fb\u061Cc\u2066d\u2069e\uFEFFf\u200Bg\u00ADh"_qs),
              u"abcdefgh"_qs);
    EXPECT_EQ(nameOf(u"שלום"_qs), u"שלום"_qs);
    EXPECT_EQ(nameOf(u"\u202E"_qs), fallback);
}

TEST(NoteNaming, JoinersThatWordsAndEmojiNeedStay) {
    const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_qs;
    EXPECT_EQ(nameOf(family), family);
    EXPECT_EQ(nameOf(u"می\u200Cخواهم"_qs), u"می\u200Cخواهم"_qs);
    EXPECT_EQ(nameOf(u"\u200D\u200C"_qs), fallback);
}

TEST(NoteNaming, ATitleOfOnlyEmojiIsAName) {
    EXPECT_EQ(nameOf(u"\U0001F600\U0001F680"_qs), u"\U0001F600\U0001F680"_qs);
}

TEST(NoteNaming, WhatIsNoCharacterGoes) {
    EXPECT_EQ(nameOf(u"a"_qs + QChar(0xD800) + u"b"_qs + QChar(0xDC00)), u"ab"_qs);
    EXPECT_EQ(nameOf(u"a\uFFFEb\uE000c"_qs), u"abc"_qs);
    EXPECT_EQ(nameOf(QString(QChar(0xDBFF))), fallback);
}

TEST(NoteNaming, OuterDotsAndBlanksGo) {
    EXPECT_EQ(nameOf(u" . .hidden. . "_qs), u"hidden"_qs);
    EXPECT_EQ(nameOf(u"a..b"_qs), u"a..b"_qs);
    EXPECT_EQ(nameOf(u"..."_qs), fallback);
    EXPECT_EQ(nameOf(u""_qs), fallback);
    EXPECT_EQ(nameOf(u"   "_qs), fallback);
}

TEST(NoteNaming, CombiningMarksAloneAreNoName) { EXPECT_EQ(nameOf(u"\u0301\u0302"_qs), fallback); }

TEST(NoteNaming, OneSpellingOfACharacterIsUsed) {
    EXPECT_EQ(nameOf(u"cafe\u0301"_qs), u"caf\u00E9"_qs);
}

TEST(NoteNaming, NamesOfDevicesAreChanged) {
    for (const QString& device :
         {u"CON"_qs, u"nul"_qs, u"Aux"_qs, u"PRN"_qs, u"COM1"_qs, u"lpt9"_qs, u"com0"_qs,
          u"LPT³"_qs, u"CONIN$"_qs, u"conout$"_qs, u"con.txt"_qs, u"NUL .a.b"_qs}) {
        EXPECT_EQ(nameOf(device), u'_' + device);
    }
    for (const QString& harmless : {u"CONS"_qs, u"COM"_qs, u"COM10"_qs, u"COMx"_qs, u"a.con"_qs,
                                    u"Console"_qs, u"nullable"_qs}) {
        EXPECT_EQ(nameOf(harmless), harmless);
    }
}

TEST(NoteNaming, AThousandCharactersAreCutToWhatEveryFileSystemTakes) {
    const QString stem = NoteNaming::fileStem(sampleNote(QString(1000, u'x')));
    EXPECT_EQ(stem, QString(105, u'x') + u" - 2026-11-21 12.41.54"_qs);
    EXPECT_LE(longestFileName(stem), NoteNaming::maximumFileNameBytes);
    EXPECT_EQ(stem.toUtf8().size() + NoteNaming::reservedFileNameBytes,
              NoteNaming::maximumFileNameBytes);
}

TEST(NoteNaming, TheCutFallsBetweenCharacters) {
    EXPECT_EQ(nameOf(u"漢"_qs.repeated(1000)), u"漢"_qs.repeated(35));
    EXPECT_EQ(nameOf(u"x"_qs + u"漢"_qs.repeated(1000)), u"x"_qs + u"漢"_qs.repeated(34));
    const QString family = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_qs; // 18 bytes
    EXPECT_EQ(nameOf(family.repeated(100)), family.repeated(5));
    EXPECT_EQ(nameOf(QString(100, u'x') + u"y\u0335\u0336\u0337"_qs), QString(100, u'x'));
}

TEST(NoteNaming, ACutThatEndsInABlankOrDotLosesIt) {
    EXPECT_EQ(nameOf(QString(103, u'x') + u". tail"_qs), QString(103, u'x'));
}

TEST(NoteNaming, ACharacterTooLongForAnyNameIsCutItself) {
    const QString tower = u"a"_qs + u"\u0335"_qs.repeated(500);
    EXPECT_EQ(nameOf(tower), u"a"_qs + u"\u0335"_qs.repeated(52));
}

TEST(NoteNaming, TenMebibytesOfTitleAreNoMoreWork) {
    EXPECT_EQ(nameOf(QString(10 * 1024 * 1024, u'y')), QString(105, u'y'));
    EXPECT_EQ(nameOf(u"\u0335\u0301"_qs.repeated(5 * 1024 * 1024)), fallback);
}

TEST(NoteNaming, APrefixTakesWhatFits) {
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"abc", 3), u"abc"_qs);
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"abc", 2), u"ab"_qs);
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"aé", 2), u"a"_qs);
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"aé", 3), u"aé"_qs);
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"\U0001F600", 3), QString());
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"\U0001F600", 4), u"\U0001F600"_qs);
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"e\u0301x", 2), u"e"_qs);
    EXPECT_EQ(NoteNaming::prefixOfBytes(u"", 0), QString());
}

TEST(NoteNaming, AnyTitleMakesASafeName) {
    std::mt19937 random(5);
    for (int round = 0; round < 5'000; ++round) {
        QString title;
        const std::size_t count = random() % 300;
        for (std::size_t index = 0; index < count; ++index) {
            const bool isPlain = random() % 2 == 0;
            title += QChar(static_cast<char16_t>(isPlain ? random() % 0x80 : random() % 0x10000));
        }
        const QString stem = NoteNaming::fileStem(sampleNote(title));
        ASSERT_LE(longestFileName(stem), NoteNaming::maximumFileNameBytes);
        ASSERT_EQ(QString::fromUtf8(stem.toUtf8()), stem);
        ASSERT_FALSE(stem.startsWith(u'.') || stem.startsWith(u' '));
        for (const QChar unit : stem) {
            ASSERT_FALSE(unit.category() == QChar::Other_Control ||
                         u"/\\:*?\"<>|"_qs.contains(unit))
                << stem.toStdString();
        }
    }
}

} // namespace lumivane
