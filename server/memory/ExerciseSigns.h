#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// Other ways to say one thing. Each is a few words that stand close together on a screen, in any
/// order.
using Wordings = std::vector<std::string>;

/// How an exercise is told on a screen.
struct ExerciseSigns {
    std::vector<std::string> titles;     ///< what stands over it, the usual one first
    std::string entry;                   ///< the function or class that a solution has to define
    std::vector<std::string> parameters; ///< of the function, where others share its name
    std::vector<Wordings> signs;         ///< what its statement says
    std::vector<Wordings> foreign;       ///< what only statements of similar exercises say

    bool operator==(const ExerciseSigns&) const = default;
};

/// One JSON object, and back. Throws JsonError for anything else.
std::string encodeSigns(const ExerciseSigns& signs);
ExerciseSigns decodeSigns(std::string_view text);

} // namespace lumivane::service
