#include "server/http/RequestLog.h"

#include <cstdio>

namespace lumivane::service {

std::string formatLogLine(const RequestLogEntry& entry) {
    char duration[32];
    std::snprintf(duration, sizeof duration, "%lld.%03lld",
                  static_cast<long long>(entry.duration.count() / 1000),
                  static_cast<long long>(entry.duration.count() % 1000));
    std::string line = "request method=";
    line.append(name(entry.method)).append(" route=").append(entry.routeName);
    line.append(" status=").append(std::to_string(entry.status));
    line.append(" duration_ms=").append(duration);
    line.append(" request_id=").append(entry.requestId);
    return line;
}

void writeToStandardError(const std::string& line) {
    const std::string whole = line + "\n";
    std::fwrite(whole.data(), 1, whole.size(), stderr);
}

} // namespace lumivane::service
