#pragma once

#include "platform/linux/QtHttpTransport.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"
#include "support/ScriptedHttpServer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

namespace lumivane {

using namespace std::chrono_literals;
using Kind = TransportError::Kind;
using test::ScriptedAnswer;
using test::ScriptedHttpServer;
using Then = test::ScriptedAnswer::Then;

inline constexpr std::int64_t mebibyte = std::int64_t{1024} * 1024;

/// The answer of a request that should have got one; a failed one shows as status -1.
inline HttpResponse answerOf(const test::Outcome<HttpResponse>& outcome) {
    return outcome.value.value_or(HttpResponse{.isHttp = false, .status = -1, .body = "none"});
}

/// The kind of failure of a request that should have failed.
inline std::optional<Kind> failureOf(const test::Outcome<HttpResponse>& outcome) {
    const auto error = outcome.errorAs<TransportError>();
    return error ? std::optional(error->kind) : std::nullopt;
}

/// Resident memory of this process in bytes.
inline std::int64_t residentBytes() {
    std::int64_t total = 0;
    std::int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

/// The real transport before a scripted server, on a clock that the test turns.
class HttpTransportFixture : public testing::Test {
protected:
    HttpRequest request(const QByteArray& method, const QString& path,
                        const QByteArray& body = {}) const {
        HttpRequest result;
        result.method = method;
        result.url = QUrl(server.baseURL() + path);
        result.body = body;
        result.timeout = 20s;
        result.maximumResponseBytes = 4 * mebibyte;
        return result;
    }

    test::Outcome<HttpResponse> get(const QString& path = u"/x"_qs) {
        return test::outcomeOf(transport->send(request("GET", path), {}));
    }

    test::Outcome<HttpResponse> post(const QByteArray& body, const QString& path = u"/x"_qs) {
        return test::outcomeOf(transport->send(request("POST", path, body), {}));
    }

    /// How a GET that is answered like this fails.
    std::optional<Kind> failureAfter(const ScriptedAnswer& answer) {
        server.always("/x", answer);
        return failureOf(get());
    }

    bool everythingIsClosed() {
        return test::waitUntil([this] { return server.openConnections() == 0; });
    }

    ScriptedHttpServer server;
    test::ManualClock clock;
    std::unique_ptr<QtHttpTransport> transport = std::make_unique<QtHttpTransport>(clock);
};

} // namespace lumivane
