#include "server/analysis/ModelAnswer.h"

#include "server/text/StrictJson.h"
#include "server/text/Utf8.h"

#include <boost/json/object.hpp>

namespace lumivane::service {

namespace json = boost::json;

namespace {

constexpr std::size_t resultCodePoints = 32'000;
constexpr std::size_t choiceCodePoints = 40;
constexpr std::size_t titleCodePoints = 120;
constexpr std::size_t mostBeginnings = 8; // of a JSON object among other words

std::optional<std::string> textUnder(const json::object& record, json::string_view key) {
    const json::value* value = record.if_contains(key);
    if (value == nullptr || !value->is_string()) {
        return std::nullopt;
    }
    const std::string whole(value->get_string());
    return hasContent(whole) ? std::optional(std::string(trimmed(whole))) : std::nullopt;
}

bool isOneLine(std::string_view text) { return text.find('\n') == std::string_view::npos; }

bool isControl(char32_t codePoint) {
    return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
}

// A title is a heading of one line and the name of a note.
std::string onOneLine(std::string_view text) {
    std::string line;
    bool isGap = false;
    while (!text.empty()) {
        const char32_t codePoint = takeCodePoint(text);
        if (isSpace(codePoint) || isControl(codePoint)) {
            isGap = !line.empty();
            continue;
        }
        line += isGap ? " " : "";
        isGap = false;
        appendCodePoint(line, codePoint);
    }
    return line;
}

// The title that an answer in Markdown begins with.
std::optional<std::string> leadingTitle(std::string_view text) {
    if (!text.starts_with("# ")) {
        return std::nullopt;
    }
    const std::string_view title = trimmed(text.substr(2, text.find('\n') - 2));
    return title.empty() ? std::nullopt : std::optional(std::string(title));
}

// The layout that fits the words: a choice is shown in large type and has room for one line.
ResultKind fitting(ResultKind kind, std::string_view result) {
    if (kind != ResultKind::choice) {
        return kind;
    }
    if (!isOneLine(result)) {
        return ResultKind::answers;
    }
    return countCodePoints(result) > choiceCodePoints ? ResultKind::text : ResultKind::choice;
}

std::optional<ResultKind> kindFor(Preset preset, const json::object& record,
                                  std::string_view result) {
    if (preset == Preset::leetCode) {
        return ResultKind::leetCode;
    }
    if (preset != Preset::mcq) {
        return ResultKind::text;
    }
    const auto named = textUnder(record, "result_kind");
    const auto kind = named ? resultKindFromRawValue(*named) : std::nullopt;
    if (!kind || *kind == ResultKind::leetCode) {
        return std::nullopt;
    }
    return fitting(*kind, result);
}

void addProblemFields(AnalysisAnswer& answer, std::optional<std::string> title) {
    if (answer.kind != ResultKind::leetCode) {
        return;
    }
    if (!title) {
        title = leadingTitle(answer.result);
    }
    const std::string line = onOneLine(title.value_or(std::string()));
    if (!line.empty()) {
        answer.questionTitle = shortened(line, titleCodePoints);
    }
    answer.answerStatus = AnswerStatus::liveUnvalidated;
}

std::optional<json::object> parseObject(std::string_view text) {
    try {
        const json::value value = parseStrictly(text);
        return value.is_object() ? std::optional(value.get_object()) : std::nullopt;
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

// Models write the line ends of Markdown into a string as they are.
std::string withEscapedLineEnds(std::string_view text) {
    std::string escaped;
    bool isInString = false;
    bool isEscape = false;
    for (const char character : text) {
        if (isInString && (character == '\n' || character == '\r' || character == '\t')) {
            escaped += character == '\n' ? "\\n" : character == '\r' ? "\\r" : "\\t";
            isEscape = false;
            continue;
        }
        if (character == '"' && !isEscape) {
            isInString = !isInString;
        }
        isEscape = isInString && character == '\\' && !isEscape;
        escaped += character;
    }
    return escaped;
}

// The object in an answer. Words before it may hold braces themselves, so a few beginnings are
// tried.
std::optional<json::object> objectIn(std::string_view text) {
    const auto last = text.rfind('}');
    auto first = text.find('{');
    for (std::size_t tries = 0; tries < mostBeginnings; ++tries) {
        if (first == std::string_view::npos || last == std::string_view::npos || last < first) {
            return std::nullopt;
        }
        const std::string_view part = text.substr(first, last - first + 1);
        auto object = parseObject(part);
        if (!object) {
            object = parseObject(withEscapedLineEnds(part));
        }
        if (object) {
            return object;
        }
        first = text.find('{', first + 1);
    }
    return std::nullopt;
}

// Some models think aloud before they answer, and some servers pass that on.
std::string_view withoutThoughts(std::string_view text) {
    static constexpr std::string_view begin = "<think>";
    static constexpr std::string_view end = "</think>";
    const std::string_view words = trimmed(text);
    const auto close = words.rfind(end);
    if (close != std::string_view::npos) {
        return trimmed(words.substr(close + end.size()));
    }
    return words.starts_with(begin) ? std::string_view{} : words;
}

// An answer that stands in a fence as a whole would be one block of code to every reader.
std::string_view withoutOuterFence(std::string_view text) {
    static constexpr std::string_view fence = "```";
    const auto line = text.substr(0, text.find('\n'));
    const bool isOuter =
        (line == "```" || line == "```markdown" || line == "```md" || line == "```text") &&
        line.size() < text.size() && text.ends_with(fence) &&
        text.size() >= line.size() + 1 + fence.size();
    if (!isOuter) {
        return text;
    }
    text.remove_prefix(line.size());
    text.remove_suffix(fence.size());
    return trimmed(text);
}

// The words under "result", ready to be shown.
std::optional<std::string> resultIn(const json::object& record) {
    const auto result = textUnder(record, "result");
    const std::string_view words = result ? withoutOuterFence(*result) : std::string_view{};
    return words.empty() ? std::nullopt : std::optional(std::string(words));
}

// Words whose kind nobody named.
AnalysisAnswer answerOfWords(std::string_view words, Preset preset) {
    AnalysisAnswer answer;
    answer.result = shortened(words, resultCodePoints);
    answer.kind = ResultKind::text;
    if (preset == Preset::leetCode) {
        answer.kind = ResultKind::leetCode;
    } else if (preset == Preset::mcq && isOneLine(words)) {
        answer.kind = fitting(ResultKind::choice, words);
    }
    addProblemFields(answer, std::nullopt);
    return answer;
}

} // namespace

std::optional<AnalysisAnswer> readModelAnswer(std::string_view text, Preset preset) {
    const auto record = objectIn(withoutThoughts(text));
    if (!record) {
        return std::nullopt;
    }
    const auto result = resultIn(*record);
    const auto kind = result ? kindFor(preset, *record, *result) : std::nullopt;
    if (!kind) {
        return std::nullopt;
    }
    AnalysisAnswer answer;
    answer.result = shortened(*result, resultCodePoints);
    answer.kind = *kind;
    addProblemFields(answer, textUnder(*record, "question_title"));
    return answer;
}

std::optional<AnalysisAnswer> plainModelAnswer(std::string_view text, Preset preset) {
    const std::string_view words = withoutOuterFence(withoutThoughts(text));
    if (const auto record = objectIn(words)) {
        if (const auto result = resultIn(*record)) {
            return answerOfWords(*result, preset);
        }
    }
    if (words.empty() || words.starts_with('{') || words.starts_with("```json")) {
        return std::nullopt;
    }
    return answerOfWords(words, preset);
}

} // namespace lumivane::service
