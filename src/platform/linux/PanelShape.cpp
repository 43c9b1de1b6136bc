#include "platform/linux/PanelShape.h"

#include <algorithm>
#include <cmath>

namespace lumivane {

namespace {

/// How far a row of pixels stands in from the side: a pixel counts where its centre lies inside.
int insetOfRow(int row, double radius) {
    const double rise = radius - row - 0.5;
    if (rise <= 0) {
        return 0;
    }
    return static_cast<int>(std::ceil(radius - std::sqrt(radius * radius - rise * rise) - 0.5));
}

} // namespace

std::vector<QRect> roundedParts(const QSize& size, double radius) {
    const double held = std::clamp(radius, 0.0, std::min(size.width(), size.height()) / 2.0);
    std::vector<QRect> parts;
    for (int y = 0; y < size.height(); ++y) {
        const int inset = insetOfRow(std::min(y, size.height() - 1 - y), held);
        const QRect row(inset, y, size.width() - 2 * inset, 1);
        if (row.width() <= 0) {
            continue;
        }
        if (!parts.empty() && parts.back().left() == row.left()) {
            parts.back().setBottom(y);
        } else {
            parts.push_back(row);
        }
    }
    return parts;
}

} // namespace lumivane
