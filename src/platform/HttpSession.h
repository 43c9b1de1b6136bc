#pragma once

#include "platform/HttpTransport.h"

#include <chrono>

namespace lumivane {

/// A way to send requests with a time-out that holds for all of them. The transport must outlive
/// every client that has the session.
struct HttpSession {
    HttpTransport* transport = nullptr;
    std::chrono::milliseconds timeoutIntervalForRequest{};
};

} // namespace lumivane
