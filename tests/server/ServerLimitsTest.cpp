#include "server/RunningServer.h"
#include "server/TestClient.h"
#include "server/http/BodyBudget.h"
#include "support/WaitForCondition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivane::service {

using namespace std::chrono_literals;
using lumivane::test::waitForCondition;
using test::analyzeRequestBytes;
using test::goodBody;
using test::RunningServer;
using test::SendEnd;
using test::TestClient;
using Manner = test::FakeEngine::Manner;

namespace {

const std::string healthRequest = "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n";

// The head of an analysis whose client waits to be told to send so much.
std::string announcing(std::uint64_t bytes) {
    std::string head = analyzeRequestBytes("", "Expect: 100-continue\r\n");
    const std::string none = "Content-Length: 0";
    return head.replace(head.find(none), none.size(), "Content-Length: " + std::to_string(bytes));
}

boost::asio::awaitable<HttpResponse> answerNothing() { co_return HttpResponse(); }

Route smallRoute() {
    Route route;
    route.name = "small";
    route.method = HttpMethod::post;
    route.path = "/small";
    route.access = Access::open;
    route.bodyRule = BodyRule::json;
    route.handler = [](const HttpRequest&) { return answerNothing(); };
    return route;
}

std::string smallRequestBytes(const std::string& body) {
    return "POST /small HTTP/1.1\r\nHost: x\r\nContent-Type: application/json\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

} // namespace

TEST(ServerLimits, AHeaderOfMoreThan16KiBIs431) {
    RunningServer server;
    const std::string start = "GET /healthz HTTP/1.1\r\nHost: x\r\nX: ";
    TestClient fits(server.port());
    EXPECT_EQ(fits.ask(start + std::string(16'000, 'a') + "\r\n\r\n").status, 200);
    TestClient tooLong(server.port());
    EXPECT_EQ(tooLong.ask(start + std::string(17'000, 'a') + "\r\n\r\n").errorCode(),
              "header_too_large");
    TestClient endless(server.port());
    EXPECT_THAT(endless.ask(std::string(20'000, 'a')).status, testing::AnyOf(400, 431));
    std::string many = "GET /healthz HTTP/1.1\r\nHost: x\r\n";
    for (int index = 0; index < 4000; ++index) {
        many += "a: b\r\n";
    }
    TestClient flood(server.port());
    EXPECT_EQ(flood.ask(many + "\r\n").status, 431);
}

TEST(ServerLimits, BodiesUpTo20MiBAreTakenAndNoByteMore) {
    RunningServer server;
    const std::size_t limit = 20 * 1024 * 1024;
    const std::string start =
        R"({"preset":"summary","client_version":"1","image_data_url":"data:image/jpeg;base64,/9j/)";
    const std::string end = "\"}";
    const std::size_t digits = (limit - start.size() - end.size()) / 4 * 4;
    const std::size_t blanks = limit - start.size() - end.size() - digits;
    const std::string body = start + std::string(digits, 'A') + end + std::string(blanks, ' ');
    ASSERT_EQ(body.size(), limit);
    TestClient fits(server.port());
    EXPECT_EQ(fits.ask(analyzeRequestBytes(body)).status, 200);
    TestClient tooLarge(server.port());
    tooLarge.send(analyzeRequestBytes(body + " "));
    const auto response = tooLarge.read();
    EXPECT_EQ(response.status, 413);
    EXPECT_EQ(response.errorCode(), "payload_too_large");
}

TEST(ServerLimits, ChunkedBodiesAreTakenWithinTheLimit) {
    ServerLimits limits;
    limits.bodyBytes = 1000;
    RunningServer server(limits);
    const std::string head =
        std::string("POST /v1/analyze HTTP/1.1\r\nHost: x\r\nAuthorization: Bearer ") +
        test::testToken +
        "\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::string body = goodBody();
    TestClient client(server.port());
    char size[16];
    std::snprintf(size, sizeof size, "%zx", body.size() - 10);
    const std::string chunks = std::string(size) + "\r\n" + body.substr(0, body.size() - 10) +
                               "\r\na;x=y\r\n" + body.substr(body.size() - 10) + "\r\n0\r\n\r\n";
    EXPECT_EQ(client.ask(head + chunks).status, 200);
    TestClient endless(server.port());
    std::string stream = head;
    for (int index = 0; index < 100; ++index) {
        stream += "10\r\n0123456789abcdef\r\n";
    }
    EXPECT_EQ(endless.ask(stream).errorCode(), "payload_too_large");
    TestClient extension(server.port());
    EXPECT_EQ(extension.ask(head + "1;" + std::string(600'000, 'x')).status, 400);
    TestClient broken(server.port());
    EXPECT_EQ(broken.ask(head + "zz\r\n").errorCode(), "bad_request");
}

TEST(ServerLimits, AllBodiesTogetherAreBounded) {
    ServerLimits limits;
    limits.allBodyBytes = 100;
    limits.keptForSmall = 0;
    RunningServer server(limits);
    server.engine.manner = Manner::hold;
    TestClient first(server.port());
    first.send(analyzeRequestBytes(goodBody()));
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 1; }));
    TestClient second(server.port());
    EXPECT_EQ(second.ask(analyzeRequestBytes(goodBody())).errorCode(), "busy");
    server.onNetworkThread([&] { server.engine.release(); });
    EXPECT_EQ(first.read().status, 200);
    server.engine.manner = Manner::answer;
    EXPECT_EQ(first.ask(analyzeRequestBytes(goodBody())).status, 200);
}

TEST(ServerLimits, AnnouncingBytesKeepsNobodyOut) {
    ServerLimits limits;
    limits.allBodyBytes = 2 * limits.bodyBytes;
    limits.keptForSmall = limits.bodyBytes;
    RunningServer server(limits);
    std::vector<std::unique_ptr<TestClient>> silent;
    for (int index = 0; index < 3; ++index) {
        silent.push_back(std::make_unique<TestClient>(server.port()));
        silent.back()->send(announcing(limits.bodyBytes));
        EXPECT_EQ(silent.back()->read(false).status, 100);
    }
    TestClient other(server.port());
    EXPECT_EQ(other.ask(analyzeRequestBytes(goodBody())).status, 200);
}

TEST(ServerLimits, LargeBodiesLeaveRoomForSmallOnes) {
    ServerLimits limits;
    limits.bodyBytes = 1024 * 1024;
    limits.allBodyBytes = 3 * limits.bodyBytes / 2;
    limits.keptForSmall = limits.bodyBytes / 2;
    RunningServer server(limits, ForwardedAddress::ignored, {smallRoute()});
    TestClient upload(server.port());
    upload.send(announcing(limits.bodyBytes));
    EXPECT_EQ(upload.read(false).status, 100);
    upload.send(std::string(limits.bodyBytes - 1, ' '));
    EXPECT_TRUE(waitForCondition([&] {
        TestClient watcher(server.port());
        const std::string metrics = watcher.ask("GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n").body;
        return metrics.find("\nlumivane_http_body_bytes 1048575\n") != std::string::npos;
    }));
    TestClient analysis(server.port());
    EXPECT_EQ(analysis.ask(analyzeRequestBytes(goodBody())).errorCode(), "busy");
    TestClient small(server.port());
    EXPECT_EQ(small.ask(smallRequestBytes(std::string(60'000, ' '))).status, 200);
    upload.send("1");
    EXPECT_EQ(upload.read().errorCode(), "invalid_request");
    EXPECT_EQ(upload.ask(analyzeRequestBytes(goodBody())).status, 200);
}

TEST(ServerLimits, AnAccountHasAFewAnalysesAtWork) {
    RunningServer server;
    server.engine.manner = Manner::hold;
    std::vector<std::unique_ptr<TestClient>> clients;
    for (int index = 0; index < 4; ++index) {
        clients.push_back(std::make_unique<TestClient>(server.port()));
        clients.back()->send(analyzeRequestBytes(goodBody()));
    }
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 4; }));
    TestClient fifth(server.port());
    const auto refused = fifth.ask(analyzeRequestBytes(goodBody()));
    EXPECT_EQ(refused.status, 429);
    EXPECT_EQ(refused.errorCode(), "rate_limited");
    EXPECT_EQ(refused.headers.at("retry-after"), "1");
    // Whoever leaves makes room, as does an answer.
    clients.pop_back();
    ASSERT_TRUE(waitForCondition([&] { return server.engine.cancelled == 1; }));
    server.engine.manner = Manner::answer;
    EXPECT_TRUE(waitForCondition([&] {
        TestClient next(server.port());
        return next.ask(analyzeRequestBytes(goodBody())).status == 200;
    }));
    server.onNetworkThread([&] { server.engine.release(); });
    for (const auto& client : clients) {
        EXPECT_EQ(client->read().status, 200);
    }
}

TEST(ServerLimits, TellsAWaitingClientToGoOn) {
    RunningServer server;
    TestClient client(server.port());
    const std::string bytes = analyzeRequestBytes(goodBody(), "Expect: 100-continue\r\n");
    const std::size_t end = bytes.find("\r\n\r\n") + 4;
    client.send(bytes.substr(0, end));
    EXPECT_EQ(client.read(false).status, 100);
    EXPECT_EQ(client.ask(bytes.substr(end)).status, 200);
    // Whoever sends the body with the header needs no telling.
    EXPECT_EQ(client.ask(bytes).status, 200);
}

TEST(ServerLimits, RefusesAWaitingClientBeforeItsBody) {
    RunningServer server;
    TestClient large(server.port());
    std::string bytes = analyzeRequestBytes("", "Expect: 100-continue\r\n");
    bytes.replace(bytes.find("Content-Length: 0"), 17, "Content-Length: 30000000");
    EXPECT_EQ(large.ask(bytes).status, 413);
    TestClient stranger(server.port());
    EXPECT_EQ(stranger
                  .ask("POST /v1/analyze HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n"
                       "Expect: 100-continue\r\n\r\n")
                  .status,
              401);
}

TEST(ServerLimits, ASlowHeaderIs408) {
    ServerLimits limits;
    limits.header = 50ms;
    limits.linger = 50ms;
    RunningServer server(limits);
    TestClient client(server.port());
    EXPECT_EQ(client.ask("GET /healthz HTT").errorCode(), "request_timeout");
    EXPECT_TRUE(client.readsEnd());
}

TEST(ServerLimits, ASlowBodyIs408) {
    ServerLimits limits;
    limits.body = 50ms;
    limits.linger = 50ms;
    RunningServer server(limits);
    TestClient client(server.port());
    const std::string bytes = analyzeRequestBytes(goodBody());
    EXPECT_EQ(client.ask(bytes.substr(0, bytes.size() - 1)).errorCode(), "request_timeout");
}

TEST(ServerLimits, AHeaderSentInDripsHasOneTimeForAll) {
    ServerLimits limits;
    limits.header = 150ms;
    RunningServer server(limits);
    TestClient client(server.port());
    EXPECT_TRUE(waitForCondition([&] {
        return client.send("a") == SendEnd::refused ||
               server.log().find("status=408") != std::string::npos;
    })) << "each drip bought more time";
    EXPECT_EQ(client.read().status, 408);
}

TEST(ServerLimits, IdleConnectionsAreClosedWithoutAWord) {
    ServerLimits limits;
    limits.idle = 50ms;
    RunningServer server(limits);
    TestClient fresh(server.port());
    EXPECT_TRUE(fresh.readsEnd());
    // A loaded machine may take longer than that to send a request.
    EXPECT_TRUE(waitForCondition([&server] {
        TestClient kept(server.port());
        return kept.ask(healthRequest).status == 200 && kept.readsEnd();
    }));
    EXPECT_EQ(server.log().find("408"), std::string::npos);
}

TEST(ServerLimits, AClientThatTakesNoAnswerIsLeft) {
    ServerLimits limits;
    limits.write = 50ms;
    RunningServer server(limits);
    TestClient client(server.port());
    std::string many;
    for (int index = 0; index < 1000; ++index) {
        many += healthRequest;
    }
    SendEnd end = SendEnd::sent;
    for (int round = 0; round < 2000 && end == SendEnd::sent; ++round) {
        end = client.send(many);
    }
    EXPECT_EQ(end, SendEnd::refused);
}

TEST(ServerLimits, OneConnectionTooManyIs503) {
    ServerLimits limits;
    limits.connections = 1;
    RunningServer server(limits);
    TestClient first(server.port());
    EXPECT_EQ(first.ask(healthRequest).status, 200);
    TestClient second(server.port());
    const auto response = second.ask(healthRequest);
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(response.errorCode(), "too_many_connections");
    EXPECT_NE(server.log().find("request method=OTHER route=none status=503 duration_ms="),
              std::string::npos);
    EXPECT_NE(server.log().find(" request_id=" + response.headers.at("x-request-id") + "\n"),
              std::string::npos);
    EXPECT_NE(first.ask("GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n")
                  .body.find("lumivane_http_requests_total{route=\"none\",status=\"5xx\"} 1\n"),
              std::string::npos);
    first.close();
    second.close();
    EXPECT_TRUE(waitForCondition([&] {
        TestClient third(server.port());
        return third.ask(healthRequest).status == 200;
    }));
}

TEST(ServerLimits, AnOpenRouteTakesNoBody) {
    ServerLimits limits;
    limits.allBodyBytes = 100;
    RunningServer server(limits);
    TestClient client(server.port());
    const auto response = client.ask("GET /healthz HTTP/1.1\r\nHost: x\r\n"
                                     "Content-Length: 10000000\r\n\r\nabc");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.headers.at("connection"), "close");
}

TEST(ServerLimits, ABudgetKeepsAPartForSmallBodies) {
    BodyBudget budget(10, 4);
    BodyBudget::Share large(budget);
    BodyBudget::Share another(budget);
    BodyBudget::Share small(budget);
    EXPECT_TRUE(large.growTo(5, BodyBudget::Size::large));
    EXPECT_FALSE(large.growTo(7, BodyBudget::Size::large));
    EXPECT_FALSE(another.growTo(2, BodyBudget::Size::large));
    EXPECT_FALSE(small.growTo(6));
    EXPECT_TRUE(small.growTo(5));
    EXPECT_FALSE(another.growTo(1, BodyBudget::Size::large));
    small.release();
    EXPECT_TRUE(another.growTo(1, BodyBudget::Size::large));
    large.release();
    EXPECT_TRUE(small.growTo(9));
    EXPECT_EQ(budget.used(), 10U);
}

TEST(ServerLimits, ABudgetWithoutRoomForLargeBodiesTakesSmallOnes) {
    BodyBudget budget(10, 20);
    BodyBudget::Share share(budget);
    EXPECT_FALSE(share.growTo(1, BodyBudget::Size::large));
    EXPECT_TRUE(share.growTo(10));
}

TEST(ServerLimits, ABudgetGivesBackWhatItGave) {
    BodyBudget budget(10);
    {
        BodyBudget::Share first(budget);
        BodyBudget::Share second(budget);
        EXPECT_TRUE(first.growTo(6));
        EXPECT_TRUE(first.growTo(2));
        EXPECT_FALSE(second.growTo(5));
        EXPECT_TRUE(second.growTo(4));
        EXPECT_FALSE(first.growTo(7));
        EXPECT_FALSE(first.growTo(~std::uint64_t{0}));
        first.release();
        EXPECT_TRUE(second.growTo(10));
    }
    EXPECT_EQ(budget.used(), 0U);
}

} // namespace lumivane::service
