#pragma once

#include "server/analysis/AnalyzeRecords.h"

#include <optional>
#include <string_view>

namespace lumivane::service {

/// Reads what a model was told to answer, one JSON object with "result" and "result_kind", also
/// when a code fence, a few words or thoughts aloud stand around it, or line ends stand in its
/// strings as they are. None when it is of another form, or of a kind that the preset does not
/// have. A title is one line.
///
/// Kinds: `mcq` has choice (one short line), answers and text; `summary` and `custom` have text;
/// `leetcode` has leetcode, marked as not validated.
std::optional<AnalysisAnswer> readModelAnswer(std::string_view text, Preset preset);

/// Takes what a model wrote as the answer itself, or what an object of no known kind holds as its
/// result. None for a broken JSON object, which no reader should get to see.
std::optional<AnalysisAnswer> plainModelAnswer(std::string_view text, Preset preset);

} // namespace lumivane::service
