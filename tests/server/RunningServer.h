#pragma once

#include "server/TestAuthorizer.h"
#include "server/application/AnalysisRoutes.h"
#include "server/application/OperationRoutes.h"
#include "server/http/HttpServer.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace lumivane::service::test {

inline constexpr auto testToken = "test-token-of-the-service";

/// An engine that answers at once, fails, or waits until it is cancelled.
class FakeEngine : public AnalysisEngine {
public:
    enum class Manner { answer, refuse, throwForeign, hold };

    boost::asio::awaitable<AnalysisAnswer> analyze(AnalyzeRequest request) override;

    std::optional<bool> answersLeetCode() const override { return std::nullopt; }

    /// Lets requests that are held go on. Called on the network thread.
    void release();

    std::atomic<Manner> manner = Manner::answer;
    std::atomic<int> started = 0;
    std::atomic<int> ended = 0;
    std::atomic<int> cancelled = 0;

private:
    std::vector<boost::asio::steady_timer*> m_held;
};

/// The real server with the service's routes on a free loopback port, on a thread of its own.
class RunningServer {
public:
    explicit RunningServer(ServerLimits limits = {});
    RunningServer(ServerLimits limits, ForwardedAddress forwarded, std::vector<Route> moreRoutes);
    ~RunningServer();

    std::uint16_t port() const { return m_server.port(); }

    void stop() { m_server.stop(); }

    void waitForEnd();
    void onNetworkThread(std::function<void()> work);

    /// All lines logged so far.
    std::string log();

    FakeEngine engine;

private:
    std::vector<Route> allRoutes(std::vector<Route> moreRoutes);

    boost::asio::io_context m_context{1};
    boost::asio::thread_pool m_pool{2};
    std::mutex m_mutex;
    std::string m_log;
    TestAuthorizer m_authorizer{testToken};
    ServerMetrics m_metrics;
    HttpServer m_server;
    std::thread m_thread;
};

/// "POST /v1/analyze" with the token and a JSON body.
std::string analyzeRequestBytes(const std::string& body, const std::string& moreHeaders = "");

/// A body that is accepted.
std::string goodBody();

} // namespace lumivane::service::test
