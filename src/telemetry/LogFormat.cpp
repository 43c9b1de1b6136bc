#include "telemetry/LogFormat.h"

#include "domain/Characters.h"
#include "domain/LumivaneError.h"

#include <QList>

#include <algorithm>
#include <charconv>
#include <limits>

namespace lumivane {

namespace {

bool isIdentifierCharacter(QChar unit) {
    const char16_t code = unit.unicode();
    return (code >= u'A' && code <= u'Z') || (code >= u'a' && code <= u'z') ||
           (code >= u'0' && code <= u'9') || code == u'.' || code == u'_' || code == u'-';
}

} // namespace

LogIdentifier::LogIdentifier(const QString& text) {
    constexpr qsizetype longest = 64;
    const bool looksLikeOne = !text.isEmpty() && text.size() <= longest &&
                              std::all_of(text.begin(), text.end(), isIdentifierCharacter);
    m_text = looksLikeOne ? text.toStdString() : "-";
}

LogTypeName::LogTypeName(const std::exception& error)
    : m_name(errorTypeName(error)) {}

namespace logging {

void appendValue(std::string& line, bool value) { line += value ? '1' : '0'; }

void appendValue(std::string& line, std::int32_t value) { line += std::to_string(value); }

void appendValue(std::string& line, std::uint32_t value) { line += std::to_string(value); }

void appendValue(std::string& line, std::int64_t value) { line += std::to_string(value); }

void appendValue(std::string& line, std::string_view value) { line += value; }

void appendValue(std::string& line, double value) {
    // Unlike its neighbours above, std::to_string writes these in the user's locale.
    constexpr int decimals = 6;
    constexpr std::size_t longest = std::numeric_limits<double>::max_exponent10 + decimals + 8;
    std::array<char, longest> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                   std::chars_format::fixed, decimals);
    line.append(text.data(), end.ptr);
}

void appendValue(std::string& line, const HotKey& value) {
    HotKey shown = value;
    const QList<uint> scalars = value.key.toUcs4();
    const bool isKey = scalars.size() == 1 && (isLetterOrNumber(scalars.front()) ||
                                               (scalars.front() > ' ' && scalars.front() <= '~'));
    if (!isKey) {
        shown.key = u"-"_qs; // whatever a user wrote there, it is no key
    }
    line += shown.displayValue().toStdString();
}

} // namespace logging

} // namespace lumivane
