#include "domain/Geometry.h"

#include <gtest/gtest.h>

#include <cmath>

namespace lumivane {

TEST(Rect, EdgesAndMiddles) {
    const Rect rect{10, -20, 30, 40};
    EXPECT_EQ(rect.minX(), 10);
    EXPECT_EQ(rect.midX(), 25);
    EXPECT_EQ(rect.maxX(), 40);
    EXPECT_EQ(rect.minY(), -20);
    EXPECT_EQ(rect.midY(), 0);
    EXPECT_EQ(rect.maxY(), 20);
    EXPECT_EQ(rect.area(), 1200);
}

TEST(Rect, IsEmptyWithoutAnArea) {
    EXPECT_FALSE((Rect{0, 0, 1e-9, 1e-9}).isEmpty());
    EXPECT_TRUE(Rect{}.isEmpty());
    EXPECT_TRUE((Rect{5, 5, 0, 10}).isEmpty());
    EXPECT_TRUE((Rect{5, 5, 10, 0}).isEmpty());
    EXPECT_TRUE((Rect{5, 5, -1, 10}).isEmpty());
    EXPECT_TRUE((Rect{5, 5, -1, -1}).isEmpty());
    EXPECT_TRUE((Rect{5, 5, std::nan(""), 10}).isEmpty());
    EXPECT_TRUE((Rect{5, 5, 10, std::nan("")}).isEmpty());
}

TEST(Rect, UnitedHoldsBoth) {
    const Rect low{0, 0, 10, 10};
    const Rect high{20, 30, 5, 5};
    EXPECT_EQ(low.united(high), (Rect{0, 0, 25, 35}));
    EXPECT_EQ(high.united(low), (Rect{0, 0, 25, 35}));
    EXPECT_EQ(low.united({2, 3, 4, 5}), low);
    EXPECT_EQ(low.united({-5, 5, 0, 0}), (Rect{-5, 0, 15, 10}));
}

TEST(Rect, IntersectedIsWhatBothCover) {
    const Rect rect{0, 0, 10, 10};
    EXPECT_EQ(rect.intersected({5, 6, 10, 10}), (Rect{5, 6, 5, 4}));
    EXPECT_EQ(rect.intersected({-5, -5, 7, 100}), (Rect{0, 0, 2, 10}));
    EXPECT_EQ(rect.intersected({2, 3, 4, 5}), (Rect{2, 3, 4, 5}));
}

TEST(Rect, IntersectedOfApartOrTouchingIsEmpty) {
    const Rect rect{0, 0, 10, 10};
    EXPECT_TRUE(rect.intersected({20, 0, 5, 5}).isEmpty());
    EXPECT_TRUE(rect.intersected({0, 20, 5, 5}).isEmpty());
    EXPECT_TRUE(rect.intersected({10, 0, 5, 5}).isEmpty());
    EXPECT_TRUE(rect.intersected({-30, -30, 5, 5}).isEmpty());
}

TEST(Geometry, ValuesCompareByField) {
    EXPECT_EQ((Point{1, 2}), (Point{1, 2}));
    EXPECT_NE((Point{1, 2}), (Point{2, 1}));
    EXPECT_EQ((PixelSize{1, 2}), (PixelSize{1, 2}));
    EXPECT_NE((PixelSize{1, 2}), (PixelSize{2, 1}));
    EXPECT_NE((Rect{0, 0, 1, 2}), (Rect{0, 0, 2, 1}));
}

} // namespace lumivane
