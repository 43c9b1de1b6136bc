#include "Backdrop.h"

#include <QColor>
#include <QPainter>
#include <QPainterPath>

#include <iterator>

namespace lumivane::tools {

namespace {

struct Colours {
    QColor sky;
    QColor hill;
    QColor sun;
    QColor window;
    QColor titleBar;
    QColor ink;
};

Colours coloursOf(Appearance appearance) {
    if (appearance == Appearance::dark) {
        return {QColor(0x17, 0x22, 0x38), QColor(0x24, 0x3B, 0x53), QColor(0xC4, 0x6A, 0x4A),
                QColor(0x10, 0x12, 0x16), QColor(0x2A, 0x2D, 0x33), QColor(0xB9, 0xC2, 0xCC)};
    }
    return {QColor(0xA9, 0xCB, 0xEA), QColor(0x7F, 0xB0, 0x86), QColor(0xF7, 0xD0, 0x6B),
            QColor(0xFD, 0xFD, 0xFD), QColor(0xDF, 0xE3, 0xE8), QColor(0x33, 0x3A, 0x42)};
}

void drawLandscape(QPainter& painter, const QRectF& area, const Colours& colours) {
    painter.fillRect(area, colours.sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colours.sun);
    painter.drawEllipse(QPointF(area.right() - 60, area.top() + 54), 70, 70);
    QPainterPath hill(area.bottomLeft());
    hill.lineTo(area.left(), area.bottom() - area.height() * 0.3);
    hill.cubicTo(area.width() * 0.35, area.bottom() - area.height() * 0.75, area.width() * 0.6,
                 area.bottom(), area.right(), area.bottom() - area.height() * 0.45);
    hill.lineTo(area.bottomRight());
    painter.setBrush(colours.hill);
    painter.drawPath(hill);
}

/// A document whose left edge and title bar lie under the panel. Its lines are bars: letters would
/// make the pictures three times as big.
void drawWindow(QPainter& painter, const QRectF& area, const Colours& colours) {
    constexpr double titleHeight = 26;
    constexpr double lineHeight = 18;
    constexpr double barHeight = 6;
    constexpr double inset = 14;
    constexpr double shares[] = {0.82, 0.9, 0.74, 0.88, 0.35};
    painter.fillRect(area, colours.window);
    painter.fillRect(QRectF(area.topLeft(), QSizeF(area.width(), titleHeight)), colours.titleBar);
    painter.fillRect(QRectF(area.left() + inset, area.top() + 10, 120, barHeight), colours.ink);
    std::size_t line = 0;
    for (double y = area.top() + titleHeight + inset; y + barHeight < area.bottom();
         y += lineHeight) {
        const double width = (area.width() - 2 * inset) * shares[line++ % std::size(shares)];
        painter.fillRect(QRectF(area.left() + inset, y, width, barHeight), colours.ink);
    }
}

} // namespace

QImage backdrop(Appearance appearance, const QSize& size, double scale) {
    QImage picture((QSizeF(size) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(scale);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const Colours colours = coloursOf(appearance);
    const QRectF area{QPointF(), QSizeF(size)};
    drawLandscape(painter, area, colours);
    // On whole points, so that its edges are sharp.
    const QRect window(size.width() * 42 / 100, size.height() * 24 / 100, size.width() * 55 / 100,
                       size.height() * 62 / 100);
    drawWindow(painter, window, colours);
    return picture;
}

} // namespace lumivane::tools
