#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The one token that this service accepts, kept as its SHA-256 digest only.
class BearerToken {
public:
    explicit BearerToken(std::string_view token);

    /// Whether an Authorization header carries exactly this token. The time taken does not
    /// depend on how much of the token is right.
    bool matches(const std::optional<std::string>& authorization) const;

private:
    using Digest = std::array<unsigned char, 32>;
    static Digest digest(std::string_view text);

    Digest m_digest;
};

/// The credentials of an Authorization header of the Bearer scheme, whose name may be in either
/// case; none when the header is of another form.
std::optional<std::string_view> bearerCredentials(std::string_view authorization);

} // namespace lumivane::service
