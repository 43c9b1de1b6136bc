#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service::memoryFormat {

/// Marks a file as a practice memory among all databases.
inline constexpr std::int64_t applicationId = 0x4C56504D;

/// Grows with every change of the tables, of the signs or of how words are folded.
inline constexpr std::int64_t version = 2;

/// One exercise as it lies in the file.
struct Row {
    std::string title;
    std::string signs; ///< encodeSigns
    std::string answer;
    std::string words; ///< what full-text search sees: folded words
};

/// Of all rows in their order, lower-case hexadecimal; a changed byte anywhere changes it.
std::string digestOf(const std::vector<Row>& rows);

/// The folded words of a text with blanks between them.
std::string searchWords(std::string_view text);

} // namespace lumivane::service::memoryFormat
