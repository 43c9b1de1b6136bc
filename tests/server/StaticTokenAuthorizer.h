#pragma once

#include "server/http/Authorizer.h"

#include <array>
#include <string_view>

namespace lumivane::service {

/// Accepts one token, which it keeps as its SHA-256 digest only. Whoever bears the
/// token is the account "development".
class StaticTokenAuthorizer : public Authorizer {
public:
    explicit StaticTokenAuthorizer(std::string_view token);

    /// The time taken does not depend on how much of the token is right.
    boost::asio::awaitable<Authorization> authorize(std::string token) override;

private:
    using Digest = std::array<unsigned char, 32>;
    static Digest digest(std::string_view text);

    Digest m_digest;
};

} // namespace lumivane::service
