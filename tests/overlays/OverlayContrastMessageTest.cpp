#include "overlays/OverlayContrastMessage.h"

#include <gtest/gtest.h>

namespace lumivane {

using namespace OverlayContrastMessage;
using Background = OverlayBackgroundStyle;
using Text = OverlayTextColor;

TEST(OverlayContrastMessage, NamesTheColoursThatPass) {
    EXPECT_EQ(contrastMessage(Background::graphite, Text::black, 100),
              u"Black on Graphite can read as low as 1.1:1, under the 4.5:1 small text needs. "
              u"White, Mint and Amber clears it on Graphite."_qs);
    EXPECT_EQ(contrastMessage(Background::light, Text::white, 90),
              u"White on Paper can read as low as 1.1:1, under the 4.5:1 small text needs. "
              u"Black clears it on Paper."_qs);
}

TEST(OverlayContrastMessage, TellsTheWorstCaseOfASeeThroughPanel) {
    EXPECT_EQ(contrastMessage(Background::blue, Text::white, 100), std::nullopt);
    EXPECT_EQ(contrastMessage(Background::blue, Text::white, 90),
              u"White on Blue can read as low as 4.0:1, under the 4.5:1 small text needs. "
              u"White clears it on Blue."_qs);
}

TEST(OverlayContrastMessage, IsNoneWhereTextCanBeReadOrThereIsNoFill) {
    EXPECT_EQ(contrastMessage(Background::graphite, Text::white, 90), std::nullopt);
    EXPECT_EQ(contrastMessage(Background::none, Text::black, 0), std::nullopt);
}

TEST(OverlayContrastMessage, ListJoinsWithAnAndBeforeTheLast) {
    EXPECT_EQ(list({}), QString());
    EXPECT_EQ(list({u"a"_qs}), u"a"_qs);
    EXPECT_EQ(list({u"a"_qs, u"b"_qs}), u"a and b"_qs);
    EXPECT_EQ(list({u"a"_qs, u"b"_qs, u"c"_qs}), u"a, b and c"_qs);
    EXPECT_EQ(list({u"a"_qs, u"b"_qs, u"c"_qs, u"d"_qs}), u"a, b, c and d"_qs);
}

TEST(OverlayContrastMessage, RatioHasOneDigit) {
    EXPECT_EQ(ratio(1), u"1.0"_qs);
    EXPECT_EQ(ratio(4.449), u"4.4"_qs);
    EXPECT_EQ(ratio(4.46), u"4.5"_qs);
    EXPECT_EQ(ratio(21), u"21.0"_qs);
    EXPECT_EQ(ratio(2.25), u"2.2"_qs) << "a tie goes to the even digit";
}

} // namespace lumivane
