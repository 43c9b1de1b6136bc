#include "overlays/ShownAnswer.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>

namespace lumivane {

namespace {

QString shown(const QString& text) { return ShownAnswer::passage(text).plainText(); }

qsizetype longestLineOf(const QString& text) {
    qsizetype longest = 0;
    for (const QString& line : text.split(u'\n')) {
        longest = std::max(longest, line.size());
    }
    return longest;
}

} // namespace

TEST(ShownAnswer, AnswersOfAReasonableSizeAreShownAsTheyAre) {
    const QString answer =
        u"Two lines,\nwith  blanks , a family 👨‍👩‍👧 and a tab\t.\r\n"_qs.repeated(700);
    ASSERT_GT(answer.size(), 30'000);
    EXPECT_EQ(shown(answer), answer);
    EXPECT_EQ(shown({}), QString());
}

TEST(ShownAnswer, StylesStay) {
    StyledText text;
    text.append({.text = u"plain "_qs});
    text.append({.text = u"code"_qs, .isCode = true});
    EXPECT_EQ(ShownAnswer::passage(text), text);
}

TEST(ShownAnswer, AnEmbeddedObjectIsAReplacementCharacter) {
    EXPECT_EQ(shown(u"hello \uFFFC world"_qs), u"hello \uFFFD world"_qs);
}

TEST(ShownAnswer, WhatIsTooLongEndsWithAnEllipsis) {
    const QString line = QString(99, u'a') + u'\n';
    EXPECT_EQ(shown(line.repeated(1000)), line.repeated(1000)) << "100,000 characters have room";
    EXPECT_EQ(shown(line.repeated(1000) + u'b'), line.repeated(1000) + u'…');
}

TEST(ShownAnswer, TooManyLinesEndWithAnEllipsis) {
    EXPECT_EQ(shown(QString(200'000, u'\n')), QString(ShownAnswer::mostLines, u'\n') + u'…');
}

TEST(ShownAnswer, NoCharacterIsCutInTwo) {
    const QString answer = QString(ShownAnswer::longestLine - 1, u'a') + u"😀b"_qs;
    EXPECT_EQ(shown(answer), QString(ShownAnswer::longestLine - 1, u'a') + u"😀\nb"_qs);
    const QString lines = (QString(99, u'a') + u'\n').repeated(1000);
    EXPECT_EQ(shown(lines.chopped(1) + u"😀"_qs), lines.chopped(1) + u"😀"_qs);
}

TEST(ShownAnswer, ALongLineIsBrokenAtItsLastBlank) {
    const QString words = u"word "_qs.repeated(1000);
    const QString lines = shown(words);
    EXPECT_LE(longestLineOf(lines), ShownAnswer::longestLine);
    EXPECT_EQ(QString(lines).replace(u'\n', u' '), words) << "no word is lost or changed";
}

TEST(ShownAnswer, ALongWordIsBrokenWhereItIsTooLong) {
    const QString lines = shown(QString(3'500'000, u'x'));
    EXPECT_EQ(longestLineOf(lines.chopped(1)), ShownAnswer::longestLine);
    EXPECT_TRUE(lines.endsWith(u'…'));
    EXPECT_EQ(lines.count(u'x'), ShownAnswer::mostCharacters);
}

TEST(ShownAnswer, ALineThatSpansStylesIsBrokenToo) {
    StyledText text;
    for (int index = 0; index < 10; ++index) {
        text.append({.text = QString(1000, u'x'), .isCode = index % 2 == 0});
    }
    EXPECT_LE(longestLineOf(ShownAnswer::passage(text).plainText()), ShownAnswer::longestLine);
}

TEST(ShownAnswer, OneLineHasNoBreaksAndNoBlanksAround) {
    EXPECT_EQ(ShownAnswer::line(u"B\n"_qs), u"B"_qs);
    EXPECT_EQ(ShownAnswer::line(u"\n B"_qs), u"B"_qs);
    EXPECT_EQ(ShownAnswer::line(u"A\nC"_qs), u"A C"_qs);
    EXPECT_EQ(ShownAnswer::line(u"A\u2028C\u2029D"_qs), u"A C D"_qs);
    EXPECT_EQ(ShownAnswer::line(u"None of the above"_qs), u"None of the above"_qs);
}

} // namespace lumivane
