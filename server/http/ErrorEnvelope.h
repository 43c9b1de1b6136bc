#pragma once

#include "server/http/Authorizer.h"
#include "server/http/HttpMessage.h"

#include <chrono>
#include <string_view>

namespace lumivane::service {

/// The one form of every answer that is no success:
/// {"error":{"code":...,"message":...,"request_id":...}}.
///
/// `code` is a stable word for programs and `message` a short sentence that a person can act on;
/// the client shows at most its first 300 characters. Neither ever repeats what a request held.
HttpResponse errorResponse(int status, std::string_view code, std::string_view message,
                           std::string_view requestId);

/// The same with the headers that belong to the status: WWW-Authenticate with 401, Retry-After
/// where there is a time to wait, of a second at least with 503.
HttpResponse refusalResponse(const Refusal& refusal, std::string_view requestId);

/// Adds those headers to a refusal in another form.
void addRefusalHeaders(HttpResponse& response, const Refusal& refusal);

/// 429 "rate_limited".
Refusal rateLimited(std::chrono::seconds wait);

/// What is said of a failure that nobody foresaw.
Refusal internalFailure();

} // namespace lumivane::service
