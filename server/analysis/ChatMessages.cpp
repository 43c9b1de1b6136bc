#include "server/analysis/ChatMessages.h"

#include "server/text/StrictJson.h"
#include "server/text/Utf8.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <cctype>

namespace lumivane::service {

namespace json = boost::json;

namespace {

constexpr std::size_t repeatedAnswer = 8'000; // code points of a wrong answer that are sent back

json::string_view view(std::string_view text) { return {text.data(), text.size()}; }

json::object message(std::string_view role, json::value content) {
    json::object record;
    record["role"] = view(role);
    record["content"] = std::move(content);
    return record;
}

bool isBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool isNameCharacter(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

void dropBlanks(std::string_view& text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
}

// Whether what stands behind a "<" could be read as one of the marks, however it is written.
bool continuesMark(std::string_view text) {
    dropBlanks(text);
    while (!text.empty() && text.front() == '/') {
        text.remove_prefix(1);
        dropBlanks(text);
    }
    const auto begins = [text](std::string_view name) {
        return boost::algorithm::istarts_with(text, name) &&
               (text.size() == name.size() || !isNameCharacter(text[name.size()]));
    };
    return begins("screen") || begins("request");
}

// Foreign words must not be able to end the part that nobody has to obey.
std::string withoutMarks(std::string_view words) {
    std::string text;
    text.reserve(words.size());
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index] == '<' && continuesMark(words.substr(index + 1))) {
            text += "‹";
        } else {
            text += words[index];
        }
    }
    return text;
}

// The marks tell the model where words begin that nobody has to obey.
std::string userText(const AnalyzeRequest& request) {
    std::string text;
    if (request.customPrompt) {
        text += "<request>\n" + withoutMarks(*request.customPrompt) + "\n</request>\n";
    }
    if (request.screenText) {
        text += "<screen>\n" + withoutMarks(*request.screenText) + "\n</screen>";
    } else {
        text += "The screen is in the picture.";
    }
    return text;
}

json::value userContent(const AnalyzeRequest& request) {
    const std::string text = userText(request);
    if (!request.imageDataUrl) {
        return json::value(view(text));
    }
    json::object textPart;
    textPart["type"] = "text";
    textPart["text"] = view(text);
    json::object url;
    url["url"] = view(*request.imageDataUrl);
    json::object imagePart;
    imagePart["type"] = "image_url";
    imagePart["image_url"] = std::move(url);
    json::array parts;
    parts.push_back(std::move(textPart));
    parts.push_back(std::move(imagePart));
    return parts;
}

// A content is a string, or parts of which those of type "text" count.
std::string textOf(const json::value& content) {
    if (content.is_string()) {
        return std::string(content.get_string());
    }
    std::string text;
    if (!content.is_array()) {
        return text;
    }
    for (const json::value& part : content.get_array()) {
        const auto* record = part.if_object();
        const auto* words = record != nullptr ? record->if_contains("text") : nullptr;
        if (words != nullptr && words->is_string()) {
            text.append(words->get_string().data(), words->get_string().size());
        }
    }
    return text;
}

const json::value* member(const json::value* value, json::string_view key) {
    const auto* record = value != nullptr ? value->if_object() : nullptr;
    return record != nullptr ? record->if_contains(key) : nullptr;
}

} // namespace

json::array firstMessages(std::string_view instructions, const AnalyzeRequest& request) {
    json::array messages;
    messages.push_back(message("system", json::value(view(instructions))));
    messages.push_back(message("user", userContent(request)));
    return messages;
}

void appendRepair(json::array& messages, std::string_view answer, std::string_view repair) {
    const std::string kept = shortened(answer, repeatedAnswer);
    messages.push_back(message("assistant", json::value(view(kept))));
    messages.push_back(message("user", json::value(view(repair))));
}

std::string completionBody(std::string_view model, json::array messages) {
    json::object record;
    record["model"] = view(model);
    record["messages"] = std::move(messages);
    record["stream"] = false;
    return json::serialize(record);
}

std::optional<std::string> completionText(std::string_view body) {
    JsonLimits limits;
    limits.depth = 32;
    limits.values = 200'000;
    try {
        const json::value document = parseStrictly(body, limits);
        const json::value* choices = member(&document, "choices");
        if (choices == nullptr || !choices->is_array() || choices->get_array().empty()) {
            return std::nullopt;
        }
        const json::value* said = member(&choices->get_array().front(), "message");
        const json::value* content = member(said, "content");
        std::string text = content != nullptr ? textOf(*content) : std::string();
        return hasContent(text) ? std::optional(std::move(text)) : std::nullopt;
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

} // namespace lumivane::service
