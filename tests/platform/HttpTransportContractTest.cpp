#include "platform/HttpTransport.h"
#include "platform/linux/QtHttpTransport.h"
#include "support/FakeHttpTransport.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"
#include "support/ScriptedHttpServer.h"

#include <gtest/gtest.h>

namespace lumivane {

using namespace std::chrono_literals;

namespace {

/// A transport and the peer behind it, be it played or real.
class Peer {
public:
    virtual ~Peer() = default;
    virtual HttpTransport& transport() = 0;
    virtual QUrl url() const = 0;
    virtual void answerNext(int status, const QByteArray& body) = 0;
    virtual void holdNext() = 0;
    virtual std::size_t arrived() const = 0;
};

class FakePeer final : public Peer {
public:
    HttpTransport& transport() override { return m_transport; }

    QUrl url() const override { return QUrl(u"http://127.0.0.1/x"_qs); }

    void answerNext(int status, const QByteArray& body) override {
        m_transport.answer(status, body);
    }

    void holdNext() override { m_transport.hold(); }

    std::size_t arrived() const override { return m_transport.requests().size(); }

private:
    test::FakeHttpTransport m_transport;
};

class RealPeer final : public Peer {
public:
    HttpTransport& transport() override { return m_transport; }

    QUrl url() const override { return QUrl(m_server.baseURL() + u"/x"_qs); }

    void answerNext(int status, const QByteArray& body) override {
        m_server.script("/x", test::ScriptedAnswer::whole(status, body));
    }

    void holdNext() override { m_server.script("/x", test::ScriptedAnswer::whole(200, {}).held()); }

    std::size_t arrived() const override { return m_server.requests().size(); }

private:
    test::ScriptedHttpServer m_server;
    test::ManualClock m_clock;
    QtHttpTransport m_transport{m_clock};
};

} // namespace

template <typename PeerType>
class HttpTransportContract : public testing::Test {
protected:
    QCoro::Task<HttpResponse> send(std::stop_token stop = {}) {
        HttpRequest request;
        request.method = "POST";
        request.url = peer.url();
        request.body = "{}";
        request.timeout = 20s;
        request.maximumResponseBytes = 1000;
        return peer.transport().send(std::move(request), std::move(stop));
    }

    PeerType peer;
};

using Peers = testing::Types<FakePeer, RealPeer>;
TYPED_TEST_SUITE(HttpTransportContract, Peers);

TYPED_TEST(HttpTransportContract, EveryStatusIsAnAnswerWithItsBody) {
    for (const int status : {200, 302, 401, 503}) {
        this->peer.answerNext(status, "body");
        const auto outcome = test::outcomeOf(this->send());
        ASSERT_TRUE(outcome.value);
        EXPECT_TRUE(outcome.value->isHttp);
        EXPECT_EQ(outcome.value->status, status);
        EXPECT_EQ(outcome.value->body, "body");
    }
}

TYPED_TEST(HttpTransportContract, AStopBeforehandIsACancellation) {
    std::stop_source stop;
    stop.request_stop();
    this->peer.answerNext(200, "body");
    EXPECT_TRUE(test::outcomeOf(this->send(stop.get_token())).isCancelled);
}

TYPED_TEST(HttpTransportContract, AStopUnderWayIsACancellationAndNeverEndsInTheStopItself) {
    std::stop_source stop;
    this->peer.holdNext();
    const auto outcome = test::watch(this->send(stop.get_token()));
    stop.request_stop();
    EXPECT_FALSE(outcome->hasEnded());
    EXPECT_TRUE(test::waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_TRUE(outcome->isCancelled);
}

TYPED_TEST(HttpTransportContract, AStoppedRequestLeavesOthersAlone) {
    std::stop_source stop;
    this->peer.holdNext();
    const auto stopped = test::watch(this->send(stop.get_token()));
    ASSERT_TRUE(test::waitUntil([&] { return this->peer.arrived() == 1; }));
    stop.request_stop();
    this->peer.answerNext(200, "other");
    EXPECT_TRUE(test::outcomeOf(this->send()).value);
    EXPECT_TRUE(test::waitUntil([&] { return stopped->hasEnded(); }));
    EXPECT_TRUE(stopped->isCancelled);
}

} // namespace lumivane
