#pragma once

#include "screen/TextFragment.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <vector>

namespace lumivane {

/// The finished transcript of one frame.
struct ScreenTextLayoutResult {
    QString text;           ///< at most `ScreenTextLayout::maximumCharacters` characters
    bool truncated = false; ///< the middle was left out

    bool operator==(const ScreenTextLayoutResult&) const = default;
};

/// Turns the unordered bag of recognised fragments into one text that reads as a person reads the
/// screen: column by column, line by line, repeated chrome thinned out.
///
/// Pure and without state: any thread, no failure, the same fragments give the same text. Boxes
/// may hold any numbers at all. One with a coordinate that is no finite number takes no part in
/// finding columns, and one that is no number (NaN) sorts behind all others and shares a line
/// with none.
///
/// Lengths are counted in characters (grapheme clusters).
namespace ScreenTextLayout {

inline constexpr double confidenceFloor = 0.3; ///< a fragment below this is dropped

/// Characters that may stand alone in a fragment.
inline constexpr QStringView standalonePunctuation = u"?.,:;()[]{}+-=/*<>%$#@&";

inline constexpr double lineOverlapFraction = 0.5; ///< overlap that makes two boxes one line
inline constexpr double wideGapCharWidths = 1.5;   ///< wide gap, in median character widths
inline constexpr QStringView wideGap = u"   ";     ///< separator for a wide gap within a line
inline constexpr double blockGapLineHeights = 1.6; ///< gap between blocks, in median line heights

inline constexpr int projectionBins = 200;           ///< bins of the horizontal projection
inline constexpr double valleyCoverageCeiling = 0.1; ///< share of the height a valley may fill
inline constexpr double valleyMinimumWidthFraction = 0.04; ///< share of the bins it must exceed
inline constexpr int maximumSplittableValleys = 2;         ///< more than this: no columns
inline constexpr int minimumLinesForColumnSplit = 4;
inline constexpr int minimumRowsForFragmentColumnSplit = 8;

inline constexpr int repeatedLineCap = 3; ///< how often one line may stand in the transcript
inline constexpr std::int64_t maximumCharacters = 12000;
inline constexpr double headFraction = 0.6; ///< share of a truncated text taken from its head

ScreenTextLayoutResult transcript(const std::vector<TextFragment>& fragments);

/// The fragments that are text and no noise, trimmed, in the order given.
std::vector<TextFragment> accepted(const std::vector<TextFragment>& fragments);

} // namespace ScreenTextLayout

} // namespace lumivane
