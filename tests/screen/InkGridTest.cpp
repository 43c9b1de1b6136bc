#include "screen/InkGrid.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace lumivane {

TEST(InkGrid, WidthIsBoundAndTheHeightFollows) {
    EXPECT_EQ(inkGridSize({2880, 1800}), (PixelSize{96, 60}));
    EXPECT_EQ(inkGridSize({96, 60}), (PixelSize{96, 60}));
    EXPECT_EQ(inkGridSize({95, 60}), (PixelSize{95, 60}));
    EXPECT_EQ(inkGridSize({1, 1}), (PixelSize{1, 1}));
}

TEST(InkGrid, TallFrameGetsATallGridUpToItsBound) {
    EXPECT_EQ(inkGridSize({1080, 1920}), (PixelSize{96, 171})); // 170.67
    EXPECT_EQ(inkGridSize({1000, 4000}), (PixelSize{96, 384}));
    EXPECT_EQ(inkGridSize({1000, 4100}), (PixelSize{96, 384}));
    EXPECT_EQ(inkGridSize({1, 65000}), (PixelSize{1, 384}));
    EXPECT_EQ(inkGridSize({1, std::numeric_limits<int>::max()}), (PixelSize{1, 384}));
}

TEST(InkGrid, HeightRoundsHalfAwayFromZeroAndIsAtLeastOne) {
    EXPECT_EQ(inkGridSize({192, 5}), (PixelSize{96, 3}));
    EXPECT_EQ(inkGridSize({5000, 2}), (PixelSize{96, 1}));
}

TEST(InkGrid, FrameWithoutPixelsHasNoGrid) {
    EXPECT_EQ(inkGridSize({0, 10}), PixelSize{});
    EXPECT_EQ(inkGridSize({10, 0}), PixelSize{});
    EXPECT_EQ(inkGridSize({-10, 10}), PixelSize{});
}

/// The mask as its definition has it: cell by cell, box by box.
std::vector<std::uint8_t> plainMask(const std::vector<Rect>& boxes, PixelSize grid) {
    std::vector<std::uint8_t> mask(static_cast<std::size_t>(grid.width * grid.height));
    for (const Rect& box : boxes) {
        const int firstColumn = std::max(0, static_cast<int>(std::floor(box.minX() * grid.width)));
        const int lastColumn =
            std::min(grid.width - 1, static_cast<int>(std::ceil(box.maxX() * grid.width)) - 1);
        const int firstRow = std::max(0, static_cast<int>(std::floor(box.minY() * grid.height)));
        const int lastRow =
            std::min(grid.height - 1, static_cast<int>(std::ceil(box.maxY() * grid.height)) - 1);
        for (int row = firstRow; row <= lastRow; ++row) {
            for (int column = firstColumn; column <= lastColumn; ++column) {
                const int index = row * grid.width + column;
                mask[static_cast<std::size_t>(index)] = 1;
            }
        }
    }
    return mask;
}

TEST(InkGrid, MaskIsThatOfMarkingCellByCell) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> position(-0.3, 1.3);
    std::uniform_real_distribution<double> extent(-0.1, 0.4);
    for (int round = 0; round < 300; ++round) {
        const PixelSize grid{1 + static_cast<int>(random() % 20),
                             1 + static_cast<int>(random() % 30)};
        std::vector<Rect> boxes(random() % 6);
        for (Rect& box : boxes) {
            box = {position(random), position(random), extent(random), extent(random)};
        }
        ASSERT_EQ(textMask(boxes, grid), plainMask(boxes, grid)) << "round " << round;
    }
}

} // namespace lumivane
