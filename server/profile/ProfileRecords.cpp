#include "server/profile/ProfileRecords.h"

#include "server/accounts/AccountError.h"
#include "server/accounts/BodyFields.h"
#include "server/profile/HandleRules.h"
#include "server/text/Utf8.h"

#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service {

namespace {

// Room for white space that is trimmed, and for characters of four bytes.
constexpr std::size_t textBytes = 1024;

bool breaksTheLine(char32_t codePoint) {
    const bool isControl = codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0);
    return isControl || codePoint == 0x2028 || codePoint == 0x2029;
}

bool isOneLine(std::string_view text) {
    while (!text.empty()) {
        if (breaksTheLine(takeCodePoint(text))) {
            return false;
        }
    }
    return true;
}

std::string acceptableHandle(const std::string& text) {
    std::string handle(normaliseHandle(text));
    if (!isWellFormedHandle(handle)) {
        refuseRecord("A handle has 2 to 39 letters, digits, dots, hyphens or underscores.");
    }
    if (isReservedHandle(handle)) {
        throw AccountError(Refusal{409, "handle_reserved", "That handle is reserved."});
    }
    return handle;
}

std::string acceptableName(const std::string& text) {
    auto name = displayNameFrom(text);
    if (!name) {
        refuseRecord("A name has 1 to 60 characters in one line.");
    }
    return std::move(*name);
}

std::string_view rawValue(HandleAvailability::Reason reason) {
    switch (reason) {
    case HandleAvailability::Reason::malformed:
        return "invalid";
    case HandleAvailability::Reason::reserved:
        return "reserved";
    case HandleAvailability::Reason::taken:
        return "taken";
    }
    return {};
}

} // namespace

std::optional<std::string> displayNameFrom(std::string_view text) {
    const std::string_view name = trimmed(text);
    const std::size_t length = countCodePoints(name);
    if (length == 0 || length > displayNameMaximumLength || !isOneLine(name)) {
        return std::nullopt;
    }
    return std::string(name);
}

ProfileChange decodeProfileChange(std::string_view body) {
    const BodyFields fields(body);
    const auto handle = fields.optionalText("handle", textBytes);
    const auto displayName = fields.optionalText("display_name", textBytes);
    if (!handle && !displayName) {
        refuseRecord("\"handle\" or \"display_name\" is needed.");
    }
    ProfileChange change;
    if (displayName) {
        change.displayName = acceptableName(*displayName);
    }
    if (handle) {
        change.handle = acceptableHandle(*handle);
    }
    return change;
}

std::string decodeHandleQuestion(std::string_view body) {
    const BodyFields fields(body);
    return std::string(normaliseHandle(fields.text("handle", textBytes)));
}

std::string encodeHandleAvailability(const HandleAvailability& availability) {
    boost::json::object record;
    record["handle"] = availability.handle;
    record["available"] = !availability.reason.has_value();
    if (availability.reason) {
        record["reason"] = rawValue(*availability.reason);
    }
    return boost::json::serialize(record);
}

} // namespace lumivane::service
