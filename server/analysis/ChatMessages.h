#pragma once

#include "server/analysis/AnalyzeRecords.h"

#include <boost/json/array.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The messages of a first request: the instructions, then what is on the screen. Text alone goes
/// as plain content, which every server takes; with a picture it goes in parts. Where the words
/// of screen or prompt hold one of the marks around them, its "<" goes as "‹".
boost::json::array firstMessages(std::string_view instructions, const AnalyzeRequest& request);

/// Asks once more: the model's own answer, and what is wrong with it.
void appendRepair(boost::json::array& messages, std::string_view answer, std::string_view repair);

/// The body of a request for one whole completion.
std::string completionBody(std::string_view model, boost::json::array messages);

/// The text that a model server's body carries, or none when it is of another form or empty.
std::optional<std::string> completionText(std::string_view body);

} // namespace lumivane::service
