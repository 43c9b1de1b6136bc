#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/analysis/PromptLibrary.h"
#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/thread_pool.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace lumivane::service {

/// How long a model may take for everything that one analysis asks of it. Under the client's own
/// 20 and 120 seconds, so that the client gets words and not a broken connection.
struct ChatBudgets {
    std::chrono::milliseconds standard{18'000};
    std::chrono::milliseconds leetCode{110'000};
    std::chrono::milliseconds fewestForRepair{2'000}; ///< left over, or no second request is made
};

/// The model and where it is.
struct ChatModel {
    UpstreamUrl url; ///< of `parseChatEndpoint`
    std::string name;
    std::optional<std::string> apiKey; ///< goes along as bearer
};

/// Answers through a model server. An answer in the wrong form is asked for once more, then taken
/// as plain text. Upstream failures become 502 and 504 with words for the person who runs the
/// service; never 401, which would sign the reader out.
class ChatCompletionsEngine : public AnalysisEngine {
public:
    /// Requests are written and answers read on `pool`; it and the transport must outlive the
    /// engine.
    ChatCompletionsEngine(UpstreamTransport& transport, boost::asio::thread_pool& pool,
                          ChatModel model, PromptLibrary prompts, ChatBudgets budgets = {});

    boost::asio::awaitable<AnalysisAnswer> analyze(AnalyzeRequest request) override;

    /// Only the model's answers show what it can do.
    std::optional<bool> answersLeetCode() const override { return std::nullopt; }

private:
    // What a model said, as far as it is of the right form.
    struct Reading {
        std::optional<std::string> text;
        std::optional<AnalysisAnswer> answer;
    };

    using SharedRequest = std::shared_ptr<const AnalyzeRequest>;

    std::string bodyFor(const AnalyzeRequest& request,
                        const std::optional<std::string>& wrongAnswer) const;
    boost::asio::awaitable<UpstreamReply>
    ask(SharedRequest request, std::optional<std::string> wrongAnswer, MonotonicTime deadline);
    boost::asio::awaitable<Reading> read(std::string body, Preset preset);

    UpstreamTransport& m_transport;
    boost::asio::thread_pool& m_pool;
    ChatModel m_model;
    PromptLibrary m_prompts;
    ChatBudgets m_budgets;
};

} // namespace lumivane::service
