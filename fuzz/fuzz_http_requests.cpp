#include "Require.h"
#include "server/http/HttpServer.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>

#include <cstdint>

using namespace lumivane::service;
namespace asio = boost::asio;

namespace {

asio::awaitable<HttpResponse> echo(HttpRequest request) {
    HttpResponse response;
    response.body = request.body;
    response.contentType = "application/octet-stream";
    co_return response;
}

Route route(const char* path, HttpMethod method, Access access, BodyRule rule) {
    Route made;
    made.name = "fuzzed";
    made.path = path;
    made.method = method;
    made.access = access;
    made.bodyRule = rule;
    made.bodyBytes = 1024;
    made.handler = echo;
    return made;
}

std::vector<Route> routes() {
    using enum HttpMethod;
    return {route("/o", get, Access::open, BodyRule::none),
            route("/s", post, Access::session, BodyRule::json),
            route("/f/{}", post, Access::optionalSession, BodyRule::form),
            route("/c", remove, Access::credential, BodyRule::json)};
}

class OneToken final : public Authorizer {
public:
    asio::awaitable<Authorization> authorize(std::string token) override {
        if (token != "token") {
            co_return unauthorized();
        }
        co_return Principal{"account", "session", std::nullopt};
    }
};

/// A whole server on loopback; everything runs on the fuzzer's own thread.
class Target {
public:
    Target()
        : m_server(
              m_context, Router(m_authorizer, routes()), ServerLimits{}, [](const std::string&) {},
              &m_metrics) {
        ListenAddress address;
        address.port = 0;
        m_server.listen(address);
    }

    std::string answerTo(const std::uint8_t* bytes, std::size_t size) {
        asio::ip::tcp::socket client(m_context);
        const auto loopback = asio::ip::make_address("127.0.0.1");
        client.connect({loopback, m_server.port()});
        boost::system::error_code ignored;
        asio::write(client, asio::buffer(bytes, size), ignored);
        runAll();
        client.non_blocking(true, ignored);
        std::string answer;
        char part[16384];
        while (const auto count = client.read_some(asio::buffer(part), ignored)) {
            answer.append(part, count);
            runAll();
        }
        // A reset leaves no address behind that is taken for a minute.
        client.set_option(asio::socket_base::linger(true, 0), ignored);
        client.close(ignored);
        runAll();
        return answer;
    }

private:
    void runAll() {
        m_context.restart();
        while (m_context.poll() > 0) {
        }
    }

    asio::io_context m_context{1};
    OneToken m_authorizer;
    ServerMetrics m_metrics;
    HttpServer m_server;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static Target target;
    const std::string answer = target.answerTo(bytes, size);
    require(answer.empty() || answer.starts_with("HTTP/1.1 "));
    if (!answer.empty()) {
        const int status = std::atoi(answer.c_str() + 9);
        require((status >= 200 && status < 500) || status == 100);
    }
    return 0;
}
