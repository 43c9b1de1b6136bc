#pragma once

#include "server/analysis/AnalysisEngine.h"
#include "server/analysis/ChatTransport.h"
#include "server/analysis/PromptLibrary.h"

#include <chrono>
#include <memory>

namespace lumivane::service {

/// How long a model may take for everything that one analysis asks of it. Under the client's own
/// 20 and 120 seconds, so that the client gets words and not a broken connection.
struct ChatBudgets {
    std::chrono::milliseconds standard{18'000};
    std::chrono::milliseconds leetCode{110'000};
    std::chrono::milliseconds fewestForRepair{2'000}; ///< left over, or no second request is made
};

/// Answers through a model server. An answer in the wrong form is asked for once more, then taken
/// as plain text. Upstream failures become 502 and 504 with words for the person who runs the
/// service; never 401, which would sign the reader out.
class ChatCompletionsEngine : public AnalysisEngine {
public:
    ChatCompletionsEngine(std::unique_ptr<ChatTransport> transport, std::string model,
                          PromptLibrary prompts, ChatBudgets budgets = {});

    boost::asio::awaitable<AnalysisAnswer> analyze(AnalyzeRequest request) override;

    /// Only the model's answers show what it can do.
    std::optional<bool> answersLeetCode() const override { return std::nullopt; }

private:
    std::unique_ptr<ChatTransport> m_transport;
    std::string m_model;
    PromptLibrary m_prompts;
    ChatBudgets m_budgets;
};

/// The text that a reply carries. Throws EngineError for every other reply.
std::string textOfReply(const ChatReply& reply);

} // namespace lumivane::service
