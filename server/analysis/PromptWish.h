#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace lumivane::service {

/// What a reader's own prompt asks for, as far as sentences picked from a screen can answer it.
struct PromptWish {
    bool wantsSummary = false;
    bool wantsDeadlines = false;
    bool wantsQuestions = false;
    std::optional<std::size_t> lines; ///< of the summary, 1 to 10

    bool operator==(const PromptWish&) const = default;
};

/// None unless every word of the prompt is understood: a prompt that also asks for anything else
/// must not get an answer to half of it.
std::optional<PromptWish> readPromptWish(std::string_view prompt);

} // namespace lumivane::service
