#pragma once

#include "server/analysis/ScreenSentences.h"

#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// A run of a screen that reads as one: a paragraph, a list item, a table's row, a line of code.
struct ScreenPassage {
    std::string text;
    SentenceKind kind = SentenceKind::prose;
};

/// Cuts a transcript into passages. Lines that cannot carry content are gone: prompts, paths,
/// addresses, rows of short cells, rules.
std::vector<ScreenPassage> passagesOf(std::string_view transcript);

/// Whether a line looks like a program's text rather than a person's.
bool isCodeLike(std::string_view line);

} // namespace lumivane::service
