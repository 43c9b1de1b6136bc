#include "platform/linux/PanelShadow.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace lumivane {

class ShadowImageTest : public testing::Test {
protected:
    explicit ShadowImageTest(const QSize& panel = QSize(400, 112), double scale = 1)
        : m_panel(panel)
        , m_image(panel, 11 * scale, scale) {}

    /// The opacity, 0 to 255, at a pixel of the panel's own coordinates.
    static int opacity(const ShadowImage& image, int x, int y) {
        std::vector<std::uint32_t> row(static_cast<std::size_t>(image.size().width()));
        image.copyRow(y + image.reach() - image.drop(), row.data());
        const int column = x + image.reach();
        const std::uint32_t pixel = row[static_cast<std::size_t>(column)];
        EXPECT_EQ(pixel & 0xffffff, 0U) << "black";
        return static_cast<int>(pixel >> 24);
    }

    int opacity(int x, int y) const { return opacity(m_image, x, y); }

    const QSize m_panel;
    const ShadowImage m_image;
};

TEST_F(ShadowImageTest, ItEndsSoftlyOnAllSides) {
    EXPECT_EQ(m_image.drop(), 10);
    EXPECT_EQ(m_image.size(), m_panel + QSize(2 * m_image.reach(), 2 * m_image.reach()));
    const int reach = m_image.reach();
    EXPECT_LE(opacity(-reach, 50), 1);
    EXPECT_LE(opacity(400 + reach - 1, 50), 1);
    EXPECT_LE(opacity(200, -reach + 10), 1);
    EXPECT_LE(opacity(200, 112 + reach + 9), 1);
}

TEST_F(ShadowImageTest, ItIsDarkestBelowThePanelAndHalfAsDarkAtItsOwnEdge) {
    // Its edge lies 10 below that of the panel.
    EXPECT_NEAR(opacity(200, 122), 0.35 * 255 / 2, 4);
    EXPECT_GT(opacity(200, 112), opacity(200, 122));
    EXPECT_GT(opacity(200, 122), opacity(200, 132));
    EXPECT_GT(opacity(200, 112), opacity(200, -1) * 2);
    EXPECT_LE(opacity(200, 112), 0.35 * 255 + 1);
}

TEST_F(ShadowImageTest, NothingOfItLiesUnderThePanel) {
    for (const QPoint inside : {QPoint(200, 56), QPoint(0, 56), QPoint(399, 56), QPoint(200, 0),
                                QPoint(200, 111), QPoint(5, 5), QPoint(395, 107)}) {
        EXPECT_EQ(opacity(inside.x(), inside.y()), 0) << inside.x() << ' ' << inside.y();
    }
}

TEST_F(ShadowImageTest, ItShowsInTheRoundedCorners) {
    EXPECT_GT(opacity(0, 111), 20);
    EXPECT_GT(opacity(399, 111), 20);
}

TEST_F(ShadowImageTest, ItIsTheSameLeftAndRight) {
    for (int y = -20; y < 150; y += 7) {
        for (int x = -30; x < 200; x += 9) {
            ASSERT_NEAR(opacity(x, y), opacity(399 - x, y), 1) << x << ' ' << y;
        }
    }
}

TEST_F(ShadowImageTest, RowsAndColumnsThatRepeatAreLikeThoseOfASmallerPanel) {
    const ShadowImage large(QSize(1100, 800), 11, 1);
    for (int x = -30; x < 60; x += 3) {
        ASSERT_EQ(opacity(large, x, 805), opacity(ShadowImage(QSize(500, 300), 11, 1), x, 305));
    }
    EXPECT_EQ(opacity(large, 400, 805), opacity(large, 550, 805));
    EXPECT_EQ(opacity(large, -5, 400), opacity(large, -5, 300));
}

TEST_F(ShadowImageTest, ItGrowsWithTheScale) {
    const ShadowImage fine(QSize(800, 224), 22, 2);
    EXPECT_EQ(fine.drop(), 20);
    EXPECT_NEAR(fine.reach(), 2 * m_image.reach(), 3);
    EXPECT_NEAR(opacity(fine, 400, 244), opacity(200, 122), 4);
}

TEST_F(ShadowImageTest, TheSmallestPanelHasOne) {
    const ShadowImage image(QSize(1, 1), 11, 1);
    EXPECT_LE(opacity(image, 0, 5), 2);
}

} // namespace lumivane
