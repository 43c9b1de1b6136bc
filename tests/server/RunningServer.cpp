#include "server/RunningServer.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace lumivane::service::test {

namespace asio = boost::asio;

asio::awaitable<AnalysisAnswer> FakeEngine::analyze(AnalyzeRequest request) {
    ++started;
    if (manner == Manner::refuse) {
        throw EngineError(422, "fake_refusal", "Set a model.");
    }
    if (manner == Manner::throwForeign) {
        throw std::runtime_error("canary of an exception");
    }
    if (manner == Manner::hold) {
        asio::steady_timer timer(co_await asio::this_coro::executor);
        timer.expires_at(asio::steady_timer::time_point::max());
        m_held.push_back(&timer);
        constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
        co_await timer.async_wait(asTuple);
        const auto state = co_await asio::this_coro::cancellation_state;
        std::erase(m_held, &timer);
        cancelled += state.cancelled() != asio::cancellation_type::none ? 1 : 0;
    }
    ++ended;
    AnalysisAnswer answer;
    answer.result = "Answer to " + request.screenText.value_or("a picture");
    co_return answer;
}

void FakeEngine::release() {
    for (auto* timer : m_held) {
        timer->cancel();
    }
}

RunningServer::RunningServer(ServerLimits limits)
    : RunningServer(limits, ForwardedAddress::ignored, {}) {}

RunningServer::RunningServer(ServerLimits limits, ForwardedAddress forwarded,
                             std::vector<Route> moreRoutes)
    : m_server(
          m_context, Router(m_authorizer, allRoutes(std::move(moreRoutes))), limits,
          [this](const std::string& line) {
              const std::lock_guard lock(m_mutex);
              m_log += line + "\n";
          },
          m_metrics, forwarded) {
    ListenAddress address;
    address.port = 0;
    m_server.listen(address);
    m_thread = std::thread([this] { m_context.run(); });
}

std::vector<Route> RunningServer::allRoutes(std::vector<Route> moreRoutes) {
    auto routes = operationRoutes(m_metrics, [this] { return engine.answersLeetCode(); });
    for (auto& route : analysisRoutes(engine, m_pool)) {
        routes.push_back(std::move(route));
    }
    for (auto& route : moreRoutes) {
        routes.push_back(std::move(route));
    }
    return routes;
}

RunningServer::~RunningServer() {
    stop();
    onNetworkThread([this] { engine.release(); });
    waitForEnd();
    m_pool.join();
}

void RunningServer::waitForEnd() {
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void RunningServer::onNetworkThread(std::function<void()> work) {
    asio::post(m_context, std::move(work));
}

std::string RunningServer::log() {
    const std::lock_guard lock(m_mutex);
    return m_log;
}

std::string analyzeRequestBytes(const std::string& body, const std::string& moreHeaders) {
    return std::string("POST /v1/analyze HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer ") +
           testToken + "\r\nContent-Type: application/json\r\n" + moreHeaders +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string goodBody() {
    return R"({"screen_text":"canary-screen","preset":"summary","client_version":"0.3.0"})";
}

} // namespace lumivane::service::test
