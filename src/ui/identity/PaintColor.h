#pragma once

#include "domain/SrgbColor.h"

#include <QColor>

namespace lumivane {

/// The colour as a painter takes it; a channel of n / 255 comes out as n.
inline QColor paintColor(const SrgbColor& color) {
    return QColor::fromRgbF(float(color.red), float(color.green), float(color.blue),
                            float(color.opacity));
}

} // namespace lumivane
