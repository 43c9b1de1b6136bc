#include "server/analysis/AnalyzeRecords.h"

#include "server/analysis/JpegDataUrl.h"
#include "server/text/StrictJson.h"
#include "server/text/Utf8.h"

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <array>

namespace lumivane::service {

namespace json = boost::json;

namespace {

template <typename Case>
struct Row {
    Case value;
    std::string_view rawValue;
};

// Not every compiler works this out for an aggregate.
template <typename Case>
Row(Case, std::string_view) -> Row<Case>;

constexpr std::array presets{
    Row{Preset::mcq, "mcq"},
    Row{Preset::summary, "summary"},
    Row{Preset::custom, "custom"},
    Row{Preset::leetCode, "leetcode"},
};

constexpr std::array resultKinds{
    Row{ResultKind::choice, "choice"},
    Row{ResultKind::answers, "answers"},
    Row{ResultKind::text, "text"},
    Row{ResultKind::leetCode, "leetcode"},
};

template <typename Case, std::size_t count>
std::optional<Case> find(const std::array<Row<Case>, count>& rows, std::string_view text) {
    for (const auto& row : rows) {
        if (row.rawValue == text) {
            return row.value;
        }
    }
    return std::nullopt;
}

[[noreturn]] void refuse(const std::string& message) {
    throw RecordError(422, "invalid_request", message);
}

std::string quoted(std::string_view key) { return "\"" + std::string(key) + "\""; }

// None for an absent key and for null, which count the same for every optional key.
const json::value* present(const json::object& object, std::string_view key) {
    const json::value* value = object.if_contains(json::string_view{key.data(), key.size()});
    return value == nullptr || value->is_null() ? nullptr : value;
}

std::optional<std::string> optionalText(const json::object& object, std::string_view key) {
    const json::value* value = present(object, key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (!value->is_string()) {
        refuse(quoted(key) + " must be a string.");
    }
    return std::string(value->get_string().data(), value->get_string().size());
}

std::string requiredText(const json::object& object, std::string_view key) {
    auto text = optionalText(object, key);
    if (!text) {
        refuse(quoted(key) + " is missing.");
    }
    return *std::move(text);
}

std::optional<std::int64_t> optionalCount(const json::object& object, std::string_view key,
                                          std::int64_t least, std::int64_t most) {
    const json::value* value = present(object, key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (!value->is_int64() || value->get_int64() < least || value->get_int64() > most) {
        refuse(quoted(key) + " must be an integer from " + std::to_string(least) + " to " +
               std::to_string(most) + ".");
    }
    return value->get_int64();
}

std::int64_t requiredTiming(const json::object& object, std::string_view key) {
    const auto value = optionalCount(object, key, 0, timingLimit);
    if (!value) {
        refuse(quoted(key) + " is missing.");
    }
    return *value;
}

std::optional<ClientMetrics> decodeMetrics(const json::object& object) {
    const json::value* value = present(object, "client_metrics");
    if (value == nullptr) {
        return std::nullopt;
    }
    if (!value->is_object()) {
        refuse("\"client_metrics\" must be an object.");
    }
    const json::object& record = value->get_object();
    ClientMetrics metrics;
    metrics.captureMs = requiredTiming(record, "capture_ms");
    metrics.ocrMs = requiredTiming(record, "ocr_ms");
    metrics.encodeMs = requiredTiming(record, "encode_ms");
    metrics.clientMs = requiredTiming(record, "client_ms");
    metrics.imagePixelWidth = optionalCount(record, "image_pixel_width", 1, pixelLimit);
    metrics.imagePixelHeight = optionalCount(record, "image_pixel_height", 1, pixelLimit);
    return metrics;
}

Preset decodePreset(const json::object& object) {
    const auto preset = presetFromRawValue(requiredText(object, "preset"));
    if (!preset) {
        refuse("\"preset\" must be \"mcq\", \"summary\", \"custom\" or \"leetcode\".");
    }
    return *preset;
}

void checkContent(const AnalyzeRequest& request) {
    if (!request.imageDataUrl && !request.screenText) {
        refuse("\"screen_text\" or \"image_data_url\" is needed; both are missing.");
    }
    if (request.imageDataUrl && !isJpegDataUrl(*request.imageDataUrl)) {
        refuse("\"image_data_url\" must be a JPEG as a base64 data URL.");
    }
    if (request.screenText && !hasContent(*request.screenText)) {
        refuse("\"screen_text\" holds nothing but white space.");
    }
    if (request.screenText && countCodePoints(*request.screenText) > screenTextCodePoints) {
        refuse("\"screen_text\" is too long.");
    }
}

void checkPrompt(const AnalyzeRequest& request) {
    if (request.preset != Preset::custom && request.customPrompt) {
        refuse("\"custom_prompt\" belongs to the preset \"custom\" only.");
    }
    if (request.preset != Preset::custom) {
        return;
    }
    if (!request.customPrompt || !hasContent(*request.customPrompt)) {
        refuse("The preset \"custom\" needs a prompt in \"custom_prompt\".");
    }
    if (countCodePoints(*request.customPrompt) > customPromptCodePoints) {
        refuse("\"custom_prompt\" is too long.");
    }
}

void checkVersion(const AnalyzeRequest& request) {
    if (request.clientVersion.empty() || request.clientVersion.size() > clientVersionBytes) {
        refuse("\"client_version\" must have 1 to 64 bytes.");
    }
}

json::value parse(std::string_view body) {
    try {
        return parseStrictly(body);
    } catch (const JsonError& error) {
        throw RecordError(400, "invalid_json",
                          std::string("The body cannot be read: ") + error.what() + ".");
    }
}

} // namespace

std::string_view rawValue(Preset preset) {
    return presets[static_cast<std::size_t>(preset)].rawValue;
}

std::string_view rawValue(ResultKind kind) {
    return resultKinds[static_cast<std::size_t>(kind)].rawValue;
}

std::string_view rawValue(AnswerStatus status) {
    return status == AnswerStatus::memoryValidated ? "memory_validated" : "live_unvalidated";
}

std::optional<Preset> presetFromRawValue(std::string_view text) { return find(presets, text); }

std::optional<ResultKind> resultKindFromRawValue(std::string_view text) {
    return find(resultKinds, text);
}

AnalyzeRequest decodeAnalyzeRequest(std::string_view body) {
    const json::value document = parse(body);
    if (!document.is_object()) {
        refuse("The body must be a JSON object.");
    }
    const json::object& object = document.get_object();
    AnalyzeRequest request;
    request.imageDataUrl = optionalText(object, "image_data_url");
    request.screenText = optionalText(object, "screen_text");
    request.preset = decodePreset(object);
    request.customPrompt = optionalText(object, "custom_prompt");
    request.clientVersion = requiredText(object, "client_version");
    request.clientMetrics = decodeMetrics(object);
    checkContent(request);
    checkPrompt(request);
    checkVersion(request);
    return request;
}

std::string encodeAnalyzeResponse(const AnalysisAnswer& answer, std::string_view requestId) {
    const auto view = [](std::string_view text) {
        return json::string_view{text.data(), text.size()};
    };
    json::object record;
    record["request_id"] = view(requestId);
    record["result"] = view(answer.result);
    record["result_kind"] = view(rawValue(answer.kind));
    if (answer.questionTitle) {
        record["question_title"] = view(*answer.questionTitle);
    }
    if (answer.answerStatus) {
        record["answer_status"] = view(rawValue(*answer.answerStatus));
    }
    return json::serialize(record);
}

} // namespace lumivane::service
