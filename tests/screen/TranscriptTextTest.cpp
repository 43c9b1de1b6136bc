#include "screen/TranscriptText.h"

#include "domain/Characters.h"

#include <gtest/gtest.h>

namespace lumivane::ScreenTextLayout {

// Repeats

TEST(TranscriptText, LineTwiceInARowKeepsOneCopy) {
    EXPECT_EQ(collapseRepeats(u"a\na\nb"_qs), u"a\nb"_qs);
    EXPECT_EQ(collapseRepeats(u"a\na\na\na\na"_qs), u"a"_qs);
}

TEST(TranscriptText, LineFiveTimesApartKeepsThree) {
    EXPECT_EQ(collapseRepeats(u"x\na\nx\nb\nx\nc\nx\nd\nx"_qs), u"x\na\nx\nb\nx\nc\nd"_qs);
}

TEST(TranscriptText, DroppedRepeatIsNotCounted) {
    EXPECT_EQ(collapseRepeats(u"x\nx\na\nx\nx\nb\nx\nx"_qs), u"x\na\nx\nb\nx"_qs);
}

TEST(TranscriptText, DroppedLineBringsItsNeighboursTogether) {
    // The fourth x goes, so that the second "a" follows the first in the output.
    EXPECT_EQ(collapseRepeats(u"x\nb\nx\nc\nx\na\nx\na"_qs), u"x\nb\nx\nc\nx\na"_qs);
}

TEST(TranscriptText, EmptyLinesAllStayAndPartEqualLines) {
    EXPECT_EQ(collapseRepeats(u"\n\n\n\n\n"_qs), u"\n\n\n\n\n"_qs);
    EXPECT_EQ(collapseRepeats(u"a\n\na\n\n\na\n\na"_qs), u"a\n\na\n\n\na\n"_qs);
    EXPECT_EQ(collapseRepeats(QString()), QString());
}

TEST(TranscriptText, LinesAreEqualByTheirCodePoints) {
    EXPECT_EQ(collapseRepeats(u"é\ne\u0301\nÉ"_qs), u"é\ne\u0301\nÉ"_qs);
    EXPECT_EQ(collapseRepeats(u"a \na"_qs), u"a \na"_qs);
}

// Normalising

TEST(TranscriptText, TextIsComposed) {
    EXPECT_EQ(normalize(u"cafe\u0301"_qs), u"caf\u00E9"_qs);
    EXPECT_EQ(normalize(u"\uFB01"_qs), u"\uFB01"_qs); // canonical, not compatible
}

TEST(TranscriptText, ZeroWidthJoinerLeavesNoBlank) {
    EXPECT_EQ(normalize(u"wo\u200Drd"_qs), u"word"_qs);
}

TEST(TranscriptText, EveryDiscardableScalarGoes) {
    const auto isListed = [](char32_t scalar) {
        return scalar <= 0x08 || scalar == 0x0B || scalar == 0x0C ||
               (scalar >= 0x0E && scalar <= 0x1F) || (scalar >= 0x7F && scalar <= 0x9F) ||
               (scalar >= 0x200B && scalar <= 0x200F) || (scalar >= 0x2028 && scalar <= 0x202E) ||
               (scalar >= 0x2060 && scalar <= 0x2064) || scalar == 0xFEFF;
    };
    for (char32_t scalar = 0; scalar < 0x11000; ++scalar) {
        ASSERT_EQ(isDiscardable(scalar), isListed(scalar)) << static_cast<unsigned>(scalar);
    }
    EXPECT_EQ(normalize(u"a\u0000b\u0008c\u000Bd\u000Ce\u001Ff"_qs), u"abcdef"_qs);
    EXPECT_EQ(normalize(u"a\u007Fb\u0085c\u2028d\u202Ee\u2064f\uFEFFg"_qs), u"abcdefg"_qs);
}

TEST(TranscriptText, NeighboursOfTheDiscardableStay) {
    EXPECT_EQ(normalize(u"a\u200Ab\u2010c\u2027d\u202Fe\u205Ff\u2065g"_qs),
              u"a\u200Ab\u2010c\u2027d\u202Fe\u205Ff\u2065g"_qs);
    EXPECT_EQ(normalize(u"a\rb"_qs), u"a\rb"_qs);
}

TEST(TranscriptText, TabBecomesOneBlankAndFiveBlanksThree) {
    EXPECT_EQ(normalize(u"a\tb"_qs), u"a b"_qs);
    EXPECT_EQ(normalize(u"a     b"_qs), u"a   b"_qs);
    EXPECT_EQ(normalize(u"a    b"_qs), u"a   b"_qs);
    EXPECT_EQ(normalize(u"a   b  c"_qs), u"a   b  c"_qs);
    EXPECT_EQ(normalize(u"a \t\t b"_qs), u"a   b"_qs); // tabs count as blanks of a run
    EXPECT_EQ(normalize(u"      a"_qs), u"   a"_qs);
    EXPECT_EQ(normalize(u"a\u00A0\u00A0\u00A0\u00A0b"_qs), u"a\u00A0\u00A0\u00A0\u00A0b"_qs);
}

TEST(TranscriptText, BlanksAtTheEndOfALineGo) {
    EXPECT_EQ(normalize(u"a  \nb\t\nc \t \nd"_qs), u"a\nb\nc\nd"_qs);
    EXPECT_EQ(normalize(u"a \u200B"_qs), u"a"_qs); // seen only once the invisible is gone
}

TEST(TranscriptText, BlankLinesAreHeldToTwoInARow) {
    EXPECT_EQ(normalize(u"a\n\nb"_qs), u"a\n\nb"_qs);
    EXPECT_EQ(normalize(u"a\n\n\nb"_qs), u"a\n\n\nb"_qs);
    EXPECT_EQ(normalize(u"a\n\n\n\nb"_qs), u"a\n\n\nb"_qs);
    EXPECT_EQ(normalize(u"a\n\n\n\n\n\n\nb\n\n\n\nc"_qs), u"a\n\n\nb\n\n\nc"_qs);
    EXPECT_EQ(normalize(u"a\n \n\t\n\u200B\n\nb"_qs), u"a\n\n\nb"_qs); // blank once tidied
}

TEST(TranscriptText, NewlinesAtBothEndsGo) {
    EXPECT_EQ(normalize(u"\n\n\na\nb\n\n\n"_qs), u"a\nb"_qs);
    EXPECT_EQ(normalize(u"\r\na\r\n"_qs), u"a"_qs);
    EXPECT_EQ(normalize(u" a"_qs), u" a"_qs); // blanks in front are no newlines
    EXPECT_EQ(normalize(u"\n\n\n"_qs), QString());
    EXPECT_EQ(normalize(QString()), QString());
}

TEST(TranscriptText, HalfASurrogatePairDoesNotStopTheTidying) {
    const QString broken = u"a"_qs + QChar(0xD800) + u"     b  "_qs;
    EXPECT_EQ(normalize(broken), u"a"_qs + QChar(0xD800) + u"   b"_qs);
}

// Truncating

TEST(TranscriptText, MarkerCountsInDecimal) {
    EXPECT_EQ(marker(1234), u"\n[\u2026 1234 characters omitted \u2026]\n"_qs);
    EXPECT_EQ(marker(1), u"\n[\u2026 1 characters omitted \u2026]\n"_qs);
}

TEST(TranscriptText, TextAtTheLimitIsUnchanged) {
    const QString text(12000, u'x');
    EXPECT_EQ(truncateMiddleOut(text), (ScreenTextLayoutResult{text, false}));
    EXPECT_EQ(truncateMiddleOut(QString()), ScreenTextLayoutResult{});
}

/// `length` characters, no two neighbours alike.
QString counted(int length) {
    QString text;
    for (int index = 0; index < length; ++index) {
        text += QChar(u'0' + index % 10);
    }
    return text;
}

TEST(TranscriptText, OneCharacterMoreIsTruncatedAroundTheMarker) {
    const QString text = counted(12001);
    const ScreenTextLayoutResult result = truncateMiddleOut(text);
    // The marker with a two-digit count is 29 characters long, so 11,971 stay and 30 go.
    const QString expected =
        text.first(7182) + u"\n[… 30 characters omitted …]\n"_qs + text.last(4789);
    EXPECT_EQ(result, (ScreenTextLayoutResult{expected, true}));
    EXPECT_EQ(result.text.size(), 12000);
}

TEST(TranscriptText, TruncatedTextIsExactlyTheLimitForEveryWidthOfTheCount) {
    for (const int length : {12001, 12068, 12069, 12070, 12071, 12967, 12968, 12969, 12970, 13000,
                             21966, 21967, 21968, 21969, 50000, 111965, 111966, 111967, 300000}) {
        const QString text = counted(length);
        const ScreenTextLayoutResult result = truncateMiddleOut(text);
        ASSERT_TRUE(result.truncated);
        const qsizetype begin = result.text.indexOf(u"\n[…"_qs);
        const qsizetype end = result.text.indexOf(u"…]\n"_qs) + 3;
        const qsizetype kept = begin + (result.text.size() - end);
        EXPECT_EQ(result.text.sliced(begin, end - begin), marker(length - kept)) << length;
        EXPECT_EQ(begin, static_cast<qsizetype>(static_cast<double>(kept) * 0.6)) << length;
        EXPECT_EQ(result.text.first(begin), text.first(begin));
        EXPECT_EQ(result.text.sliced(end), text.last(result.text.size() - end));
        // A count that grows by a digit beside its own marker may never settle: one short, then.
        EXPECT_LE(result.text.size(), 12000) << length;
        EXPECT_GE(result.text.size(), 11999) << length;
    }
}

TEST(TranscriptText, LengthsAreCharactersAndNoneIsCut) {
    const QString woman = u"\U0001F469\u200D\U0001F4BB"_qs; // one character, five code units
    EXPECT_FALSE(truncateMiddleOut(woman.repeated(12000)).truncated);
    const ScreenTextLayoutResult result = truncateMiddleOut(woman.repeated(12001));
    EXPECT_EQ(result.text,
              woman.repeated(7182) + u"\n[… 30 characters omitted …]\n"_qs + woman.repeated(4789));
    EXPECT_EQ(characterCount(result.text), 12000);
}

} // namespace lumivane::ScreenTextLayout
