#include "overlays/qml/OverlayStyle.h"

#include <QFontInfo>
#include <QFontMetricsF>

#include <gtest/gtest.h>

namespace lumivane {

TEST(OverlayStyle, FindsTheDetailThatMakesASizeWhole) {
    const OverlayStyle style;
    EXPECT_EQ(style.detail(12), 1);
    EXPECT_EQ(style.detail(9.5), 2);
    EXPECT_EQ(style.detail(12.25), 4);
    EXPECT_EQ(style.detail(12.125), 8);
    EXPECT_EQ(style.detail(7.875), 8);
    EXPECT_EQ(style.detail(22.4), 8);
}

TEST(OverlayStyle, FontsHaveSizeWeightAndTrackingAtTheirDetail) {
    const OverlayStyle style;
    const QFont font = style.systemFont(9.5, QFont::DemiBold, 1.33);
    EXPECT_EQ(font.pixelSize(), 19);
    EXPECT_EQ(font.weight(), QFont::DemiBold);
    EXPECT_NEAR(font.letterSpacing(), 2.66, 0.01);
    EXPECT_EQ(style.systemFont(64, QFont::ExtraBold).pixelSize(), 64);
    EXPECT_TRUE(QFontInfo(style.fixedFont(10, QFont::Normal)).fixedPitch());
}

TEST(OverlayStyle, AFontTakesTheDetailOfItsText) {
    const OverlayStyle style;
    EXPECT_EQ(style.systemFontAt(8, 12.5, QFont::Medium).pixelSize(), 100);
    EXPECT_EQ(style.systemFontAt(8, 12.5, QFont::Medium).weight(), QFont::Medium);
}

TEST(OverlayStyle, KeepsTheSizeOfALineThatFits) {
    const OverlayStyle style;
    const QFont font = style.systemFont(16, QFont::Normal);
    const double width = style.lineWidthOf(u"Log in"_qs, font, 16);
    EXPECT_EQ(style.sizeInLine(u"Log in"_qs, font, 16, 0.5, width), 16);
    EXPECT_EQ(style.sizeInLine(u""_qs, font, 16, 0.5, 0), 16);
}

TEST(OverlayStyle, TakesTheLargestSizeAtWhichALineFits) {
    const OverlayStyle style;
    const QString text = u"Still thinking, this one is taking a while"_qs;
    const QFont font = style.systemFont(16, QFont::Normal);
    const auto widthAt = [&](double size) {
        const QFont smaller = style.systemFont(size, QFont::Normal);
        return QFontMetricsF(smaller).horizontalAdvance(text) / style.detail(size);
    };
    const double width = style.lineWidthOf(text, font, 16) * 0.8;
    const double size = style.sizeInLine(text, font, 16, 0.5, width);
    EXPECT_LE(widthAt(size), width);
    EXPECT_GT(widthAt(size + 0.25), width);
    EXPECT_EQ(style.sizeInLine(text, font, 16, 0.5, 10), 8);
}

TEST(OverlayStyle, MeasuresTheFirstOfSeveralLines) {
    const OverlayStyle style;
    const QFont font = style.systemFont(16, QFont::Normal);
    EXPECT_EQ(style.lineWidthOf(u"B\nand much more than that"_qs, font, 16),
              style.lineWidthOf(u"B"_qs, font, 16));
}

TEST(OverlayStyle, ShrinksAParagraphUntilItFitsItsBox) {
    const OverlayStyle style;
    const QString text = u"words that wrap "_qs.repeated(12);
    const QFont font = style.systemFont(13, QFont::Normal);
    EXPECT_EQ(style.sizeInBox(text, font, 13, 0.5, 400, 400), 13);
    const double size = style.sizeInBox(text, font, 13, 0.5, 300, 60);
    EXPECT_LT(size, 13);
    EXPECT_GT(size, 6.5);
    EXPECT_EQ(style.sizeInBox(text, font, 13, 0.5, 20, 20), 6.5);
}

TEST(OverlayStyle, FadesAColourByAShareOfItsOwnOpacity) {
    const OverlayStyle style;
    EXPECT_NEAR(style.faded(QColor::fromRgbF(1, 0, 0, 0.5), 0.5).alphaF(), 0.25, 0.001);
    EXPECT_EQ(style.faded(Qt::red, 1), QColor(Qt::red));
}

} // namespace lumivane
