#pragma once

#include "server/http/HttpMessage.h"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// What one finished request may say about itself. There is no field for a path, a query, a
/// header or a body, so none of them can reach a log.
struct RequestLogEntry {
    HttpMethod method = HttpMethod::other;
    std::string_view routeName = "none"; ///< the fixed name of a route, or "none"
    int status = 0;                      ///< 0 when the client left before its answer
    std::chrono::microseconds duration{};
    std::string_view requestId;
};

/// Takes finished lines without a line end. Called on any thread.
using LogWriter = std::function<void(const std::string& line)>;

/// "request method=GET route=healthz status=200 duration_ms=0.412 request_id=..."
std::string formatLogLine(const RequestLogEntry& entry);

/// Writes each line to standard error in one piece.
void writeToStandardError(const std::string& line);

} // namespace lumivane::service
