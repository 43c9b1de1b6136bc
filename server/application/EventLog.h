#pragma once

#include "server/http/RequestLog.h"
#include "server/http/ServerMetrics.h"
#include "server/login/LoginService.h"
#include "server/store/StoreError.h"

#include <mutex>

namespace lumivane::service {

/// Says and counts what goes wrong beside the requests: of which kind and where, in words of closed
/// sets alone, so that no text of a user, an address or another server can be among them. Any
/// thread.
class EventLog {
public:
    explicit EventLog(LogWriter writer);

    /// store failed case=unavailable reason="..."
    void storeFailed(const StoreError& error);

    /// login provider=google outcome=failed step=token fault=status status=401 request_id=...
    void loginEnded(const LoginEvent& event);

    /// That nobody can log in, since no provider is configured and none stands in.
    void noLogins();

    /// Both counters. The log must outlive the metrics' last text.
    void addTo(ServerMetrics& metrics);

private:
    using Counts = ServerMetrics::Counts;

    void count(Counts& counts, const std::string& labels);

    LogWriter m_writer;
    std::mutex m_mutex;
    Counts m_storeFailures;
    Counts m_logins;
};

} // namespace lumivane::service
