#include "server/ScriptedServer.h"
#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumivane::service::test {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Outcome = UpstreamReply::Outcome;

namespace {

UpstreamReply exchange(UpstreamRequest request, std::chrono::milliseconds patience = 10s) {
    const auto transport = makeHttpUpstreamTransport();
    boost::asio::io_context context;
    UpstreamReply reply;
    auto done = [&reply](const std::exception_ptr&, UpstreamReply given) {
        reply = std::move(given);
    };
    boost::asio::co_spawn(context, transport->send(std::move(request), monotonicNow() + patience),
                          done);
    context.run();
    return reply;
}

} // namespace

TEST(UpstreamUrl, AnAddressIsTakenApart) {
    const UpstreamUrl url = parseUpstreamUrl("https://Login.Example.org:8443/a/b");
    EXPECT_EQ(url, (UpstreamUrl{true, "login.example.org", 8443, "/a/b"}));
    EXPECT_EQ(url.hostField(), "login.example.org:8443");
    EXPECT_EQ(parseUpstreamUrl("https://x.example").target, "/");
    EXPECT_EQ(parseUpstreamUrl("http://[::1]:80").hostField(), "[::1]");
}

TEST(UpstreamUrl, PlainTextGoesNoFurtherThanThisMachine) {
    EXPECT_NO_THROW(parseUpstreamUrl("http://localhost:1/x"));
    for (const char* text : {"http://login.example.org", "http://127.0.0.1.example.org",
                             "http://127.0.0.2", "ftp://localhost"}) {
        EXPECT_THROW(parseUpstreamUrl(text), UpstreamUrlError) << text;
    }
}

TEST(UpstreamUrl, NothingButHostPortAndPathIsTaken) {
    for (const char* text :
         {"", "login.example.org", "https://", "https://u@x.example", "https://x.example?q=1",
          "https://x.example#f", "https://x.example:0", "https://x.example:65536"}) {
        EXPECT_THROW(parseUpstreamUrl(text), UpstreamUrlError) << text;
    }
}

TEST(UpstreamTransport, ARequestArrivesAsItWasMeant) {
    ScriptedServer upstream;
    upstream.answerWith({httpAnswer(201, "fine")});
    UpstreamRequest request;
    request.method = UpstreamRequest::Method::post;
    request.url = parseUpstreamUrl(upstream.url("/token"));
    request.url.target += "?a=1";
    request.headers.emplace_back("Content-Type", "text/plain");
    request.body = "body";
    const UpstreamReply reply = exchange(std::move(request));
    EXPECT_EQ(reply.outcome, Outcome::answered);
    EXPECT_EQ(reply.status, 201);
    EXPECT_EQ(reply.body, "fine");
    EXPECT_THAT(upstream.requests().front(),
                AllOf(StartsWith("POST /token?a=1 HTTP/1.1\r\n"),
                      HasSubstr("Content-Type: text/plain\r\n"), HasSubstr("Connection: close\r\n"),
                      HasSubstr("\r\n\r\nbody")));
}

TEST(UpstreamTransport, ADeadlineEndsTheWait) {
    ScriptedServer upstream;
    UpstreamRequest request;
    request.url = parseUpstreamUrl(upstream.url());
    EXPECT_EQ(exchange(std::move(request), 50ms).outcome, Outcome::timedOut);
}

TEST(UpstreamTransport, WhatIsNoHttpIsMalformed) {
    ScriptedServer upstream;
    upstream.answersAnyBytes = true;
    upstream.answerWith({"220 mail.example.org ready\r\n\r\n"});
    UpstreamRequest request;
    request.url = parseUpstreamUrl(upstream.url());
    EXPECT_EQ(exchange(std::move(request)).outcome, Outcome::malformed);
}

TEST(UpstreamTransport, NobodyThereIsUnreachable) {
    UpstreamRequest request;
    request.url = parseUpstreamUrl("http://127.0.0.1:1");
    EXPECT_EQ(exchange(std::move(request)).outcome, Outcome::unreachable);
}

} // namespace lumivane::service::test
