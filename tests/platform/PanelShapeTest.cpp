#include "platform/linux/PanelShape.h"

#include <gmock/gmock.h>

namespace lumivane {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PanelShape, WithoutARadiusItIsOnePart) {
    EXPECT_THAT(roundedParts(QSize(30, 20), 0), ElementsAre(QRect(0, 0, 30, 20)));
}

TEST(PanelShape, ANegativeRadiusCountsAsNone) {
    EXPECT_THAT(roundedParts(QSize(30, 20), -4), ElementsAre(QRect(0, 0, 30, 20)));
}

TEST(PanelShape, RowsStandInAsFarAsTheCircleSays) {
    EXPECT_THAT(roundedParts(QSize(20, 12), 4),
                ElementsAre(QRect(2, 0, 16, 1), QRect(1, 1, 18, 1), QRect(0, 2, 20, 8),
                            QRect(1, 10, 18, 1), QRect(2, 11, 16, 1)));
}

TEST(PanelShape, APixelCountsWhereItsCentreLiesInside) {
    constexpr double radius = 22;
    const QSize size(200, 100);
    for (const QRect& part : roundedParts(size, radius)) {
        for (int y = part.top(); y <= part.bottom() && y < radius; ++y) {
            const auto inside = [&](int x) {
                const double dx = radius - x - 0.5;
                const double dy = radius - y - 0.5;
                return dx * dx + dy * dy <= radius * radius;
            };
            ASSERT_TRUE(part.left() == 0 || !inside(part.left() - 1)) << y;
            ASSERT_TRUE(inside(part.left())) << y;
            ASSERT_EQ(part.left(), size.width() - 1 - part.right()) << y;
        }
    }
}

TEST(PanelShape, ARadiusBeyondHalfASideIsHeldToThat) {
    EXPECT_EQ(roundedParts(QSize(40, 8), 100), roundedParts(QSize(40, 8), 4));
}

TEST(PanelShape, TheSmallestPanelIsThere) {
    EXPECT_THAT(roundedParts(QSize(1, 1), 11), ElementsAre(QRect(0, 0, 1, 1)));
}

TEST(PanelShape, NothingHasNoParts) { EXPECT_THAT(roundedParts(QSize(0, 0), 11), IsEmpty()); }

} // namespace lumivane
