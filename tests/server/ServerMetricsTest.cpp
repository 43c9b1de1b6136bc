#include "server/http/ServerMetrics.h"

#include "server/RunningServer.h"
#include "server/TestClient.h"
#include "server/work/WorkPool.h"
#include "support/WaitForCondition.h"

#include <boost/asio/detached.hpp>
#include <gtest/gtest.h>

#include <future>

namespace lumivane::service {

using lumivane::test::waitForCondition;
using test::RunningServer;
using test::TestClient;
using namespace std::chrono_literals;

namespace {

constexpr auto metricsRequest = "GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n";

bool holds(const std::string& text, const std::string& line) {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
}

} // namespace

TEST(ServerMetrics, CountsByRouteAndClassOfStatus) {
    ServerMetrics metrics;
    metrics.countRequest("analyze", 200, 1ms);
    metrics.countRequest("analyze", 204, 1ms);
    metrics.countRequest("analyze", 422, 1ms);
    metrics.countRequest("none", 404, 1ms);
    metrics.countRequest("healthz", 503, 1ms);
    metrics.countRequest("healthz", 0, 1ms);
    const std::string text = metrics.text();
    EXPECT_TRUE(holds(text, "# TYPE lumivane_http_requests_total counter"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_requests_total{route="analyze",status="2xx"} 2)"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_requests_total{route="analyze",status="4xx"} 1)"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_requests_total{route="none",status="4xx"} 1)"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_requests_total{route="healthz",status="5xx"} 1)"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_requests_total{route="healthz",status="none"} 1)"));
    EXPECT_EQ(text.find("3xx"), std::string::npos);
}

TEST(ServerMetrics, DurationsAreCumulativeAndTheirBoundsInclusive) {
    ServerMetrics metrics;
    metrics.countRequest("r", 200, 1000us);
    metrics.countRequest("r", 200, 1001us);
    metrics.countRequest("r", 200, 500ms);
    metrics.countRequest("r", 200, 200s);
    const std::string text = metrics.text();
    const std::string bucket = R"(lumivane_http_request_duration_seconds_bucket{route="r",le=")";
    EXPECT_TRUE(holds(text, bucket + "0.001\"} 1"));
    EXPECT_TRUE(holds(text, bucket + "0.0025\"} 2"));
    EXPECT_TRUE(holds(text, bucket + "0.25\"} 2"));
    EXPECT_TRUE(holds(text, bucket + "0.5\"} 3"));
    EXPECT_TRUE(holds(text, bucket + "120\"} 3"));
    EXPECT_TRUE(holds(text, bucket + "+Inf\"} 4"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_request_duration_seconds_count{route="r"} 4)"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_request_duration_seconds_sum{route="r"} 200.502001)"));
}

TEST(ServerMetrics, GaugesAreReadWhenAskedFor) {
    ServerMetrics metrics;
    double value = 1;
    metrics.addGauge("lumivane_x", "Some x.", [&value] { return value; });
    EXPECT_TRUE(holds(metrics.text(), "lumivane_x 1"));
    value = 2.5;
    const std::string text = metrics.text();
    EXPECT_TRUE(holds(text, "# HELP lumivane_x Some x."));
    EXPECT_TRUE(holds(text, "# TYPE lumivane_x gauge"));
    EXPECT_TRUE(holds(text, "lumivane_x 2.5"));
}

TEST(ServerMetrics, AreServedInTheTextForm) {
    RunningServer server;
    TestClient client(server.port());
    client.ask("GET /healthz HTTP/1.1\r\nHost: x\r\n\r\n");
    client.ask("GET /canary HTTP/1.1\r\nHost: canary\r\nX-Canary: canary\r\n\r\n");
    const auto response = client.ask(metricsRequest);
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.headers.at("content-type"), "text/plain; version=0.0.4; charset=utf-8");
    const std::string& text = response.body;
    EXPECT_TRUE(holds(text, R"(lumivane_http_requests_total{route="healthz",status="2xx"} 1)"));
    EXPECT_TRUE(holds(text, R"(lumivane_http_requests_total{route="none",status="4xx"} 1)"));
    EXPECT_TRUE(holds(text, "lumivane_http_connections 1"));
    EXPECT_TRUE(holds(text, "lumivane_http_body_bytes 0"));
    EXPECT_EQ(text.find("canary"), std::string::npos);
}

TEST(ServerMetrics, AreNotThereThroughAProxy) {
    RunningServer server;
    TestClient client(server.port());
    const auto response =
        client.ask("GET /metrics HTTP/1.1\r\nHost: x\r\nX-Forwarded-For: 127.0.0.1\r\n\r\n");
    EXPECT_EQ(response.status, 404);
    EXPECT_EQ(response.errorCode(), "not_found");
    RunningServer behind({}, ForwardedAddress::believed, {});
    TestClient direct(behind.port());
    EXPECT_EQ(direct.ask(metricsRequest).status, 200);
    EXPECT_EQ(
        direct.ask("GET /metrics HTTP/1.1\r\nHost: x\r\nX-Forwarded-For: 192.0.2.1\r\n\r\n").status,
        404);
}

TEST(WorkLoad, TellsWhatWaitsAndWhatRuns) {
    boost::asio::thread_pool pool(1);
    WorkLoad& load = WorkLoad::of(pool);
    EXPECT_EQ(&load, &WorkLoad::of(pool));
    boost::asio::io_context context;
    std::promise<void> gate;
    const auto opened = gate.get_future().share();
    for (int piece = 0; piece < 3; ++piece) {
        auto work = [opened] {
            opened.wait();
            return 0;
        };
        auto running = runOnWorkPool(pool, std::move(work));
        boost::asio::co_spawn(context, std::move(running), boost::asio::detached);
    }
    context.poll();
    EXPECT_TRUE(waitForCondition([&] { return load.running() == 1; }));
    EXPECT_EQ(load.waiting(), 2);
    gate.set_value();
    context.restart();
    context.run();
    EXPECT_TRUE(waitForCondition([&] { return load.running() == 0; }));
    EXPECT_EQ(load.waiting(), 0);
    pool.join();
}

} // namespace lumivane::service
