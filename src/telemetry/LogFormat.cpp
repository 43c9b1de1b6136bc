#include "telemetry/LogFormat.h"

#include "domain/LumivaneError.h"

#include <algorithm>

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

void appendValue(std::string& line, double value) { line += std::to_string(value); }

void appendValue(std::string& line, const HotKey& value) {
    line += value.displayValue().toStdString();
}

} // namespace logging

} // namespace lumivane
