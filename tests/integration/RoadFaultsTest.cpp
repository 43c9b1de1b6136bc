// A run over the real client and the real transport, against a service that misbehaves.

#include "domain/LumivaneError.h"
#include "platform/linux/QtHttpTransport.h"
#include "service/AnalysisClient.h"
#include "support/AppModelFixture.h"
#include "support/ScriptedHttpServer.h"

namespace lumivane::test {

using namespace std::chrono_literals;
using Then = ScriptedAnswer::Then;

class RoadFaultsTest : public AppModelTest {
protected:
    RoadFaultsTest() { makeWithService(server.baseURL()); }

    void makeWithService(const QString& baseURL) {
        client = std::make_unique<AnalysisClient>(baseURL, ApplicationInformation(), transport);
        makeWith(*client);
    }

    void answer(const ScriptedAnswer& scripted) { server.script("/v1/analyze", scripted); }

    /// Runs until the run is over; whatever comes of it, nothing of it is left.
    void runToItsEnd() {
        model->analyze(mainDisplay);
        drainEvents();
        EXPECT_TRUE(waitUntil([this] { return model->state() == AnalysisState::idle; }));
        drainEvents();
        EXPECT_FALSE(overlays.isWorkingUp);
        EXPECT_EQ(clock.timerCount(), 0U) << "a time-out is left behind";
    }

    void expectError(const QString& words) {
        runToItsEnd();
        ASSERT_EQ(overlays.errors.size(), 1U);
        EXPECT_EQ(overlays.errors[0].text, words);
        EXPECT_EQ(overlays.errors[0].displayID, mainDisplay);
        EXPECT_TRUE(overlays.results.empty());
        EXPECT_EQ(model->lastResult(), std::nullopt);
    }

    const QString unavailable =
        u"The local Lumivane service is unavailable. Start Docker with make local-up and try again."_qs;
    const QString invalid = u"The Lumivane service returned an invalid response."_qs;
    const QByteArray good = R"({"request_id":"r-1","result":"fine","result_kind":"text"})";

    ScriptedHttpServer server;
    QtHttpTransport transport{clock};
    std::unique_ptr<AnalysisClient> client;
};

TEST_F(RoadFaultsTest, AnAnswerIsDelivered) {
    answer(ScriptedAnswer::json(200, good));
    runToItsEnd();
    EXPECT_EQ(model->lastResult(), u"fine"_qs);
}

TEST_F(RoadFaultsTest, AServiceThatIsDown) {
    quint16 freePort = 0;
    {
        const ScriptedHttpServer gone;
        freePort = gone.port();
    }
    makeWithService(u"http://127.0.0.1:%1"_qs.arg(freePort));
    expectError(unavailable);
}

TEST_F(RoadFaultsTest, AServiceThatIsSlow) {
    answer(ScriptedAnswer::json(200, good).held());
    model->analyze(mainDisplay);
    ASSERT_TRUE(waitUntil([this] { return !server.requests().empty(); }));
    clock.advance(20s - 1ms);
    EXPECT_EQ(model->state(), AnalysisState::analyzing);
    EXPECT_EQ(journal.count(u"markWorkingSlow"_qs), 1);
    clock.advance(1ms);
    ASSERT_TRUE(waitUntil([this] { return model->state() == AnalysisState::idle; }));
    ASSERT_EQ(overlays.errors.size(), 1U);
    EXPECT_EQ(overlays.errors[0].text, unavailable);
}

TEST_F(RoadFaultsTest, AServiceThatResetsTheConnection) {
    answer(ScriptedAnswer::silent(Then::reset));
    // The library asks once more where a kept connection breaks; this one was new.
    answer(ScriptedAnswer::silent(Then::reset));
    answer(ScriptedAnswer::silent(Then::reset));
    expectError(unavailable);
}

TEST_F(RoadFaultsTest, AServiceThatSendsHalfABody) {
    answer(ScriptedAnswer::raw("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                               "Content-Length: 500\r\n\r\n{\"request_id\":",
                               Then::close));
    expectError(unavailable);
}

TEST_F(RoadFaultsTest, AServiceThatAnswersGarbage) {
    answer(ScriptedAnswer::json(200, "not json at all"));
    expectError(invalid);
}

TEST_F(RoadFaultsTest, AServiceThatNestsWithoutEnd) {
    answer(ScriptedAnswer::json(200, QByteArray(1'000'000, '[')));
    expectError(invalid);
}

TEST_F(RoadFaultsTest, AServiceThatSendsAGigabyte) {
    constexpr std::int64_t gibibyte = 1LL << 30;
    answer(ScriptedAnswer::stream(gibibyte));
    expectError(invalid);
    EXPECT_LT(server.fillerSent(), 64LL << 20) << "read far past the limit";
}

TEST_F(RoadFaultsTest, AServiceThatRedirects) {
    ScriptedHttpServer elsewhere;
    answer(ScriptedAnswer::redirect(307, QUrl(elsewhere.baseURL() + u"/v1/analyze"_qs)));
    expectError(unavailable);
    EXPECT_EQ(elsewhere.connectionCount(), 0) << "the token left its origin";
}

TEST_F(RoadFaultsTest, ATokenRejectedInTheMiddleOfARun) {
    answer(ScriptedAnswer::json(
        401, R"({"error":{"code":"unauthorized","message":"no","request_id":"r"}})"));
    runToItsEnd();
    EXPECT_TRUE(journal.holds(u"handleUnauthorized"_qs));
    EXPECT_TRUE(journal.holds(u"showAuthenticationRequired 7"_qs));
    EXPECT_TRUE(overlays.errors.empty());
}

TEST_F(RoadFaultsTest, AnAccountThatMovedToAnotherMachine) {
    answer(ScriptedAnswer::json(
        401, R"({"error":{"code":"device_evicted","message":"no","request_id":"r"}})"));
    runToItsEnd();
    EXPECT_TRUE(journal.holds(u"signOutLocallyAfterEviction"_qs));
    EXPECT_EQ(journal.entries().last(), u"showDeviceEvicted 7 afterUpload"_qs);
}

TEST_F(RoadFaultsTest, AServiceWithAReasonIsQuoted) {
    answer(ScriptedAnswer::json(
        503, R"({"error":{"code":"busy","message":"Try sk-abc_1 later","request_id":"r"}})"));
    expectError(u"Try [REDACTED] later"_qs);
}

TEST_F(RoadFaultsTest, NothingOfTheUsersReachesALineOfAnyLevel) {
    settings.preset = Preset::custom;
    settings.customPrompt = u"canary-prompt"_qs;
    session.token.answerWith(SecretText("canary-token"));
    extractor.script.answerWith(FakeExtractor::text(u"canary-screen "_qs.repeated(5), 0.9));
    makeWithService(server.baseURL());
    answer(ScriptedAnswer::json(
        200, R"({"request_id":"r","result":"canary-answer","result_kind":"text"})"));
    runToItsEnd();
    answer(ScriptedAnswer::json(
        500, R"({"error":{"code":"c","message":"canary-message","request_id":"r"}})"));
    runToItsEnd();
    answer(ScriptedAnswer::json(200, R"({"canary":"garbage"})"));
    runToItsEnd();
    EXPECT_EQ(server.requests().size(), 3U);
    EXPECT_TRUE(server.requests()[0].body.contains("canary-screen"));
    EXPECT_GT(log.lines().size(), 20U);
    EXPECT_FALSE(log.holds("canary"));
}

TEST_F(RoadFaultsTest, TwoTriggersAtOnceOnTwoDisplaysLeaveOneAnswer) {
    answer(ScriptedAnswer::json(200, good).held());
    model->analyze(mainDisplay);
    ASSERT_TRUE(waitUntil([this] { return server.requests().size() == 1; }));
    answer(ScriptedAnswer::json(200, good));
    model->analyze(otherDisplay);
    ASSERT_TRUE(waitUntil([this] { return !overlays.results.empty(); }));
    server.release();
    drainEvents();
    EXPECT_EQ(overlays.results.size(), 1U);
    EXPECT_EQ(overlays.results[0].displayID, otherDisplay);
    EXPECT_TRUE(overlays.errors.empty());
    EXPECT_TRUE(waitUntil([this] { return server.openConnections() <= 1; }))
        << "the first transfer was not ended";
}

TEST_F(RoadFaultsTest, ADisplayThatGoesAwayBeforeTheCapture) {
    capture.script.failWith(LumivaneError(LumivaneError::Case::displayUnavailable));
    expectError(u"The display under the pointer is unavailable."_qs);
    EXPECT_TRUE(server.requests().empty());
}

} // namespace lumivane::test
