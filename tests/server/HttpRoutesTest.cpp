#include "server/RunningServer.h"
#include "server/TestClient.h"
#include "server/http/HtmlPage.h"

#include <gtest/gtest.h>

namespace lumivane::service {

using test::RunningServer;
using test::TestClient;

namespace {

boost::asio::awaitable<HttpResponse> answer(HttpResponse response) { co_return response; }

Route open(const char* path, HttpMethod method, BodyRule rule,
           std::function<HttpResponse(const HttpRequest&)> respond) {
    Route route;
    route.name = path + 1;
    route.path = path;
    route.method = method;
    route.access = Access::open;
    route.bodyRule = rule;
    route.handler = [respond = std::move(respond)](const HttpRequest& request) {
        return answer(respond(request));
    };
    return route;
}

HttpResponse text(std::string body) {
    HttpResponse response;
    response.body = std::move(body);
    response.contentType = "text/plain";
    return response;
}

std::vector<Route> routes() {
    std::vector<Route> made;
    made.push_back(open("/page", HttpMethod::get, BodyRule::none, [](const HttpRequest&) {
        HtmlPage page;
        page.html = "<!doctype html>";
        return htmlResponse(page);
    }));
    made.push_back(open("/nothing", HttpMethod::get, BodyRule::none, [](const HttpRequest&) {
        HttpResponse response;
        response.status = 204;
        response.headers.emplace_back("ETag", "\"7\"");
        return response;
    }));
    made.push_back(open("/cookies", HttpMethod::get, BodyRule::none, [](const HttpRequest&) {
        HttpResponse response = text("x");
        response.headers.emplace_back("Set-Cookie", "a=1");
        response.headers.emplace_back("Set-Cookie", "b=2");
        response.headers.emplace_back("Cache-Control", "private");
        return response;
    }));
    made.push_back(open("/who", HttpMethod::get, BodyRule::none,
                        [](const HttpRequest& request) { return text(request.clientAddress); }));
    made.push_back(open("/small", HttpMethod::post, BodyRule::form,
                        [](const HttpRequest& request) { return text(request.body); }));
    made.back().bodyBytes = 8;
    made.push_back(open("/head", HttpMethod::get, BodyRule::none, [](const HttpRequest& request) {
        const RequestHead& head = request.head;
        return text(head.host.value_or("none") + "|" + head.origin.value_or("none") + "|" +
                    head.cookie.value_or("none") + "|" + head.ifNoneMatch.value_or("none"));
    }));
    return made;
}

std::string form(const std::string& body) {
    return "POST /small HTTP/1.1\r\nHost: x\r\nContent-Type: application/x-www-form-urlencoded\r\n"
           "Content-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string get(const std::string& target, const std::string& headers = "") {
    return "GET " + target + " HTTP/1.1\r\nHost: x\r\n" + headers + "\r\n";
}

} // namespace

class HttpRoutesTest : public testing::Test {
protected:
    RunningServer server{{}, ForwardedAddress::ignored, routes()};
    TestClient client{server.port()};
};

TEST_F(HttpRoutesTest, PagesKeepTheirHeadersOnTheWire) {
    const auto response = client.ask(get("/page"));
    EXPECT_EQ(response.headers.at("content-type"), "text/html; charset=utf-8");
    EXPECT_EQ(response.headers.at("cache-control"), "no-store");
    EXPECT_EQ(response.headers.at("x-content-type-options"), "nosniff");
    EXPECT_EQ(response.headers.at("x-frame-options"), "DENY");
    EXPECT_EQ(response.headers.at("content-security-policy").find("default-src 'none';"), 0U);
}

TEST_F(HttpRoutesTest, AnAnswerWithoutContentHasNeitherLengthNorTypeAndKeepsTheConnection) {
    const auto response = client.ask(get("/nothing"));
    EXPECT_EQ(response.status, 204);
    EXPECT_EQ(response.headers.count("content-length"), 0U);
    EXPECT_EQ(response.headers.count("content-type"), 0U);
    EXPECT_EQ(response.headers.count("transfer-encoding"), 0U);
    EXPECT_EQ(response.headers.at("etag"), "\"7\"");
    EXPECT_EQ(client.ask(get("/healthz")).status, 200);
}

TEST_F(HttpRoutesTest, CookiesAddUpAndOtherHeadersReplace) {
    const auto response = client.ask(get("/cookies"));
    EXPECT_EQ(response.headers.at("set-cookie"), "a=1, b=2");
    EXPECT_EQ(response.headers.at("cache-control"), "private");
    EXPECT_EQ(response.body, "x");
}

TEST_F(HttpRoutesTest, EachRouteBoundsItsOwnBody) {
    EXPECT_EQ(client.ask(form("12345678")).body, "12345678");
    const auto refused = client.ask(form("123456789"));
    EXPECT_EQ(refused.status, 413);
    EXPECT_EQ(refused.errorCode(), "payload_too_large");
    EXPECT_EQ(refused.headers.at("connection"), "close");
}

TEST_F(HttpRoutesTest, ChunkedBodiesMeetTheSameBound) {
    const std::string head =
        "POST /small HTTP/1.1\r\nHost: x\r\nContent-Type: "
        "application/x-www-form-urlencoded\r\nTransfer-Encoding: chunked\r\n\r\n";
    EXPECT_EQ(client.ask(head + "4\r\nabcd\r\n4\r\nefgh\r\n0\r\n\r\n").body, "abcdefgh");
    EXPECT_EQ(client.ask(head + "4\r\nabcd\r\n5\r\nefghi\r\n0\r\n\r\n").status, 413);
}

TEST_F(HttpRoutesTest, TheClientIsWhoeverIsConnected) {
    EXPECT_EQ(client.ask(get("/who")).body, "127.0.0.1");
    EXPECT_EQ(client.ask(get("/who", "X-Forwarded-For: 192.0.2.1\r\n")).body, "127.0.0.1");
}

TEST_F(HttpRoutesTest, BehindAProxyTheClientIsWhomItSawLast) {
    RunningServer behind({}, ForwardedAddress::believed, routes());
    TestClient proxy(behind.port());
    const auto clientOf = [&](const std::string& headers) {
        return proxy.ask(get("/who", headers)).body;
    };
    EXPECT_EQ(clientOf("X-Forwarded-For: 192.0.2.1\r\n"), "192.0.2.1");
    EXPECT_EQ(clientOf("X-Forwarded-For: 10.0.0.1, 192.0.2.2\r\n"), "192.0.2.2");
    EXPECT_EQ(clientOf("X-Forwarded-For: 10.0.0.1\r\nX-Forwarded-For: 192.0.2.3\r\n"), "192.0.2.3");
    EXPECT_EQ(clientOf("X-Forwarded-For: 2001:DB8::1\r\n"), "2001:db8::1");
    for (const char* value : {"", "unknown", "192.0.2.1, ", "192.0.2.1:80", "<b>"}) {
        EXPECT_EQ(clientOf(std::string("X-Forwarded-For: ") + value + "\r\n"), "127.0.0.1")
            << value;
    }
    EXPECT_EQ(clientOf(""), "127.0.0.1");
}

TEST_F(HttpRoutesTest, HandlersSeeTheHeadersThatMatterToThem) {
    EXPECT_EQ(client.ask(get("/head")).body, "x|none|none|none");
    EXPECT_EQ(client
                  .ask(get("/head", "Origin: http://a\r\nCookie: c=1\r\n"
                                    "If-None-Match: \"1\"\r\nIf-None-Match: \"2\"\r\n"))
                  .body,
              "x|http://a|c=1|\"1\", \"2\"");
    // A repeated origin is there and matches nothing.
    EXPECT_EQ(client.ask(get("/head", "Origin: http://a\r\nOrigin: http://a\r\n")).body,
              "x||none|none");
}

TEST_F(HttpRoutesTest, TwoTokensAreNoToken) {
    const std::string authorization =
        std::string("Authorization: Bearer ") + test::testToken + "\r\n";
    const auto once = client.ask(test::analyzeRequestBytes(test::goodBody()));
    EXPECT_EQ(once.status, 200);
    const auto twice = client.ask(test::analyzeRequestBytes(test::goodBody(), authorization));
    EXPECT_EQ(twice.status, 401);
    EXPECT_EQ(twice.errorCode(), "unauthorized");
}

} // namespace lumivane::service
