#include "server/analysis/ModelAnswer.h"

#include "server/analysis/StrictJson.h"
#include "server/analysis/Utf8.h"

#include <boost/json/object.hpp>

namespace lumivane::service {

namespace json = boost::json;

namespace {

constexpr std::size_t resultCodePoints = 32'000;
constexpr std::size_t choiceCodePoints = 40;
constexpr std::size_t titleCodePoints = 120;

std::optional<std::string> textUnder(const json::object& record, json::string_view key) {
    const json::value* value = record.if_contains(key);
    if (value == nullptr || !value->is_string()) {
        return std::nullopt;
    }
    const std::string whole(value->get_string());
    return hasContent(whole) ? std::optional(std::string(trimmed(whole))) : std::nullopt;
}

bool isOneLine(std::string_view text) { return text.find('\n') == std::string_view::npos; }

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
    if (title) {
        answer.questionTitle = shortened(*title, titleCodePoints);
    }
    answer.answerStatus = AnswerStatus::liveUnvalidated;
}

std::optional<json::object> objectIn(std::string_view text) {
    const auto first = text.find('{');
    const auto last = text.rfind('}');
    if (first == std::string_view::npos || last == std::string_view::npos || last < first) {
        return std::nullopt;
    }
    try {
        const json::value value = parseStrictly(text.substr(first, last - first + 1));
        return value.is_object() ? std::optional(value.get_object()) : std::nullopt;
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

} // namespace

std::optional<AnalysisAnswer> readModelAnswer(std::string_view text, Preset preset) {
    const auto record = objectIn(text);
    if (!record) {
        return std::nullopt;
    }
    const auto result = textUnder(*record, "result");
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
    const std::string_view words = trimmed(text);
    if (words.empty() || words.starts_with('{') || words.starts_with("```json")) {
        return std::nullopt;
    }
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

} // namespace lumivane::service
