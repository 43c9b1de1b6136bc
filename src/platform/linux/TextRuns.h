#pragma once

#include "platform/TextRecogniser.h"

#include <QRect>
#include <QSize>
#include <QString>

#include <vector>

namespace lumivane {

/// One word as the recognition library reports it.
struct RecognisedWord {
    QString text;
    double confidence = 0; ///< 0 to 100
    QRect box;             ///< pixels of the page, y growing down
};

/// Cuts one line, given as its words from left to right, into runs: where the gap between two
/// words is wide, a new run begins. Words without text are left out.
///
/// A gap is wide when it exceeds `wideGapCharacterWidths` of the line's median character width:
/// above any blank between words, below the distance of table cells and columns. The confidence
/// of a run is the mean of its words', weighted by their characters.
std::vector<RecognisedRun> textRuns(const std::vector<RecognisedWord>& line, QSize page);

inline constexpr double wideGapCharacterWidths = 2.5;

} // namespace lumivane
