#include "ui/identity/LumivaneSymbols.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace lumivane {

namespace {

/// Points of the grid that a symbol covers, and points that it leaves free.
struct SymbolPoints {
    const char* name;
    std::vector<QPointF> covered;
    std::vector<QPointF> free;
};

const std::vector<SymbolPoints> symbolPoints{
    {"exclamationmark.triangle.fill",
     {{50, 20}, {20, 85}, {80, 85}, {35, 60}, {50, 64}, {50, 86}},
     {{50, 40}, {50, 52}, {50, 74}, {15, 30}, {85, 30}, {50, 96}}},
    {"xmark.circle.fill",
     {{50, 10}, {10, 50}, {90, 50}, {50, 90}, {50, 30}, {30, 50}, {70, 50}, {50, 70}},
     {{50, 50}, {38, 38}, {62, 38}, {38, 62}, {62, 62}, {8, 8}, {92, 92}}},
    {"doc.on.doc",
     {{12.5, 40}, {40, 12.5}, {37.5, 60}, {87.5, 60}, {60, 29}, {60, 87.5}},
     {{25, 50}, {60, 60}, {30, 22}, {50, 21}, {87.5, 12.5}, {12.5, 87.5}}},
    {"checkmark",
     {{14, 55}, {26, 67}, {38, 79}, {62, 51}, {86, 23}},
     {{50, 50}, {20, 30}, {70, 70}}},
    {"note.text.badge.plus",
     {{12.5, 45}, {45, 12.5}, {45, 29}, {45, 45.8}, {33, 62.5}, {67, 67}, {91, 91}},
     {{45, 37.5}, {79, 79}, {79, 71}, {79, 87}, {71, 79}, {87, 79}, {52, 70}, {95, 20}}},
    {"person.crop.circle.badge.exclamationmark",
     {{45.8, 6}, {6, 45.8}, {45.8, 37}, {45.8, 75}, {67, 79}, {92, 79}, {79.2, 83}},
     {{45.8, 18}, {20, 45.8}, {45.8, 54}, {79.2, 70}, {79.2, 90}, {95, 20}}},
    {"laptopcomputer.slash",
     {{21, 7}, {77, 93}, {49, 50}, {20, 50}, {79, 40}, {60, 21}, {15, 79}, {90, 79}},
     {{65, 40}, {35, 50}, {39, 50}, {59, 50}, {60, 79}, {95, 10}, {5, 10}}},
};

QPainterPath pathOf(const char* name) { return LumivaneSymbols::path(QString::fromLatin1(name)); }

QImage rendered(const char* name, int edge) {
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(edge / LumivaneSymbols::gridSize, edge / LumivaneSymbols::gridSize);
    painter.fillPath(pathOf(name), Qt::black);
    return image;
}

int alpha(const QImage& image, int x, int y) { return image.pixelColor(x, y).alpha(); }

void expectClearRing(const QPainterPath& path, QPointF center, double radius) {
    for (int degrees = 0; degrees < 360; degrees += 5) {
        const double angle = degrees * std::numbers::pi / 180;
        const QPointF point = center + radius * QPointF(std::cos(angle), std::sin(angle));
        EXPECT_FALSE(path.contains(point)) << degrees;
    }
}

} // namespace

TEST(LumivaneSymbols, AreTheseSeven) {
    QStringList expected;
    for (const SymbolPoints& symbol : symbolPoints) {
        expected.append(QString::fromLatin1(symbol.name));
    }
    EXPECT_EQ(LumivaneSymbols::names(), expected);
}

TEST(LumivaneSymbols, ANameThatIsNoneHasNoOutline) {
    EXPECT_TRUE(LumivaneSymbols::path(u"").isEmpty());
    EXPECT_TRUE(LumivaneSymbols::path(u"checkmark.circle").isEmpty());
    EXPECT_TRUE(LumivaneSymbols::path(u"Checkmark").isEmpty());
    EXPECT_TRUE(LumivaneSymbols::path(u"checkmark ").isEmpty());
}

TEST(LumivaneSymbols, CoverAndLeaveFreeWhatTheyShould) {
    for (const SymbolPoints& symbol : symbolPoints) {
        const QPainterPath path = pathOf(symbol.name);
        EXPECT_EQ(path.fillRule(), Qt::OddEvenFill);
        for (const QPointF& point : symbol.covered) {
            EXPECT_TRUE(path.contains(point))
                << symbol.name << ' ' << point.x() << ' ' << point.y();
        }
        for (const QPointF& point : symbol.free) {
            EXPECT_FALSE(path.contains(point))
                << symbol.name << ' ' << point.x() << ' ' << point.y();
        }
    }
}

TEST(LumivaneSymbols, FillTheirGridWithoutLeavingIt) {
    for (const SymbolPoints& symbol : symbolPoints) {
        const QRectF bounds = pathOf(symbol.name).boundingRect();
        EXPECT_TRUE(QRectF(-0.01, -0.01, 100.02, 100.02).contains(bounds)) << symbol.name;
        EXPECT_GE(std::max(bounds.width(), bounds.height()), 80) << symbol.name;
        EXPECT_NEAR(bounds.center().x(), 50, 5) << symbol.name;
        EXPECT_NEAR(bounds.center().y(), 50, 5) << symbol.name;
    }
}

TEST(LumivaneSymbols, ClosedShapesAreSymmetrical) {
    for (const char* name : {"exclamationmark.triangle.fill", "xmark.circle.fill"}) {
        const QImage image = rendered(name, 100);
        const QImage mirrored = image.mirrored(true, false);
        for (int y = 0; y < 100; ++y) {
            for (int x = 0; x < 50; ++x) {
                ASSERT_NEAR(alpha(image, x, y), alpha(mirrored, x, y), 6) << name << x << ' ' << y;
            }
        }
    }
}

TEST(LumivaneSymbols, ABadgeStandsClearOfWhatItIsOn) {
    const QPointF badge(950 / 12.0, 950 / 12.0);
    for (const char* name : {"note.text.badge.plus", "person.crop.circle.badge.exclamationmark"}) {
        const QPainterPath path = pathOf(name);
        for (const double radius : {21.5, 24.0, 27.0}) {
            expectClearRing(path, badge, radius);
        }
        EXPECT_TRUE(path.contains(badge + QPointF(-14, -14)));
        EXPECT_TRUE(path.contains(badge + QPointF(14, 14)));
    }
}

TEST(LumivaneSymbols, TheSlashStandsClearOfTheLaptop) {
    const QPainterPath path = pathOf("laptopcomputer.slash");
    const QPointF begin(21, 7);
    const QPointF along = QPointF(77, 93) - begin;
    const QPointF across = QPointF(along.y(), -along.x()) / std::hypot(along.x(), along.y());
    for (double share = 0; share <= 1; share += 0.02) {
        const QPointF point = begin + share * along;
        EXPECT_TRUE(path.contains(point));
        for (const double offset : {-10.5, -5.0, 5.0, 10.5}) {
            EXPECT_FALSE(path.contains(point + offset * across)) << share << ' ' << offset;
        }
    }
}

TEST(LumivaneSymbols, LinesLieOnWholePixelsAtTwelve) {
    const QImage docs = rendered("doc.on.doc", 12);
    EXPECT_EQ(alpha(docs, 1, 5), 255);
    EXPECT_EQ(alpha(docs, 0, 5), 0);
    EXPECT_EQ(alpha(docs, 2, 5), 0);
    EXPECT_EQ(alpha(docs, 5, 1), 255);
    EXPECT_EQ(alpha(docs, 5, 2), 0);
    EXPECT_EQ(alpha(docs, 4, 7), 255);
    EXPECT_EQ(alpha(docs, 3, 7), 0);
    EXPECT_EQ(alpha(docs, 10, 7), 255);
    EXPECT_EQ(alpha(docs, 11, 7), 0);
    const QImage note = rendered("note.text.badge.plus", 12);
    EXPECT_EQ(alpha(note, 5, 3), 255);
    EXPECT_EQ(alpha(note, 5, 4), 0);
    EXPECT_EQ(alpha(note, 5, 5), 255);
    const QImage laptop = rendered("laptopcomputer.slash", 12);
    EXPECT_EQ(alpha(laptop, 2, 5), 255);
    EXPECT_EQ(alpha(laptop, 3, 9), 255);
    EXPECT_EQ(alpha(laptop, 2, 8), 0);
}

TEST(LumivaneSymbols, WhatIsCutOutIsStillSeenAtTwelve) {
    const QImage triangle = rendered("exclamationmark.triangle.fill", 12);
    EXPECT_LT(alpha(triangle, 5, 5), 110);
    EXPECT_LT(alpha(triangle, 6, 5), 110);
    EXPECT_GT(alpha(triangle, 5, 7), 170);
    EXPECT_LT(alpha(triangle, 6, 8), 150);
    EXPECT_GT(alpha(triangle, 3, 8), 250);
    const QImage circle = rendered("xmark.circle.fill", 12);
    EXPECT_LT(alpha(circle, 5, 5), 40);
    EXPECT_LT(alpha(circle, 4, 4), 130);
    EXPECT_GT(alpha(circle, 5, 3), 200);
    const QImage note = rendered("note.text.badge.plus", 12);
    EXPECT_LT(alpha(note, 9, 9), 40);
    EXPECT_LT(alpha(note, 9, 8), 60);
    EXPECT_GT(alpha(note, 8, 8), 200);
}

TEST(LumivaneSymbols, KeepTheirShapeWhenLarge) {
    // Small curves are as round as large ones: a dot's edge keeps its distance.
    const QPainterPath path = pathOf("exclamationmark.triangle.fill");
    for (int degrees = 0; degrees < 360; degrees += 3) {
        const double angle = degrees * std::numbers::pi / 180;
        const QPointF direction(std::cos(angle), std::sin(angle));
        EXPECT_FALSE(path.contains(QPointF(50, 74) + 6.6 * direction)) << degrees;
        EXPECT_TRUE(path.contains(QPointF(50, 74) + 6.85 * direction)) << degrees;
    }
}

TEST(LumivaneSymbols, AreTheSameEachTime) {
    for (const SymbolPoints& symbol : symbolPoints) {
        EXPECT_EQ(pathOf(symbol.name), pathOf(symbol.name));
    }
}

} // namespace lumivane
