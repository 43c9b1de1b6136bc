#include "ui/identity/qml/MonochromeMark.h"
#include "ui/identity/qml/Symbol.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace lumivane {

namespace {

QImage painted(QQuickPaintedItem& item, QSize size) {
    item.setSize(size);
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    item.paint(&painter);
    return picture;
}

} // namespace

TEST(MonochromeMark, DrawsPupilAndRingInItsColour) {
    MonochromeMark mark;
    mark.setColor(Qt::green);
    const QImage picture = painted(mark, {80, 80});
    EXPECT_EQ(picture.pixelColor(40, 40), QColor(Qt::green)); // the pupil
    EXPECT_EQ(picture.pixelColor(10, 40), QColor(Qt::green)); // the ring
    EXPECT_EQ(picture.pixelColor(22, 40).alpha(), 0);         // between them
    EXPECT_EQ(picture.pixelColor(1, 40).alpha(), 0);
}

TEST(MonochromeMark, LiesInTheMiddleOfAWideBox) {
    MonochromeMark mark;
    const QImage picture = painted(mark, {160, 80});
    EXPECT_EQ(picture.pixelColor(80, 40), QColor(Qt::white));
    EXPECT_EQ(picture.pixelColor(10, 40).alpha(), 0);
}

TEST(Symbol, IsDrawnInItsColourInTheMiddleAndInsideItsBox) {
    Symbol symbol;
    symbol.setName(u"xmark.circle.fill"_qs);
    symbol.setColor(Qt::red);
    const QImage picture = painted(symbol, {80, 40});
    bool isDrawn = false;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const int alpha = picture.pixelColor(x, y).alpha();
            isDrawn = isDrawn || picture.pixelColor(x, y) == QColor(Qt::red);
            EXPECT_TRUE(alpha == 0 || (x >= 20 && x < 60)) << x << "," << y;
        }
    }
    EXPECT_TRUE(isDrawn);
}

TEST(Symbol, TellsOfItsChangesOnce) {
    Symbol symbol;
    int changes = 0;
    QObject::connect(&symbol, &Symbol::nameChanged, [&] { ++changes; });
    QObject::connect(&symbol, &Symbol::colorChanged, [&] { ++changes; });
    symbol.setName(u"checkmark"_qs);
    symbol.setName(u"checkmark"_qs);
    symbol.setColor(Qt::red);
    symbol.setColor(Qt::red);
    EXPECT_EQ(changes, 2);
}

} // namespace lumivane
