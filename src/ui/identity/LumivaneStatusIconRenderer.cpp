#include "ui/identity/LumivaneStatusIconRenderer.h"

#include "ui/identity/LumivaneIdentityGeometry.h"
#include "ui/identity/PaintColor.h"

#include <QPainter>

#include <array>

namespace lumivane {

namespace {

constexpr double gridSize = LumivaneIdentityGeometry::gridSize;
constexpr double lineWidth = 7;
constexpr QLineF pausedDash{12.5, 20, 27.5, 20};

constexpr double ownPupilRadius(LumivaneDisplayState state) {
    return state == LumivaneDisplayState::capturing
               ? LumivaneStatusIconRenderer::capturingPupilRadius
               : LumivaneStatusIconRenderer::restingPupilRadius;
}

} // namespace

QImage LumivaneStatusIconRenderer::image(LumivaneDisplayState state,
                                         std::optional<double> pupilRadius, Appearance appearance,
                                         double scale) {
    QImage image = bitmapRepresentation(state, pupilRadius, appearance, scale);
    image.setDevicePixelRatio(scale);
    return image;
}

QImage LumivaneStatusIconRenderer::bitmapRepresentation(LumivaneDisplayState state,
                                                        std::optional<double> pupilRadius,
                                                        Appearance appearance, double scale) {
    QImage bitmap((pointSize * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    bitmap.fill(Qt::transparent);
    QPainter painter(&bitmap);
    draw(state, pupilRadius, appearance, bitmap.size(), painter);
    return bitmap;
}

void LumivaneStatusIconRenderer::draw(LumivaneDisplayState state, std::optional<double> pupilRadius,
                                      Appearance appearance, QSizeF drawingSize,
                                      QPainter& painter) {
    const QColor color = paintColor(statusColor(state, appearance));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(drawingSize.width() / gridSize, drawingSize.height() / gridSize);
    painter.setPen(QPen(color, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(LumivaneIdentityGeometry::ringPath(LumivaneMarkCut::small));
    if (state == LumivaneDisplayState::paused) {
        painter.drawLine(pausedDash);
    } else {
        const double radius = pupilRadius.value_or(ownPupilRadius(state));
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawEllipse(QPointF(gridSize / 2, gridSize / 2), radius, radius);
    }
    painter.restore();
}

SrgbColor LumivaneStatusIconRenderer::statusColor(LumivaneDisplayState state,
                                                  Appearance appearance) {
    const bool isDark = appearance == Appearance::dark;
    switch (state) {
    case LumivaneDisplayState::resting:
        return OverlayPalette::color(isDark ? 0x6CD9D8 : 0x00717C);
    case LumivaneDisplayState::capturing:
        return OverlayPalette::color(isDark ? 0x56E795 : 0x008C4E);
    case LumivaneDisplayState::paused:
        break;
    }
    return LumivaneTheme::textSecondary.resolved(appearance);
}

} // namespace lumivane
