#include "overlays/InlineMarkdown.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace lumivane {

namespace {

QString shown(const QString& line) { return InlineMarkdown::parsed(line).plainText(); }

StyledText text(std::vector<StyledRun> runs) { return {std::move(runs)}; }

StyledRun plain(const QString& text) { return {.text = text}; }

StyledRun strong(const QString& text) { return {.text = text, .isStrong = true}; }

StyledRun emphasized(const QString& text) { return {.text = text, .isEmphasized = true}; }

StyledRun code(const QString& text) { return {.text = text, .isCode = true}; }

} // namespace

TEST(InlineMarkdown, EmptyLineIsAnEmptyText) {
    EXPECT_TRUE(InlineMarkdown::parsed(QString()).isEmpty());
}

TEST(InlineMarkdown, StylesOfALineAreRunsBesideThePlainText) {
    EXPECT_EQ(InlineMarkdown::parsed(u"a **b** *c* `d` ~~e~~ f"_qs),
              text({plain(u"a "_qs), strong(u"b"_qs), plain(u" "_qs), emphasized(u"c"_qs),
                    plain(u" "_qs), code(u"d"_qs), plain(u" "_qs),
                    StyledRun{.text = u"e"_qs, .isStruckThrough = true}, plain(u" f"_qs)}));
}

TEST(InlineMarkdown, UnderscoresMarkUpLikeAsterisksButNotInsideAWord) {
    EXPECT_EQ(InlineMarkdown::parsed(u"__a__ _b_"_qs),
              text({strong(u"a"_qs), plain(u" "_qs), emphasized(u"b"_qs)}));
    EXPECT_EQ(InlineMarkdown::parsed(u"two_sum_fast"_qs), text({plain(u"two_sum_fast"_qs)}));
}

TEST(InlineMarkdown, NestedMarkupAddsUp) {
    const StyledRun both{.text = u"a"_qs, .isStrong = true, .isEmphasized = true};
    EXPECT_EQ(InlineMarkdown::parsed(u"***a***"_qs), text({both}));
    EXPECT_EQ(InlineMarkdown::parsed(u"*a **b** c*"_qs),
              text({emphasized(u"a "_qs),
                    StyledRun{.text = u"b"_qs, .isStrong = true, .isEmphasized = true},
                    emphasized(u" c"_qs)}));
    EXPECT_EQ(InlineMarkdown::parsed(u"**uses `map`**"_qs),
              text({strong(u"uses "_qs),
                    StyledRun{.text = u"map"_qs, .isStrong = true, .isCode = true}}));
    EXPECT_EQ(InlineMarkdown::parsed(u"*a *b* c*"_qs), text({emphasized(u"a b c"_qs)}))
        << "the outer markup goes on where the inner ends";
}

TEST(InlineMarkdown, CodeSpanTakesEverythingAsWritten) {
    EXPECT_EQ(InlineMarkdown::parsed(u"`a*b*&amp;\\*<b>[x](y)`"_qs),
              text({code(u"a*b*&amp;\\*<b>[x](y)"_qs)}));
    EXPECT_EQ(InlineMarkdown::parsed(u"`` a`b ``"_qs), text({code(u"a`b"_qs)}));
    EXPECT_EQ(InlineMarkdown::parsed(u"`a  b`"_qs), text({code(u"a  b"_qs)}));
}

TEST(InlineMarkdown, MarkupOfBlocksStaysAsWritten) {
    for (const QString& line :
         {u"1. x"_qs, u"> q"_qs,      u"***"_qs,       u"---"_qs,       u"==="_qs,
          u"- x"_qs,  u"+ x"_qs,      u"#tag"_qs,      u"# x"_qs,       u"###### x"_qs,
          u"x #"_qs,  u"x ##"_qs,     u"x ## "_qs,     u"#"_qs,         u"##"_qs,
          u"~~~"_qs,  u"```"_qs,      u"| a | b |"_qs, u"|---|---|"_qs, u"[a]: http://x"_qs,
          u": x"_qs,  u"[ ] task"_qs, u"."_qs,         u" ."_qs,        u"x ."_qs,
          u"1) x"_qs, u"_ _ _"_qs}) {
        EXPECT_EQ(InlineMarkdown::parsed(line), text({plain(line)})) << line.toStdString();
    }
}

TEST(InlineMarkdown, BlanksStayWhereTheyAre) {
    for (const QString& line : {u"    four"_qs, u"\tx"_qs, u"a\tb"_qs, u"a    b"_qs, u"a   "_qs,
                                u"a\t"_qs, u" \t a \t "_qs, u" "_qs, u"\t"_qs, u"     "_qs,
                                u"\u00A0a\u00A0"_qs, u"\u3000a"_qs, u"\u000Ba\u000C"_qs}) {
        EXPECT_EQ(InlineMarkdown::parsed(line), text({plain(line)})) << line.toStdString();
    }
    EXPECT_EQ(InlineMarkdown::parsed(u"  **a**  "_qs),
              text({plain(u"  "_qs), strong(u"a"_qs), plain(u"  "_qs)}));
}

TEST(InlineMarkdown, MarkersWithoutAPartnerStayAsWritten) {
    for (const QString& line :
         {u"2 * 3 * 4"_qs,  u"*a"_qs,        u"a*"_qs,   u"**a"_qs, u"a**"_qs,
          u"`a"_qs,         u"``a`"_qs,      u"[a"_qs,   u"a]"_qs,  u"[a](b"_qs,
          u"![a"_qs,        u"![a](b"_qs,    u"~~a"_qs,  u"(a"_qs,  u"[a](<b)"_qs,
          u"[a](b \"c)"_qs, u"<http://x"_qs, u"&amp"_qs, u"&"_qs,   u"&;"_qs,
          u"&#;"_qs,        u"&#x;"_qs,      u"*"_qs,    u"_"_qs,   u"`"_qs,
          u"["_qs,          u"]"_qs,         u"!"_qs,    u"<"_qs,   u"n! ~ n"_qs}) {
        EXPECT_EQ(InlineMarkdown::parsed(line), text({plain(line)})) << line.toStdString();
    }
}

TEST(InlineMarkdown, BackslashEscapesPunctuationOnly) {
    EXPECT_EQ(InlineMarkdown::parsed(uR"(\*a\* \[b\] \`c\` \\ \# \&amp;)"_qs),
              text({plain(u"*a* [b] `c` \\ # &amp;"_qs)}));
    EXPECT_EQ(shown(uR"(C:\new\table)"_qs), uR"(C:\new\table)"_qs);
    EXPECT_EQ(shown(u"a\\"_qs), u"a\\"_qs);
    EXPECT_EQ(shown(u"a\\\\"_qs), u"a\\"_qs);
    EXPECT_EQ(shown(u"a \\  "_qs), u"a \\  "_qs);
    EXPECT_EQ(shown(u"\\"_qs), u"\\"_qs);
}

TEST(InlineMarkdown, LinksAndImagesAreTheirTextOnly) {
    EXPECT_EQ(InlineMarkdown::parsed(u"[x](y)"_qs), text({plain(u"x"_qs)}));
    EXPECT_EQ(shown(u"see [x](http://y \"title\") there"_qs), u"see x there"_qs);
    EXPECT_EQ(shown(u"[x](<a b> 'title')"_qs), u"x"_qs);
    EXPECT_EQ(shown(u"[x]()"_qs), u"x"_qs);
    EXPECT_EQ(shown(u"![alt](y.png)"_qs), u"alt"_qs);
    EXPECT_EQ(shown(u"![a *b* c](y.png \"t\")"_qs), u"a b c"_qs);
    EXPECT_EQ(shown(u"[![alt](i.png)](y)"_qs), u"alt"_qs);
    EXPECT_EQ(InlineMarkdown::parsed(u"[**x** y](z)"_qs), text({strong(u"x"_qs), plain(u" y"_qs)}));
}

TEST(InlineMarkdown, AutolinksAreTheirAddressAndReferencesStayAsWritten) {
    EXPECT_EQ(InlineMarkdown::parsed(u"<http://x>"_qs), text({plain(u"http://x"_qs)}));
    EXPECT_EQ(shown(u"<a@b.c>"_qs), u"a@b.c"_qs);
    EXPECT_EQ(InlineMarkdown::parsed(u"see http://x/a_b_c, www.y.z"_qs),
              text({plain(u"see http://x/a_b_c, www.y.z"_qs)}));
    EXPECT_EQ(shown(u"[x][y] [x][] [x]"_qs), u"[x][y] [x][] [x]"_qs);
}

TEST(InlineMarkdown, HtmlStaysVisibleAsWritten) {
    for (const QString& line :
         {u"<b>html</b>"_qs, u"a <!-- b --> c"_qs, u"<!-- -->"_qs, u"<div>"_qs, u"<?php ?>"_qs,
          u"<script>x</script>"_qs, u"vector<int> a"_qs, u"<![CDATA[x]]>"_qs, u"a<b && c>d"_qs,
          u"<a href=\"x\">y</a>"_qs, u"unordered_map<int, int>"_qs,
          u"<a href=\"*x*\" b='&amp;\\*'>"_qs, u"<!-- *a* `b` -->"_qs}) {
        EXPECT_EQ(InlineMarkdown::parsed(line), text({plain(line)})) << line.toStdString();
    }
    EXPECT_EQ(InlineMarkdown::parsed(u"<b>**x**</b>"_qs),
              text({plain(u"<b>"_qs), strong(u"x"_qs), plain(u"</b>"_qs)}));
}

TEST(InlineMarkdown, EntitiesAreTheCharactersThatTheyStandFor) {
    EXPECT_EQ(InlineMarkdown::parsed(u"a &lt; b &amp;&amp; c"_qs), text({plain(u"a < b && c"_qs)}));
    EXPECT_EQ(shown(u"&copy;&nbsp;&le;&#8804;"_qs), u"\u00A9\u00A0\u2264\u2264"_qs);
    EXPECT_EQ(shown(u"&unknown; &amp;lt;"_qs), u"&unknown; &lt;"_qs);
    EXPECT_EQ(InlineMarkdown::parsed(u"&#42;a&#42;"_qs), text({plain(u"*a*"_qs)}));
    EXPECT_EQ(InlineMarkdown::parsed(u"**&eacute;**"_qs), text({strong(u"\u00E9"_qs)}));
}

TEST(InlineMarkdown, EveryScriptComesThrough) {
    for (const QString& line : {u"\u4F7F\u7528\u54C8\u5E0C\u8868\u3002"_qs,
                                u"\u05E9\u05DC\u05D5\u05DD \u0645\u0631\u062D"_qs,
                                u"\U0001F600\U0001F468\u200D\U0001F469\u200D\U0001F467 e\u0301"_qs,
                                u"\u202Ertl\u202C \uFEFFx\u2028y"_qs}) {
        EXPECT_EQ(InlineMarkdown::parsed(line), text({plain(line)})) << line.toStdString();
    }
    EXPECT_EQ(InlineMarkdown::parsed(u"**\u54C8\u5E0C** \U0001F600"_qs),
              text({strong(u"\u54C8\u5E0C"_qs), plain(u" \U0001F600"_qs)}));
}

TEST(InlineMarkdown, WhatIsNoCharacterIsReplaced) {
    EXPECT_EQ(shown(u"a"_qs + QChar(0) + u"b"_qs), u"a\uFFFDb"_qs);
    EXPECT_EQ(shown(QString(QChar(0xD800)) + u"x"_qs).size(), 2);
    EXPECT_TRUE(shown(u"**x**"_qs + QChar(0xDC00)).startsWith(u'x'));
    EXPECT_TRUE(shown(QString(QChar(0xD83D)) + u" y"_qs).isValidUtf16());
}

TEST(InlineMarkdown, WhatIsNotOneLineStaysAsWritten) {
    for (const QString& line : {u"a\n- **b**"_qs, u"a\r**b**"_qs, u"\n"_qs, u"**a**\n"_qs}) {
        EXPECT_EQ(InlineMarkdown::parsed(line), text({plain(line)})) << line.toStdString();
    }
}

TEST(InlineMarkdown, LongLineComesThroughWhole) {
    const QString prose = u"some words, "_qs.repeated(3'400).left(40'000) + u"!"_qs;
    EXPECT_EQ(InlineMarkdown::parsed(prose), text({plain(prose)}));
    const auto styled = InlineMarkdown::parsed(u"**a** "_qs.repeated(10'000) + u"end"_qs);
    EXPECT_EQ(styled.runs.size(), 20'000U);
    EXPECT_EQ(styled.plainText(), u"a "_qs.repeated(10'000) + u"end"_qs);
}

TEST(InlineMarkdown, ManyMarkersWithoutAPartnerComeThroughWhole) {
    for (const QString& marker : {u"["_qs, u"*"_qs, u"_"_qs, u"!["_qs, u"[a]("_qs, u"<"_qs, u"&"_qs,
                                  u"~ "_qs, u"] "_qs, u"[["_qs, u"<a"_qs, u"[a](<b "_qs,
                                  u"<a b=\"c "_qs, u"<!-- "_qs, u"<?"_qs, u"<![CDATA["_qs}) {
        const QString line = u"x"_qs + marker.repeated(10'000) + u"x"_qs;
        EXPECT_EQ(shown(line), line) << marker.toStdString();
    }
}

TEST(InlineMarkdown, LineFullOfTildesStrikesNothingThrough) {
    const QString few = u"~~a~~ "_qs.repeated(50) + u"x"_qs;
    EXPECT_TRUE(InlineMarkdown::parsed(few).runs.front().isStruckThrough);
    const QString many = u"~~a~~ "_qs.repeated(51) + u"x **b**"_qs;
    EXPECT_EQ(InlineMarkdown::parsed(many),
              text({plain(u"~~a~~ "_qs.repeated(51) + u"x "_qs), strong(u"b"_qs)}));
}

TEST(InlineMarkdown, DeepNestingComesThroughWhole) {
    const auto nested =
        InlineMarkdown::parsed(u"*(a "_qs.repeated(5'000) + u")* "_qs.repeated(5'000));
    EXPECT_EQ(nested,
              text({emphasized(u"(a "_qs.repeated(5'000) + u") "_qs.repeated(4'999) + u")"_qs),
                    plain(u" "_qs)}));
    const QString brackets = u"["_qs.repeated(10'000) + u"a"_qs + u"]"_qs.repeated(10'000);
    EXPECT_EQ(shown(brackets), brackets);
}

TEST(InlineMarkdown, NoLineGrowsOrBreaksWhateverItHolds) {
    const std::array parts{u"*"_qs,
                           u"**"_qs,
                           u"_"_qs,
                           u"`"_qs,
                           u"``"_qs,
                           u"["_qs,
                           u"]"_qs,
                           u"("_qs,
                           u")"_qs,
                           u"!"_qs,
                           u"<"_qs,
                           u">"_qs,
                           u"&amp;"_qs,
                           u"&#10;"_qs,
                           u"&NewLine;"_qs,
                           u"\\"_qs,
                           u"~~"_qs,
                           u"#"_qs,
                           u"a"_qs,
                           u"b c"_qs,
                           u" "_qs,
                           u"\t"_qs,
                           u"\""_qs,
                           u"'"_qs,
                           u"http:"_qs,
                           u"&nGt;"_qs,
                           u"\u4F7F"_qs,
                           u"\U0001F600"_qs,
                           QString(QChar(0)),
                           QString(QChar(0xD800)),
                           QString(QChar(0xDC00)),
                           u"&#xD800;"_qs,
                           u"|"_qs};
    std::mt19937 random(20'250'101);
    for (int round = 0; round < 20'000; ++round) {
        QString line;
        for (auto count = random() % 24; count > 0; --count) {
            line += parts[random() % parts.size()];
        }
        const QString result = shown(line);
        ASSERT_LE(result.size(), line.size()) << line.toStdString();
        ASSERT_FALSE(result.contains(u'\n')) << line.toStdString();
        ASSERT_TRUE(result.isValidUtf16()) << line.toStdString();
    }
}

TEST(InlineMarkdown, LettersAndDigitsNeverVanish) {
    const QString alphabet = u"ab1*_`~[]!\\#>-.: \t"_qs; // nothing that can be a link's address
    std::mt19937 random(7);
    const auto letters = [](QString text) {
        return text.removeIf([](QChar character) { return !character.isLetterOrNumber(); });
    };
    for (int round = 0; round < 20'000; ++round) {
        QString line;
        for (auto count = random() % 30; count > 0; --count) {
            line += alphabet[qsizetype(random() % std::size_t(alphabet.size()))];
        }
        ASSERT_EQ(letters(shown(line)), letters(line)) << line.toStdString();
    }
}

} // namespace lumivane
