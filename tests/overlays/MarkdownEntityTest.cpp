#include "overlays/MarkdownEntity.h"

#include <gtest/gtest.h>

namespace lumivane {

TEST(MarkdownEntity, NamesStandForTheirCharacters) {
    EXPECT_EQ(markdownEntity("&amp;"), u"&"_qs);
    EXPECT_EQ(markdownEntity("&lt;"), u"<"_qs);
    EXPECT_EQ(markdownEntity("&gt;"), u">"_qs);
    EXPECT_EQ(markdownEntity("&quot;"), u"\""_qs);
    EXPECT_EQ(markdownEntity("&nbsp;"), u"\u00A0"_qs);
    EXPECT_EQ(markdownEntity("&Theta;"), u"\u0398"_qs);
    EXPECT_EQ(markdownEntity("&nGt;"), u"\u226B\u20D2"_qs);
    EXPECT_EQ(markdownEntity("&CounterClockwiseContourIntegral;"), u"\u2233"_qs);
}

TEST(MarkdownEntity, UnknownNameStaysAsWritten) {
    EXPECT_EQ(markdownEntity("&noSuchName;"), u"&noSuchName;"_qs);
    EXPECT_EQ(markdownEntity("&AMPLIFIER;"), u"&AMPLIFIER;"_qs);
}

TEST(MarkdownEntity, NumbersAreCodePoints) {
    EXPECT_EQ(markdownEntity("&#65;"), u"A"_qs);
    EXPECT_EQ(markdownEntity("&#x1F600;"), u"\U0001F600"_qs);
    EXPECT_EQ(markdownEntity("&#X26;"), u"&"_qs);
    EXPECT_EQ(markdownEntity("&#1114111;"), QString::fromUcs4(U"\U0010FFFF", 1));
}

TEST(MarkdownEntity, NumberThatIsNoCharacterIsReplaced) {
    EXPECT_EQ(markdownEntity("&#0;"), u"\uFFFD"_qs);
    EXPECT_EQ(markdownEntity("&#xD800;"), u"\uFFFD"_qs);
    EXPECT_EQ(markdownEntity("&#xDFFF;"), u"\uFFFD"_qs);
    EXPECT_EQ(markdownEntity("&#1114112;"), u"\uFFFD"_qs);
    EXPECT_EQ(markdownEntity("&#xFFFFFF;"), u"\uFFFD"_qs);
}

TEST(MarkdownEntity, LineBreaksAreBlanks) {
    EXPECT_EQ(markdownEntity("&#10;"), u" "_qs);
    EXPECT_EQ(markdownEntity("&#xD;"), u" "_qs);
    EXPECT_EQ(markdownEntity("&NewLine;"), u" "_qs);
    EXPECT_EQ(markdownEntity("&Tab;"), u"\t"_qs);
}

} // namespace lumivane
