#pragma once

#include "records/ScreenTextSignals.h"

#include <QString>

#include <cstdint>

namespace lumivane {

/// The transcript of one frame.
struct ScreenText {
    QString text;
    bool truncated = false;
    ScreenTextSignals signals;
    std::int64_t durationMS = 0; ///< of reading the frame, milliseconds

    std::int64_t charCount() const { return signals.charCount; }

    double meanConfidence() const { return signals.meanConfidence; }

    double textCoverage() const { return signals.textCoverage; }

    double nonTextEnergy() const { return signals.nonTextEnergy; }

    bool operator==(const ScreenText&) const = default;
};

} // namespace lumivane
