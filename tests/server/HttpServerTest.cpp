#include "server/RunningServer.h"
#include "server/TestClient.h"
#include "support/WaitForCondition.h"

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

#include <algorithm>

namespace lumivane::service {

using namespace std::chrono_literals;
using lumivane::test::waitForCondition;
using test::analyzeRequestBytes;
using test::goodBody;
using test::RunningServer;
using test::TestClient;
using Manner = test::FakeEngine::Manner;

namespace {

const std::string healthRequest = "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n";
const std::string healthBody = R"({"status":"ok","version":"0.3.0"})";

bool isRequestId(const std::string& text) {
    const auto isAllowed = [](char character) {
        return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '-';
    };
    return text.size() == 36 && std::all_of(text.begin(), text.end(), isAllowed);
}

} // namespace

TEST(HttpServer, AnswersHealthOverAKeptConnection) {
    RunningServer server;
    TestClient client(server.port());
    std::string lastId;
    for (int round = 0; round < 3; ++round) {
        const auto response = client.ask(healthRequest);
        EXPECT_EQ(response.status, 200);
        EXPECT_EQ(response.body, healthBody);
        EXPECT_EQ(response.headers.at("content-type"), "application/json");
        EXPECT_TRUE(isRequestId(response.headers.at("x-request-id")));
        EXPECT_NE(response.headers.at("x-request-id"), lastId);
        lastId = response.headers.at("x-request-id");
    }
}

TEST(HttpServer, AnswersHeadWithTheLengthAlone) {
    RunningServer server;
    TestClient client(server.port());
    client.send("HEAD /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n" + healthRequest);
    const auto head = client.read(false);
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.headers.at("content-length"), std::to_string(healthBody.size()));
    EXPECT_EQ(client.read().body, healthBody);
}

TEST(HttpServer, AnswersAnAnalysisWithItsRecord) {
    RunningServer server;
    TestClient client(server.port());
    const auto response = client.ask(analyzeRequestBytes(goodBody()));
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, R"({"request_id":")" + response.headers.at("x-request-id") +
                                 R"(","result":"Answer to canary-screen","result_kind":"text"})");
}

TEST(HttpServer, KeepsTheOrderOfRequestsSentAtOnce) {
    RunningServer server;
    TestClient client(server.port());
    client.send(healthRequest + analyzeRequestBytes(goodBody()) + healthRequest +
                "GET /nothing HTTP/1.1\r\nHost: x\r\n\r\n" + healthRequest);
    EXPECT_EQ(client.read().body, healthBody);
    EXPECT_NE(client.read().body.find("canary-screen"), std::string::npos);
    EXPECT_EQ(client.read().body, healthBody);
    EXPECT_EQ(client.read().errorCode(), "not_found");
    EXPECT_EQ(client.read().body, healthBody);
}

TEST(HttpServer, TakesRequestsThatArriveWhileOneIsAtWork) {
    RunningServer server;
    server.engine.manner = Manner::hold;
    TestClient client(server.port());
    client.send(analyzeRequestBytes(goodBody()));
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 1; }));
    client.send(healthRequest.substr(0, 20));
    client.send(healthRequest.substr(20) + healthRequest);
    server.onNetworkThread([&] { server.engine.release(); });
    EXPECT_EQ(client.read().status, 200);
    EXPECT_EQ(client.read().body, healthBody);
    EXPECT_EQ(client.read().body, healthBody);
    EXPECT_EQ(server.engine.cancelled, 0);
}

TEST(HttpServer, HonoursWhatTheClientSaysOfTheConnection) {
    RunningServer server;
    TestClient closing(server.port());
    const auto response =
        closing.ask("GET /healthz HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(response.headers.at("connection"), "close");
    EXPECT_TRUE(closing.readsEnd());
    TestClient old(server.port());
    EXPECT_EQ(old.ask("GET /healthz HTTP/1.0\r\n\r\n").status, 200);
    EXPECT_TRUE(old.readsEnd());
}

TEST(HttpServer, GarbageIs400) {
    RunningServer server;
    for (const char* bytes :
         {"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03\r\n\r\n", "GET\r\n\r\n", "\r\n\r\n\r\n\r\n",
          "GET /healthz HTTP/9.9\r\n\r\n", "GET /healthz HTTP/1.1\r\nBroken\r\n\r\n",
          "GET /healthz HTTP/1.1\r\n\r\n", "GET /healthz HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n",
          "GET  /healthz HTTP/1.1\r\nHost: a\r\n\r\n", "GET /healthz\r\n\r\n",
          "POST /v1/analyze HTTP/1.1\r\nHost: a\r\nContent-Length: -1\r\n\r\n",
          "POST /v1/analyze HTTP/1.1\r\nHost: a\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
          "POST /v1/analyze HTTP/1.1\r\nHost: a\r\nContent-Length: 5\r\n"
          "Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
          "POST /v1/analyze HTTP/1.1\r\nHost: a\r\nTransfer-Encoding: gzip, chunked\r\n\r\n"}) {
        TestClient client(server.port());
        const auto response = client.ask(bytes);
        EXPECT_EQ(response.status, 400) << bytes;
        EXPECT_EQ(response.errorCode(), "bad_request") << bytes;
        EXPECT_EQ(response.headers.at("connection"), "close") << bytes;
        EXPECT_TRUE(client.readsEnd()) << bytes;
    }
}

TEST(HttpServer, WrongMethodsPathsAndTokensAreEnvelopes) {
    RunningServer server;
    TestClient client(server.port());
    const auto method = client.ask("DELETE /healthz HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(method.errorCode(), "method_not_allowed");
    EXPECT_EQ(method.headers.at("allow"), "GET, HEAD");
    EXPECT_EQ(client.ask("GET /v1/analyze HTTP/1.1\r\nHost: x\r\n\r\n").headers.at("allow"),
              "POST");
    EXPECT_EQ(client.ask("GET /v2 HTTP/1.1\r\nHost: x\r\n\r\n").errorCode(), "not_found");
    const auto noToken = client.ask("POST /v1/analyze HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(noToken.errorCode(), "unauthorized");
    EXPECT_EQ(noToken.headers.at("www-authenticate"), "Bearer realm=\"lumivane\"");
    EXPECT_EQ(client
                  .ask("POST /v1/analyze HTTP/1.1\r\nHost: x\r\n"
                       "Authorization: Bearer wrong\r\n\r\n")
                  .errorCode(),
              "unauthorized");
    const std::string doubled = std::string("Authorization: Bearer ") + test::testToken + "\r\n";
    EXPECT_EQ(client.ask("POST /v1/analyze HTTP/1.1\r\nHost: x\r\n" + doubled + doubled + "\r\n")
                  .errorCode(),
              "unauthorized");
    EXPECT_EQ(server.engine.started, 0);
}

TEST(HttpServer, ABodyWithoutATokenIsNotEvenRead) {
    RunningServer server;
    TestClient client(server.port());
    client.send("POST /v1/analyze HTTP/1.1\r\nHost: x\r\nContent-Length: 1000000\r\n\r\nabc");
    const auto response = client.read();
    EXPECT_EQ(response.status, 401);
    EXPECT_EQ(response.headers.at("connection"), "close");
}

TEST(HttpServer, WrongContentTypesAre415) {
    RunningServer server;
    TestClient client(server.port());
    std::string bytes = analyzeRequestBytes(goodBody());
    bytes.replace(bytes.find("application/json"), 16, "application/html");
    EXPECT_EQ(client.ask(bytes).errorCode(), "unsupported_media_type");
}

TEST(HttpServer, WrongRecordsAreEnvelopes) {
    RunningServer server;
    TestClient client(server.port());
    const auto codeOf = [&client](const std::string& body) {
        const auto response = client.ask(analyzeRequestBytes(body));
        return std::to_string(response.status) + " " + response.errorCode();
    };
    EXPECT_EQ(codeOf(""), "400 invalid_json");
    EXPECT_EQ(codeOf("{\"screen_text\":\"\xFF\"}"), "400 invalid_json");
    EXPECT_EQ(codeOf(std::string(100'000, '[')), "400 invalid_json");
    EXPECT_EQ(codeOf("{}"), "422 invalid_request");
    EXPECT_EQ(codeOf(goodBody()), "200 ");
}

TEST(HttpServer, HalfARequestThatEndsIsDropped) {
    RunningServer server;
    for (const std::size_t length : {std::size_t{1}, std::size_t{30}, std::size_t{190}}) {
        TestClient client(server.port());
        client.send(analyzeRequestBytes(goodBody()).substr(0, length));
        client.endSending();
        EXPECT_TRUE(client.readsEnd()) << length;
    }
    EXPECT_EQ(server.engine.started, 0);
}

TEST(HttpServer, AnEngineThatFailsBecomesAnEnvelope) {
    RunningServer server;
    TestClient client(server.port());
    server.engine.manner = Manner::refuse;
    const auto refused = client.ask(analyzeRequestBytes(goodBody()));
    EXPECT_EQ(refused.status, 422);
    EXPECT_EQ(refused.errorCode(), "fake_refusal");
    server.engine.manner = Manner::throwForeign;
    const auto failed = client.ask(analyzeRequestBytes(goodBody()));
    EXPECT_EQ(failed.status, 500);
    EXPECT_EQ(failed.errorCode(), "internal_error");
    EXPECT_EQ(failed.body.find("canary"), std::string::npos);
    EXPECT_EQ(client.ask(healthRequest).status, 200);
    EXPECT_NE(server.log().find("internal error route=analyze request_id=" +
                                failed.headers.at("x-request-id") + "\n"),
              std::string::npos);
}

TEST(HttpServer, AClientThatGoesAwayCancelsItsAnalysis) {
    RunningServer server;
    server.engine.manner = Manner::hold;
    TestClient client(server.port());
    client.send(analyzeRequestBytes(goodBody()));
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 1; }));
    client.close();
    EXPECT_TRUE(waitForCondition([&] { return server.engine.cancelled == 1; }));
    EXPECT_TRUE(
        waitForCondition([&] { return server.log().find("status=0") != std::string::npos; }));
}

// Behind so many bytes nobody could see it go away.
TEST(HttpServer, AClientThatSendsFarAheadIsLeft) {
    RunningServer server;
    server.engine.manner = Manner::hold;
    TestClient client(server.port());
    client.send(analyzeRequestBytes(goodBody()));
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 1; }));
    client.send(std::string(80'000, 'a'));
    EXPECT_TRUE(waitForCondition([&] { return server.engine.cancelled == 1; }));
}

TEST(HttpServer, ManyClientsAtOnceEachGetTheirOwn) {
    RunningServer server;
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&server, &good, thread] {
            TestClient client(server.port());
            for (int round = 0; round < 40; ++round) {
                const std::string text = std::to_string(thread) + "-" + std::to_string(round);
                const auto response = client.ask(
                    analyzeRequestBytes(R"({"screen_text":")" + text +
                                        R"(","preset":"summary","client_version":"1"})"));
                good += response.body.find("Answer to " + text + "\"") != std::string::npos;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, 160);
}

TEST(HttpServer, HealthAnswersWhileAnalysesAreAtWork) {
    RunningServer server;
    server.engine.manner = Manner::hold;
    TestClient busy(server.port());
    busy.send(analyzeRequestBytes(goodBody()));
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 1; }));
    TestClient other(server.port());
    EXPECT_EQ(other.ask(healthRequest).status, 200);
}

TEST(HttpServer, StoppingFinishesWhatIsAtWorkAndClosesTheRest) {
    RunningServer server;
    server.engine.manner = Manner::hold;
    TestClient idle(server.port());
    EXPECT_EQ(idle.ask(healthRequest).status, 200);
    TestClient busy(server.port());
    busy.send(analyzeRequestBytes(goodBody()));
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 1; }));
    server.stop();
    EXPECT_TRUE(idle.readsEnd());
    EXPECT_THROW(TestClient(server.port()), std::runtime_error);
    server.onNetworkThread([&] { server.engine.release(); });
    const auto response = busy.read();
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.headers.at("connection"), "close");
    busy.close();
    server.waitForEnd();
}

TEST(HttpServer, StoppingBreaksOffWhatDoesNotFinishInTime) {
    ServerLimits limits;
    limits.stop = 50ms;
    RunningServer server(limits);
    server.engine.manner = Manner::hold;
    TestClient busy(server.port());
    busy.send(analyzeRequestBytes(goodBody()));
    ASSERT_TRUE(waitForCondition([&] { return server.engine.started == 1; }));
    server.stop();
    EXPECT_EQ(busy.read().status, 0);
    server.waitForEnd();
    EXPECT_EQ(server.engine.cancelled, 1);
    const std::string log = server.log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
    EXPECT_EQ(log.find("request method=POST route=analyze status=0 "), 0U) << log;
}

TEST(HttpServer, StoppingBreaksOffABodyThatDripsIn) {
    ServerLimits limits;
    limits.stop = 50ms;
    RunningServer server(limits);
    TestClient slow(server.port());
    const std::string bytes = analyzeRequestBytes(goodBody(), "Expect: 100-continue\r\n");
    const std::size_t end = bytes.find("\r\n\r\n") + 4;
    slow.send(bytes.substr(0, end));
    ASSERT_EQ(slow.read(false).status, 100);
    slow.send(bytes.substr(end, 5));
    server.stop();
    EXPECT_TRUE(slow.readsEnd());
    server.waitForEnd();
    const std::string log = server.log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
    EXPECT_NE(log.find(" status=0 "), std::string::npos) << log;
    EXPECT_EQ(server.engine.started, 0);
}

TEST(HttpServer, LogsOneLineForEachRequestAndNothingOfWhatItHeld) {
    RunningServer server;
    TestClient client(server.port());
    client.ask(analyzeRequestBytes(goodBody(), "X-Canary: canary\r\n"));
    const auto response = client.ask("GET /canary?canary=1 HTTP/1.1\r\nHost: canary\r\n\r\n");
    ASSERT_TRUE(waitForCondition([&] { return server.log().find("404") != std::string::npos; }));
    const std::string log = server.log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2);
    EXPECT_EQ(log.find("request method=POST route=analyze status=200 duration_ms="), 0U);
    EXPECT_NE(log.find("request method=GET route=none status=404 duration_ms="), std::string::npos);
    EXPECT_NE(log.find(" request_id=" + response.headers.at("x-request-id") + "\n"),
              std::string::npos);
    EXPECT_EQ(log.find("canary"), std::string::npos);
    EXPECT_EQ(log.find(test::testToken), std::string::npos);
}

TEST(HttpServer, ListensOnLoopbackAlone) {
    boost::asio::io_context context;
    test::TestAuthorizer authorizer("x");
    HttpServer server(context, Router(authorizer, {}), {}, {});
    for (const char* address : {"0.0.0.0", "192.168.1.1", "::", "localhost", "", "127.1"}) {
        ListenAddress wanted;
        wanted.address = address;
        EXPECT_THROW(server.listen(wanted), ListenError) << address;
    }
}

TEST(HttpServer, BehindAProxyAnyAddressButNoNameIsTaken) {
    boost::asio::io_context context;
    test::TestAuthorizer authorizer("x");
    HttpServer server(context, Router(authorizer, {}), {}, {});
    ListenAddress wanted;
    wanted.port = 0;
    wanted.reach = ListenAddress::Reach::anyAddress;
    wanted.address = "localhost";
    EXPECT_THROW(server.listen(wanted), ListenError);
    wanted.address = "0.0.0.0";
    EXPECT_NO_THROW(server.listen(wanted));
    EXPECT_NE(server.port(), 0);
}

} // namespace lumivane::service
