#pragma once

#include "server/analysis/DeadlineWords.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// Where on a screen a sentence stands.
enum class SentenceKind {
    prose,
    quoted, ///< of an earlier message, marked by ">"
    code
};

/// One sentence or entry of a screen, and what can be told of it by itself.
struct ScreenSentence {
    std::string text;
    SentenceKind kind = SentenceKind::prose;
    TimeMention time = TimeMention::none;
    bool isQuestion = false;
    bool isFailure = false; ///< says that something went wrong, as terminals and logs do
    std::size_t words = 0;
};

/// The sentences of a transcript in its order: wrapped lines joined, the screen's furniture left
/// out (menus, buttons, single words, paths, addresses, prompts, bare times, what stands there
/// again and again). At most 1,500 of them. Linear in the text.
std::vector<ScreenSentence> sentencesOf(std::string_view transcript);

} // namespace lumivane::service
