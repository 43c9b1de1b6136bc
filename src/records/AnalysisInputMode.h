#pragma once

#include "domain/Vocabulary.h"
#include "records/ScreenTextSignals.h"

#include <array>
#include <cstdint>
#include <optional>

namespace lumivane {

/// What a run sends.
enum class AnalysisInputMode { image, text, textAndImage };

namespace tables {

inline constexpr std::array analysisInputMode{
    Plain{AnalysisInputMode::image, "image"},
    Plain{AnalysisInputMode::text, "text"},
    Plain{AnalysisInputMode::textAndImage, "textAndImage"},
};
static_assert(isInCaseOrder(analysisInputMode));

} // namespace tables

constexpr const auto& closedSetTable(AnalysisInputMode) { return tables::analysisInputMode; }

constexpr bool sendsImage(AnalysisInputMode mode) { return mode != AnalysisInputMode::text; }

constexpr bool sendsText(AnalysisInputMode mode) { return mode != AnalysisInputMode::image; }

constexpr QLatin1String logLabel(AnalysisInputMode mode) { return rawValue(mode); }

/// Below either of these a transcript is not sent alone.
inline constexpr std::int64_t minimumUsableCharCount = 40;
inline constexpr double minimumUsableConfidence = 0.45;

/// Whether the recognised text is good enough to be sent alone: `text` only for hyperPrivate with
/// signals at or above both minimums, `image` otherwise. `textAndImage` is the preset's decision
/// and never comes from here.
constexpr AnalysisInputMode resolveInputMode(AnalysisMode mode,
                                             const std::optional<ScreenTextSignals>& signals) {
    if (mode != AnalysisMode::hyperPrivate || !signals) {
        return AnalysisInputMode::image;
    }
    const bool isUsable = signals->charCount >= minimumUsableCharCount &&
                          signals->meanConfidence >= minimumUsableConfidence;
    return isUsable ? AnalysisInputMode::text : AnalysisInputMode::image;
}

/// True when text alone was wanted and the image goes instead.
constexpr bool isOCRFallback(AnalysisInputMode inputMode, AnalysisMode mode) {
    return mode == AnalysisMode::hyperPrivate && !sendsText(inputMode);
}

} // namespace lumivane
