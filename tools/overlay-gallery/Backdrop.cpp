#include "Backdrop.h"

#include <QColor>
#include <QPainter>
#include <QPainterPath>

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

/// A document whose left edge and title bar lie under the panel.
void drawWindow(QPainter& painter, const QRectF& area, const Colours& colours) {
    constexpr double titleHeight = 26;
    constexpr double lineHeight = 17;
    painter.fillRect(area, colours.window);
    painter.fillRect(QRectF(area.topLeft(), QSizeF(area.width(), titleHeight)), colours.titleBar);
    QFont font = painter.font();
    font.setPixelSize(12);
    painter.setFont(font);
    painter.setPen(colours.ink);
    painter.drawText(QPointF(area.left() + 12, area.top() + 18), u"Minutes of the harbour"_qs);
    painter.setClipRect(area);
    int line = 0;
    for (double y = area.top() + titleHeight + lineHeight; y < area.bottom(); y += lineHeight) {
        const QString words = u"%1. The harbour office opens at seven, and nobody expected the "
                              "archive to be open at that hour of a working day."_qs.arg(++line);
        painter.drawText(QPointF(area.left() + 12, y), words);
    }
    painter.setClipping(false);
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
    const QRectF window(area.width() * 0.42, area.height() * 0.24, area.width() * 0.6,
                        area.height() * 0.62);
    drawWindow(painter, window, colours);
    return picture;
}

} // namespace lumivane::tools
