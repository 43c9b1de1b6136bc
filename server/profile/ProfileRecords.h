#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// In code points, white space at both ends not counted.
inline constexpr std::size_t displayNameMaximumLength = 60;

/// What a person wants changed about themselves; one of both, or both.
struct ProfileChange {
    std::optional<std::string> handle; ///< well formed and not reserved
    std::optional<std::string> displayName;

    bool operator==(const ProfileChange&) const = default;
};

/// What can be said of a handle. The reason is there exactly when it cannot be had.
struct HandleAvailability {
    enum class Reason { malformed, reserved, taken };

    std::string handle; ///< as it would be stored
    std::optional<Reason> reason;

    bool operator==(const HandleAvailability&) const = default;
};

/// A name as it may be shown: 1 to 60 code points in one line, without white space at its ends and
/// without control characters. None for any other text.
std::optional<std::string> displayNameFrom(std::string_view text);

/// Decodes and checks the body of PATCH /v1/auth/profile. Throws AccountError: 400 "invalid_json",
/// 422 "invalid_request", 409 "handle_reserved".
ProfileChange decodeProfileChange(std::string_view body);

/// The handle that a body of POST /v1/auth/handles/availability asks about, normalised but not
/// judged. Throws AccountError: 400 "invalid_json", 422 "invalid_request".
std::string decodeHandleQuestion(std::string_view body);

/// "handle", "available" and, where it is not, "reason": "invalid", "reserved" or "taken".
std::string encodeHandleAvailability(const HandleAvailability& availability);

} // namespace lumivane::service
