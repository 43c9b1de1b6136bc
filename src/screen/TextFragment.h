#pragma once

#include "domain/Geometry.h"

#include <QString>

namespace lumivane {

/// One run of recognised text.
struct TextFragment {
    QString text;          ///< the recogniser's best candidate
    double confidence = 0; ///< 0 to 1
    Rect box;              ///< fractions of the frame, origin at the top left, y growing down

    bool operator==(const TextFragment&) const = default;
};

} // namespace lumivane
