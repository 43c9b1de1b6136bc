#pragma once

#include <cstdint>

namespace lumivane::LogBand {

// Sizes of user content are logged in bands, so that a log does not tell them.

inline constexpr std::int64_t imageBytesWidth = 8192;
inline constexpr std::int64_t screenTextCharsWidth = 500;

/// The value rounded down to a multiple of `width`; 0 when either is below 1.
constexpr std::int64_t floor(std::int64_t value, std::int64_t width) {
    return value < 1 || width < 1 ? 0 : value / width * width;
}

constexpr std::int64_t imageBytes(std::int64_t value) { return floor(value, imageBytesWidth); }

constexpr std::int64_t screenTextChars(std::int64_t value) {
    return floor(value, screenTextCharsWidth);
}

} // namespace lumivane::LogBand
