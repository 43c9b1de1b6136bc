#pragma once

#include "server/analysis/PromptWish.h"

#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// At most five lines of a transcript, in its own words: first what is due, then what is asked,
/// then what the rest is about. None when there is not one sentence on the screen.
std::optional<std::string> extractSummary(std::string_view transcript);

/// The same for a reader's own wish; what was asked for and is not there is said so. None when
/// there is not one sentence on the screen.
std::optional<std::string> extractWish(std::string_view transcript, const PromptWish& wish);

} // namespace lumivane::service
