#include "platform/HttpTransportFixture.h"

#include <QNetworkReply>

namespace lumivane {

class QtHttpTransportLimitsTest : public HttpTransportFixture {};

// Limits

TEST_F(QtHttpTransportLimitsTest, ABodyOfExactlyTheLimitPasses) {
    server.always("/x", ScriptedAnswer::stream(4 * mebibyte));
    const auto outcome = get();
    ASSERT_TRUE(outcome.value);
    EXPECT_EQ(answerOf(outcome).body, QByteArray(4 * mebibyte, 'x'));
    EXPECT_EQ(failureAfter(ScriptedAnswer::stream(4 * mebibyte + 1)), Kind::bodyTooLarge);
}

TEST_F(QtHttpTransportLimitsTest, ABodyThatAnnouncesTooMuchIsNotRead) {
    const std::int64_t before = residentBytes();
    EXPECT_EQ(failureAfter(ScriptedAnswer::stream(1024 * mebibyte)), Kind::bodyTooLarge);
    EXPECT_TRUE(everythingIsClosed());
    EXPECT_LT(server.fillerSent(), 12 * mebibyte); // what the sockets' own buffers take
    EXPECT_LT(residentBytes() - before, 128 * mebibyte);
}

TEST_F(QtHttpTransportLimitsTest, ABodyThatAnnouncesNothingIsNotReadBeyondTheLimit) {
    const std::int64_t before = residentBytes();
    EXPECT_EQ(failureAfter(ScriptedAnswer::endlessChunks()), Kind::bodyTooLarge);
    EXPECT_TRUE(everythingIsClosed());
    EXPECT_LT(server.fillerSent(), 4 * mebibyte + 12 * mebibyte);
    EXPECT_LT(residentBytes() - before, 128 * mebibyte);
}

TEST_F(QtHttpTransportLimitsTest, AFailingStatusHasTheSameLimit) {
    ScriptedAnswer answer = ScriptedAnswer::endlessChunks();
    answer.bytes.replace("200", "500");
    EXPECT_EQ(failureAfter(answer), Kind::bodyTooLarge);
}

// Time

TEST_F(QtHttpTransportLimitsTest, ASilentServerMeetsTheTimeout) {
    server.always("/x", ScriptedAnswer::whole(200, "late").held());
    const auto outcome = test::watch(transport->send(request("GET", u"/x"_qs), {}));
    ASSERT_TRUE(test::waitUntil([&] { return server.requests().size() == 1; }));
    clock.advance(20s - 1ms);
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1ms);
    ASSERT_TRUE(outcome->errorAs<TransportError>());
    EXPECT_EQ(failureOf(*outcome), Kind::timedOut);
    EXPECT_EQ(outcome->errorAs<TransportError>()->code, QNetworkReply::TimeoutError);
    EXPECT_TRUE(everythingIsClosed());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(QtHttpTransportLimitsTest, TheTimeoutRunsToTheLastByte) {
    server.always("/x", ScriptedAnswer::whole(200, QByteArray(1000, 'x')).dripped());
    const auto outcome = test::watch(transport->send(request("POST", u"/x"_qs, "{}"), {}));
    ASSERT_TRUE(test::waitUntil([&] { return server.requests().size() == 1; }));
    for (int second = 0; second < 19; ++second) {
        server.drip(10);
        clock.advance(1s);
    }
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1s);
    ASSERT_TRUE(outcome->errorAs<TransportError>());
    EXPECT_EQ(failureOf(*outcome), Kind::timedOut);
}

TEST_F(QtHttpTransportLimitsTest, ASlowAnswerWithinTheTimeoutIsWhole) {
    server.always("/x", ScriptedAnswer::whole(200, "slow").dripped());
    const auto outcome = test::watch(transport->send(request("GET", u"/x"_qs), {}));
    ASSERT_TRUE(test::waitUntil([&] {
        server.drip(1);
        return outcome->hasEnded();
    }));
    EXPECT_EQ(answerOf(*outcome).body, "slow");
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(60s);
}

// Cancellation

TEST_F(QtHttpTransportLimitsTest, AStopEndsTheWaitAndClosesTheConnection) {
    server.always("/x", ScriptedAnswer::whole(200, "late").held());
    std::stop_source stop;
    const auto outcome =
        test::watch(transport->send(request("POST", u"/x"_qs, "{}"), stop.get_token()));
    ASSERT_TRUE(test::waitUntil([&] { return server.requests().size() == 1; }));
    EXPECT_EQ(server.openConnections(), 1);
    stop.request_stop();
    EXPECT_TRUE(test::waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(everythingIsClosed());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(QtHttpTransportLimitsTest, AStopInTheMiddleOfABodyClosesTheConnection) {
    server.always("/x", ScriptedAnswer::whole(200, QByteArray(1000, 'x')).dripped());
    std::stop_source stop;
    const auto outcome = test::watch(transport->send(request("GET", u"/x"_qs), stop.get_token()));
    ASSERT_TRUE(test::waitUntil([&] { return server.requests().size() == 1; }));
    server.drip(500);
    stop.request_stop();
    EXPECT_TRUE(test::waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(everythingIsClosed());
}

TEST_F(QtHttpTransportLimitsTest, StoppedBeforehandNothingIsSent) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(
        test::outcomeOf(transport->send(request("GET", u"/x"_qs), stop.get_token())).isCancelled);
    get(u"/other"_qs);
    EXPECT_EQ(server.requestsFor("/x").size(), 0U);
}

TEST_F(QtHttpTransportLimitsTest, AStopAfterTheEndIsHarmless) {
    server.always("/x", ScriptedAnswer::whole(200, "ok"));
    std::stop_source stop;
    const auto outcome =
        test::outcomeOf(transport->send(request("GET", u"/x"_qs), stop.get_token()));
    stop.request_stop();
    test::drainEvents();
    EXPECT_EQ(answerOf(outcome).body, "ok");
}

TEST_F(QtHttpTransportLimitsTest, RequestsUnderWayEndWithTheTransport) {
    server.always("/x", ScriptedAnswer::whole(200, "late").held());
    const auto first = test::watch(transport->send(request("GET", u"/x"_qs), {}));
    const auto second = test::watch(transport->send(request("POST", u"/x"_qs, "{}"), {}));
    ASSERT_TRUE(test::waitUntil([&] { return server.requests().size() == 2; }));
    transport.reset();
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_TRUE(test::waitUntil([&] { return first->hasEnded() && second->hasEnded(); }));
    EXPECT_EQ(failureOf(*first), Kind::cancelled);
    EXPECT_EQ(failureOf(*second), Kind::cancelled);
    EXPECT_TRUE(everythingIsClosed());
}

TEST_F(QtHttpTransportLimitsTest, ATransportMayGoBeforeAnythingIsSent) {
    const auto outcome = test::watch(transport->send(request("POST", u"/x"_qs, "{}"), {}));
    transport.reset();
    EXPECT_TRUE(test::waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_EQ(failureOf(*outcome), Kind::cancelled);
}

TEST_F(QtHttpTransportLimitsTest, SeveralRequestsAreUnderWayAtOnce) {
    server.always("/slow", ScriptedAnswer::whole(200, "slow").held());
    server.always("/fast", ScriptedAnswer::whole(200, "fast"));
    std::vector<std::shared_ptr<test::Outcome<HttpResponse>>> slow;
    slow.reserve(10);
    for (int index = 0; index < 10; ++index) {
        slow.push_back(test::watch(transport->send(request("POST", u"/slow"_qs, "{}"), {})));
    }
    ASSERT_TRUE(test::waitUntil([&] { return server.requestsFor("/slow").size() == 10; }));
    EXPECT_EQ(answerOf(get(u"/fast"_qs)).body, "fast");
    server.release();
    for (const auto& outcome : slow) {
        ASSERT_TRUE(test::waitUntil([&] { return outcome->hasEnded(); }));
        EXPECT_EQ(answerOf(*outcome).body, "slow");
    }
}

} // namespace lumivane
