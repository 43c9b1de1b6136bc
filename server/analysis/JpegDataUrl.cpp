#include "server/analysis/JpegDataUrl.h"

#include <array>
#include <cstdint>

namespace lumivane::service {

namespace {

constexpr std::string_view prefix = "data:image/jpeg;base64,";
constexpr std::string_view alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
// FF D8 FF, the first bytes of every JPEG file, fill exactly the first four digits.
constexpr std::string_view jpegStart = "/9j/";

constexpr std::array<std::int8_t, 256> makeDigitValues() {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t index = 0; index < alphabet.size(); ++index) {
        values[static_cast<unsigned char>(alphabet[index])] = static_cast<std::int8_t>(index);
    }
    return values;
}

constexpr auto digitValues = makeDigitValues();

int digitValue(char digit) { return digitValues[static_cast<unsigned char>(digit)]; }

// The bits that the padding leaves over must be 0: one run of bytes has one written form.
bool hasCleanEnd(std::string_view digits, std::size_t padding) {
    if (padding == 0) {
        return true;
    }
    const int unused = padding == 1 ? 0x3 : 0xF;
    return (digitValue(digits.back()) & unused) == 0;
}

} // namespace

bool isJpegDataUrl(std::string_view text) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    std::string_view digits = text.substr(prefix.size());
    if (digits.size() % 4 != 0 || !digits.starts_with(jpegStart)) {
        return false;
    }
    std::size_t padding = 0;
    while (padding < 2 && digits.ends_with('=')) {
        digits.remove_suffix(1);
        ++padding;
    }
    for (const char digit : digits) {
        if (digitValue(digit) < 0) {
            return false;
        }
    }
    return hasCleanEnd(digits, padding);
}

} // namespace lumivane::service
