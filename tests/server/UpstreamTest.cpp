#include "server/ScriptedServer.h"
#include "server/upstream/NameResolver.h"
#include "server/upstream/UpstreamTransport.h"
#include "support/WaitForCondition.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <atomic>
#include <future>
#include <thread>

namespace lumivane::service::test {

namespace asio = boost::asio;
using namespace std::chrono_literals;
using lumivane::test::waitForCondition;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using Outcome = UpstreamReply::Outcome;

namespace {

UpstreamReply exchange(UpstreamRequest request, std::chrono::milliseconds patience = 10s,
                       UpstreamSettings settings = {}) {
    const auto transport = makeHttpUpstreamTransport(std::move(settings));
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

UpstreamRequest requestTo(const std::string& url) {
    UpstreamRequest request;
    request.url = parseUpstreamUrl(url);
    return request;
}

// The fake server waits for a body.
UpstreamRequest postTo(const std::string& url) {
    UpstreamRequest request = requestTo(url);
    request.method = UpstreamRequest::Method::post;
    return request;
}

asio::ip::tcp::endpoint loopback(std::uint16_t port) {
    return {asio::ip::make_address("127.0.0.1"), port};
}

/// Names that begin with "silent" are looked up until this object ends, all others have no address.
class SilentNames {
public:
    ~SilentNames() { m_state->release.set_value(); }

    UpstreamSettings settings() const {
        UpstreamSettings settings;
        settings.lookup = [state = m_state](const std::string& host, std::uint16_t) {
            if (host.starts_with("silent")) {
                ++state->entered;
                state->held.wait();
                ++state->left;
            }
            return UpstreamAddresses();
        };
        return settings;
    }

    int entered() const { return m_state->entered; }

    int left() const { return m_state->left; }

private:
    struct State {
        std::promise<void> release;
        std::shared_future<void> held = release.get_future().share();
        std::atomic<int> entered = 0;
        std::atomic<int> left = 0;
    };

    // The lookups may outlive the test.
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// An address that takes no further connection and does not say so either.
class FullListener {
public:
    FullListener()
        : m_acceptor(m_context, asio::ip::tcp::v4()) {
        m_acceptor.bind(loopback(0));
        m_acceptor.listen(0);
        for (int index = 0; index < 3; ++index) {
            asio::ip::tcp::socket& client = m_clients.emplace_back(m_context, asio::ip::tcp::v4());
            client.native_non_blocking(true);
            const asio::ip::tcp::endpoint full = endpoint();
            static_cast<void>(::connect(client.native_handle(), full.data(),
                                        static_cast<socklen_t>(full.size())));
        }
    }

    asio::ip::tcp::endpoint endpoint() const { return m_acceptor.local_endpoint(); }

private:
    asio::io_context m_context;
    asio::ip::tcp::acceptor m_acceptor;
    std::vector<asio::ip::tcp::socket> m_clients;
};

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
         {"", "login.example.org", "https://", "https://a%0d%0aX:b.example",
          "https://a%2fb.example", "https://a%20b", "https://u@x.example", "https://x.example?q=1",
          "https://x.example#f", "https://x.example:0", "https://x.example:65536"}) {
        EXPECT_THROW(parseUpstreamUrl(text), UpstreamUrlError) << text;
    }
}

TEST(UpstreamTransport, ARequestArrivesAsItWasMeant) {
    ScriptedServer upstream;
    upstream.answerWith({httpAnswer(201, "fine")});
    UpstreamRequest request;
    request.method = UpstreamRequest::Method::post;
    request.url = parseUpstreamUrl(upstream.url() + "/token");
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

TEST(UpstreamTransport, ADeadlineEndsTheWaitForTheRestOfABody) {
    ScriptedServer upstream;
    upstream.keepsOpen = true;
    upstream.answerWith({"HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nhalf"});
    EXPECT_EQ(exchange(postTo(upstream.url()), 200ms).outcome, Outcome::timedOut);
    EXPECT_EQ(upstream.requests().size(), 1U);
}

TEST(UpstreamTransport, ADeadlineEndsTheWaitForAName) {
    SilentNames names;
    const MonotonicTime started = monotonicNow();
    EXPECT_EQ(exchange(requestTo("https://silent.example"), 50ms, names.settings()).outcome,
              Outcome::timedOut);
    EXPECT_LT(monotonicNow() - started, 5s);
    EXPECT_EQ(names.left(), 0);
}

TEST(UpstreamTransport, CancellingEndsTheWaitForAName) {
    SilentNames names;
    const auto transport = makeHttpUpstreamTransport(names.settings());
    asio::io_context context;
    asio::cancellation_signal cancel;
    bool isEnded = false;
    auto done = [&isEnded](const std::exception_ptr&, const UpstreamReply&) { isEnded = true; };
    asio::co_spawn(context,
                   transport->send(requestTo("https://silent.example"), monotonicNow() + 1h),
                   asio::bind_cancellation_slot(cancel.slot(), done));
    std::thread canceller([&] {
        waitForCondition([&names] { return names.entered() == 1; });
        asio::post(context, [&cancel] { cancel.emit(asio::cancellation_type::terminal); });
    });
    context.run();
    canceller.join();
    EXPECT_TRUE(isEnded);
    EXPECT_EQ(names.left(), 0);
}

TEST(UpstreamTransport, AnEndOfEverythingDoesNotWaitForAName) {
    SilentNames names;
    {
        const auto transport = makeHttpUpstreamTransport(names.settings());
        asio::io_context context;
        asio::co_spawn(context,
                       transport->send(requestTo("https://silent.example"), monotonicNow() + 1h),
                       asio::detached);
        context.poll();
        EXPECT_TRUE(waitForCondition([&names] { return names.entered() == 1; }));
    }
    EXPECT_EQ(names.left(), 0);
}

TEST(UpstreamTransport, OneSilentNameHoldsUpNoOther) {
    SilentNames names;
    const auto transport = makeHttpUpstreamTransport(names.settings());
    asio::io_context context;
    std::vector<Outcome> outcomes;
    const auto send = [&](const std::string& url, std::chrono::milliseconds patience) {
        auto done = [&outcomes](const std::exception_ptr&, const UpstreamReply& given) {
            outcomes.push_back(given.outcome);
        };
        asio::co_spawn(context, transport->send(requestTo(url), monotonicNow() + patience), done);
    };
    send("https://silent.example", 1h);
    send("https://silent-too.example", 1h);
    send("https://unknown.example", 10s);
    EXPECT_TRUE(waitForCondition([&] {
        context.poll();
        return !outcomes.empty();
    }));
    EXPECT_EQ(outcomes, std::vector<Outcome>{Outcome::unreachable});
}

TEST(UpstreamTransport, ANameWithoutAnAddressIsUnreachable) {
    UpstreamSettings settings;
    settings.lookup = [](const std::string&, std::uint16_t) { return UpstreamAddresses(); };
    EXPECT_EQ(exchange(requestTo("https://no.example"), 10s, settings).outcome,
              Outcome::unreachable);
    settings.lookup = [](const std::string&, std::uint16_t) -> UpstreamAddresses {
        throw std::runtime_error("no memory");
    };
    EXPECT_EQ(exchange(requestTo("https://no.example"), 10s, settings).outcome,
              Outcome::unreachable);
}

TEST(UpstreamTransport, TheSystemKnowsThisMachine) {
    const UpstreamAddresses found = systemNameLookup("localhost", 8080);
    EXPECT_THAT(found, testing::Contains(loopback(8080)));
}

TEST(UpstreamTransport, AnAddressThatSaysNothingDoesNotUseUpTheTime) {
    ScriptedServer upstream;
    upstream.answerWith({httpAnswer(200, "fine")});
    const FullListener full;
    UpstreamSettings settings;
    settings.connectAttempt = 100ms;
    settings.lookup = [&](const std::string&, std::uint16_t) {
        return UpstreamAddresses{full.endpoint(), loopback(upstream.port())};
    };
    const MonotonicTime started = monotonicNow();
    EXPECT_EQ(exchange(postTo("http://localhost"), 10s, settings).body, "fine");
    EXPECT_GE(monotonicNow() - started, 100ms) << "the first address took the connection";
}

TEST(UpstreamTransport, AnAddressThatRefusesIsFollowedByTheNext) {
    ScriptedServer upstream;
    upstream.answerWith({httpAnswer(200, "fine")});
    UpstreamSettings settings;
    settings.lookup = [&](const std::string&, std::uint16_t) {
        return UpstreamAddresses{loopback(1), loopback(1), loopback(upstream.port())};
    };
    EXPECT_EQ(exchange(postTo("http://localhost"), 10s, settings).body, "fine");
}

TEST(UpstreamTransport, BothKindsOfAddressesAreTriedByTurns) {
    const auto four = [](std::uint16_t port) { return loopback(port); };
    const auto six = [](std::uint16_t port) {
        return asio::ip::tcp::endpoint(asio::ip::make_address("::1"), port);
    };
    EXPECT_EQ(kindsByTurns({six(1), six(2), six(3), four(1), four(2)}),
              (UpstreamAddresses{six(1), four(1), six(2), four(2), six(3)}));
    EXPECT_EQ(kindsByTurns({four(1), six(1), six(2)}),
              (UpstreamAddresses{four(1), six(1), six(2)}));
    EXPECT_EQ(kindsByTurns({}), UpstreamAddresses());
}

TEST(UpstreamTransport, ABodyWithoutALengthEndsWithTheConnection) {
    ScriptedServer upstream;
    upstream.answerWith({"HTTP/1.0 200 OK\r\n\r\nall of it"});
    const UpstreamReply reply = exchange(postTo(upstream.url()));
    EXPECT_EQ(reply.outcome, Outcome::answered);
    EXPECT_EQ(reply.body, "all of it");
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
