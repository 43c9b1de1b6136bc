#include "server/analysis/ChatCompletionsEngine.h"

#include "server/ScriptedServer.h"
#include "server/analysis/ChatEndpoint.h"
#include "server/work/WorkLoad.h"
#include "support/WaitForCondition.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <future>

namespace lumivane::service {

using namespace std::chrono_literals;
using lumivane::test::waitForCondition;
using test::httpAnswer;
using test::ScriptedServer;

namespace {

/// A 200 whose completion carries `text`.
std::string completionAnswer(const std::string& text) {
    boost::json::object message;
    message["content"] = text;
    boost::json::object choice;
    choice["message"] = std::move(message);
    boost::json::object body;
    body["choices"] = boost::json::array{std::move(choice)};
    return httpAnswer(200, boost::json::serialize(body));
}

} // namespace

class ChatCompletionsEngineTest : public testing::Test {
protected:
    std::unique_ptr<ChatCompletionsEngine> engineAt(const std::string& url) {
        ChatModel model{parseChatEndpoint(url), "model-name", "key-canary"};
        return std::make_unique<ChatCompletionsEngine>(*transport, pool, std::move(model),
                                                       PromptLibrary::load(LUMIVANE_PROMPTS_FOLDER),
                                                       budgets);
    }

    static AnalyzeRequest request(Preset preset) {
        AnalyzeRequest made;
        made.preset = preset;
        made.screenText = "screen-words";
        return made;
    }

    // The answer's kind and text, or the error's status and code.
    std::string outcomeAt(const std::string& url, AnalyzeRequest asked) {
        const auto engine = engineAt(url);
        boost::asio::io_context context;
        std::string outcome = "nothing";
        auto done = [&outcome](const std::exception_ptr&, std::string text) {
            outcome = std::move(text);
        };
        boost::asio::co_spawn(context, describe(*engine, std::move(asked)), done);
        context.run();
        return outcome;
    }

    std::string secureUrl() const { return "https://127.0.0.1:" + std::to_string(upstream.port()); }

    std::string outcome(Preset preset) { return outcomeAt(upstream.url(), request(preset)); }

    std::string outcomeOf(std::vector<std::string> answers, Preset preset = Preset::summary) {
        upstream.answerWith(std::move(answers));
        return outcome(preset);
    }

    static boost::asio::awaitable<std::string> describe(AnalysisEngine& engine,
                                                        AnalyzeRequest asked) {
        try {
            const AnalysisAnswer answer = co_await engine.analyze(std::move(asked));
            co_return std::string(rawValue(answer.kind)) + " " + answer.result;
        } catch (const EngineError& error) {
            const std::string message = error.what();
            EXPECT_LT(message.size(), 300U);
            EXPECT_EQ(message.find("canary"), std::string::npos);
            co_return std::to_string(error.status()) + " " + error.code();
        } catch (const std::exception&) {
        }
        co_return "another exception";
    }

    ChatBudgets budgets;
    ScriptedServer upstream;
    std::unique_ptr<UpstreamTransport> transport = makeHttpUpstreamTransport();
    boost::asio::thread_pool pool{1};
};

TEST_F(ChatCompletionsEngineTest, SendsModelKeyAndMessages) {
    EXPECT_EQ(outcomeOf({completionAnswer(R"({"result":"Short","result_kind":"text"})")}),
              "text Short");
    const auto requests = upstream.requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].find("POST /v1/chat/completions HTTP/1.1\r\n"), 0U);
    EXPECT_NE(requests[0].find("Host: 127.0.0.1:" + std::to_string(upstream.port()) + "\r\n"),
              std::string::npos);
    EXPECT_NE(requests[0].find("Authorization: Bearer key-canary\r\n"), std::string::npos);
    EXPECT_NE(requests[0].find(R"("model":"model-name")"), std::string::npos);
    EXPECT_NE(requests[0].find("screen-words"), std::string::npos);
}

TEST_F(ChatCompletionsEngineTest, SendsPictures) {
    upstream.answerWith({completionAnswer(R"({"result":"B","result_kind":"choice"})")});
    AnalyzeRequest picture = request(Preset::mcq);
    picture.screenText.reset();
    picture.imageDataUrl = "data:image/jpeg;base64,/9j/";
    EXPECT_EQ(outcomeAt(upstream.url(), picture), "choice B");
    EXPECT_NE(upstream.requests().at(0).find(
                  R"({"type":"image_url","image_url":{"url":"data:image/jpeg;base64,/9j/"}})"),
              std::string::npos);
}

TEST_F(ChatCompletionsEngineTest, AnswersInTheWrongFormAreAskedForOnceMore) {
    EXPECT_EQ(outcomeOf({completionAnswer("It is B I think, of all options that there are"),
                         completionAnswer(R"({"result":"B","result_kind":"choice"})")},
                        Preset::mcq),
              "choice B");
    const auto requests = upstream.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_NE(requests[1].find(R"({"role":"assistant","content":"It is B)"), std::string::npos);
}

TEST_F(ChatCompletionsEngineTest, ThenTheWordsThemselvesAreTheAnswer) {
    EXPECT_EQ(outcomeOf({completionAnswer("Just words"), completionAnswer("More words")}),
              "text Just words");
    EXPECT_EQ(upstream.requests().size(), 2U);
    EXPECT_EQ(outcomeOf({completionAnswer("B"), httpAnswer(500, "canary")}, Preset::mcq),
              "choice B");
    EXPECT_EQ(outcomeOf({completionAnswer("# T\nWords")}, Preset::leetCode), "leetcode # T\nWords");
    EXPECT_EQ(outcomeOf({completionAnswer("{\"result\": \"cut o")}), "502 upstream_invalid");
}

TEST_F(ChatCompletionsEngineTest, NoSecondRequestWithoutTimeForIt) {
    budgets.fewestForRepair = 1h;
    EXPECT_EQ(outcomeOf({completionAnswer("Just words")}), "text Just words");
    EXPECT_EQ(upstream.requests().size(), 1U);
}

TEST_F(ChatCompletionsEngineTest, UpstreamStatusesBecomeWordsForTheReader) {
    const std::vector<std::pair<int, std::string>> expected{
        {401, "502 upstream_denied"},    {403, "502 upstream_denied"},
        {404, "502 upstream_not_found"}, {429, "502 upstream_busy"},
        {400, "502 upstream_refused"},   {422, "502 upstream_refused"},
        {500, "502 upstream_failed"},    {301, "502 upstream_failed"},
        {504, "504 upstream_timeout"},   {204, "502 upstream_invalid"},
    };
    for (const auto& [status, outcome] : expected) {
        EXPECT_EQ(outcomeOf({httpAnswer(status, status == 204 ? "" : "canary")}), outcome)
            << status;
    }
}

TEST_F(ChatCompletionsEngineTest, BrokenAnswersAreInvalidOrUnreachable) {
    EXPECT_EQ(outcomeOf({httpAnswer(200, "canary")}), "502 upstream_invalid");
    EXPECT_EQ(outcomeOf({httpAnswer(200, "{}")}), "502 upstream_invalid");
    EXPECT_EQ(outcomeOf({"canary canary\r\n\r\n"}), "502 upstream_invalid");
    EXPECT_EQ(outcomeOf({"HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nhalf"}),
              "502 upstream_unreachable");
    EXPECT_EQ(outcomeOf({httpAnswer(200, std::string(3 * 1024 * 1024, 'a'))}),
              "502 upstream_invalid");
    EXPECT_EQ(outcomeOf({"HTTP/1.1 200 OK\r\nX: " + std::string(40'000, 'a') + "\r\n\r\n"}),
              "502 upstream_invalid");
    EXPECT_EQ(outcomeOf({httpAnswer(200, std::string(100'000, '['))}), "502 upstream_invalid");
}

TEST_F(ChatCompletionsEngineTest, NobodyThereIsUnreachable) {
    std::string url;
    {
        ScriptedServer gone;
        url = gone.url();
    }
    EXPECT_EQ(outcomeAt(url, request(Preset::summary)), "502 upstream_unreachable");
}

TEST_F(ChatCompletionsEngineTest, DoesNotSayWhetherItAnswersLeetCode) {
    EXPECT_EQ(engineAt(upstream.url())->answersLeetCode(), std::nullopt);
}

TEST_F(ChatCompletionsEngineTest, AServerWithoutTlsIsNoSecureServer) {
    upstream.answersAnyBytes = true;
    upstream.answerWith({httpAnswer(400, "{}")});
    EXPECT_EQ(outcomeAt(secureUrl(), request(Preset::summary)), "502 upstream_unreachable");
    const auto received = upstream.requests();
    ASSERT_FALSE(received.empty());
    EXPECT_EQ(received[0].find("key-canary"), std::string::npos);
    EXPECT_EQ(received[0].find("screen-words"), std::string::npos);
}

TEST_F(ChatCompletionsEngineTest, AHandshakeWithoutAnAnswerTimesOut) {
    budgets.standard = 200ms;
    EXPECT_EQ(outcomeAt(secureUrl(), request(Preset::summary)), "504 upstream_timeout");
    EXPECT_TRUE(upstream.requests().empty());
}

TEST_F(ChatCompletionsEngineTest, ASilentModelTimesOutByItsPreset) {
    budgets.standard = 50ms;
    EXPECT_EQ(outcomeOf({""}), "504 upstream_timeout");
    EXPECT_TRUE(waitForCondition([this] { return upstream.abandoned == 1; }));
    budgets.leetCode = 50ms;
    budgets.standard = 1h;
    EXPECT_EQ(outcomeOf({""}, Preset::leetCode), "504 upstream_timeout");
}

TEST_F(ChatCompletionsEngineTest, RequestsAreWrittenAwayFromTheNetworkThread) {
    upstream.answerWith({completionAnswer(R"({"result":"Short","result_kind":"text"})")});
    std::promise<void> release;
    boost::asio::post(pool, [held = release.get_future().share()] { held.wait(); });
    const auto engine = engineAt(upstream.url());
    boost::asio::io_context context;
    std::string outcome;
    auto done = [&outcome](const std::exception_ptr&, std::string text) {
        outcome = std::move(text);
    };
    boost::asio::co_spawn(context, describe(*engine, request(Preset::summary)), done);
    context.poll();
    EXPECT_EQ(WorkLoad::of(pool).waiting(), 1);
    release.set_value();
    context.restart();
    context.run();
    EXPECT_EQ(outcome, "text Short");
}

TEST_F(ChatCompletionsEngineTest, BudgetsStayUnderTheClientsOwn) {
    EXPECT_LT(ChatBudgets{}.standard, 20s);
    EXPECT_LT(ChatBudgets{}.leetCode, 120s);
}

TEST_F(ChatCompletionsEngineTest, CancellingLeavesTheModelServer) {
    upstream.answerWith({""});
    const auto engine = engineAt(upstream.url());
    boost::asio::io_context context;
    boost::asio::cancellation_signal cancel;
    bool isEnded = false;
    auto done = [&isEnded](const std::exception_ptr&, const std::string&) { isEnded = true; };
    boost::asio::co_spawn(context, describe(*engine, request(Preset::summary)),
                          boost::asio::bind_cancellation_slot(cancel.slot(), done));
    std::thread canceller([&] {
        waitForCondition([this] { return upstream.requests().size() == 1; });
        boost::asio::post(context,
                          [&cancel] { cancel.emit(boost::asio::cancellation_type::terminal); });
    });
    context.run();
    canceller.join();
    EXPECT_TRUE(isEnded);
    EXPECT_TRUE(waitForCondition([this] { return upstream.abandoned == 1; }));
}

} // namespace lumivane::service
