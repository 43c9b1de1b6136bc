#pragma once

#include "server/http/HttpMessage.h"

#include <boost/asio/awaitable.hpp>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace lumivane::service {

/// Why a request is turned away; becomes the error envelope.
struct Refusal {
    int status = 401;
    std::string code;
    std::string message;
    std::chrono::seconds retryAfter{0}; ///< above 0: said in Retry-After
};

using Authorization = std::variant<Principal, Refusal>;

/// Judges access tokens. The router asks it on the network thread, before a body is read.
class Authorizer {
public:
    virtual ~Authorizer() = default;

    /// `token` is what stood behind "Bearer ": 1 to 4,096 visible ASCII characters. What it throws
    /// is answered with 500.
    virtual boost::asio::awaitable<Authorization> authorize(std::string token) = 0;
};

/// The one refusal for a token that is missing, unknown, ended or expired: 401 "unauthorized".
Refusal unauthorized();

/// The credentials of an Authorization header of the Bearer scheme, whose name may be in either
/// case; none when the header is of another form or holds anything but visible ASCII.
std::optional<std::string_view> bearerCredentials(std::string_view authorization);

} // namespace lumivane::service
