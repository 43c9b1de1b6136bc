#include "domain/Vocabulary.h"

namespace lumivane {

std::optional<SrgbColor> fill(OverlayBackgroundStyle style) {
    const auto hex = fillHex(style);
    return hex ? std::optional(OverlayPalette::color(*hex)) : std::nullopt;
}

SrgbColor color(OverlayTextColor textColor) { return OverlayPalette::color(colorHex(textColor)); }

bool contains(ScreenCorner corner, Point point, const Rect& rect, double size) {
    const bool nearLeft = point.x <= rect.minX() + size;
    const bool nearRight = point.x >= rect.maxX() - size;
    const bool nearBottom = point.y <= rect.minY() + size;
    const bool nearTop = point.y >= rect.maxY() - size;
    switch (corner) {
    case ScreenCorner::topLeft:
        return nearLeft && nearTop;
    case ScreenCorner::topRight:
        return nearRight && nearTop;
    case ScreenCorner::bottomLeft:
        return nearLeft && nearBottom;
    case ScreenCorner::bottomRight:
        return nearRight && nearBottom;
    }
    return false;
}

} // namespace lumivane
