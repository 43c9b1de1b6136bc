#include "server/analysis/ChatCompletionsEngine.h"

#include "server/analysis/ChatMessages.h"
#include "server/analysis/ModelAnswer.h"

namespace lumivane::service {

namespace asio = boost::asio;
using Outcome = ChatReply::Outcome;

namespace {

EngineError badGateway(const char* code, const char* message) {
    return EngineError(502, code, message);
}

EngineError timeOut() {
    return EngineError(504, "upstream_timeout",
                       "The model took too long to answer. Try again, or set chat_model to a "
                       "faster model.");
}

EngineError invalidAnswer() {
    return badGateway("upstream_invalid",
                      "The model server's answer cannot be used. Check chat_base_url, or set "
                      "chat_model to another model.");
}

EngineError errorOfStatus(int status) {
    switch (status) {
    case 401:
    case 403:
        return badGateway("upstream_denied",
                          "The model server refused the service's key. Check chat_api_key.");
    case 404:
        return badGateway("upstream_not_found",
                          "The model server does not know the address or the model. Check "
                          "chat_base_url and chat_model.");
    case 429:
        return badGateway("upstream_busy",
                          "The model server is busy or its quota is used up. Try again later.");
    case 408:
    case 504:
        return timeOut();
    case 400:
    case 413:
    case 415:
    case 422:
        return badGateway("upstream_refused",
                          "The model server refused this request. If it was a picture, set "
                          "chat_model to a model that reads pictures.");
    default:
        return badGateway("upstream_failed", "The model server failed. Try again, or look at "
                                             "that server's own log.");
    }
}

} // namespace

std::string textOfReply(const ChatReply& reply) {
    switch (reply.outcome) {
    case Outcome::unreachable:
        throw badGateway("upstream_unreachable",
                         "The model server cannot be reached. Check that it runs, and check "
                         "chat_base_url.");
    case Outcome::untrusted:
        throw badGateway("upstream_untrusted",
                         "The model server's certificate is not trusted. Check chat_base_url and "
                         "the certificate.");
    case Outcome::timedOut:
        throw timeOut();
    case Outcome::malformed:
        throw invalidAnswer();
    case Outcome::answered:
        break;
    }
    if (reply.status < 200 || reply.status > 299) {
        throw errorOfStatus(reply.status);
    }
    auto text = completionText(reply.body);
    if (!text) {
        throw invalidAnswer();
    }
    return *std::move(text);
}

ChatCompletionsEngine::ChatCompletionsEngine(std::unique_ptr<ChatTransport> transport,
                                             std::string model, PromptLibrary prompts,
                                             ChatBudgets budgets)
    : m_transport(std::move(transport))
    , m_model(std::move(model))
    , m_prompts(std::move(prompts))
    , m_budgets(budgets) {}

asio::awaitable<AnalysisAnswer> ChatCompletionsEngine::analyze(AnalyzeRequest request) {
    const Preset preset = request.preset;
    const MonotonicTime deadline =
        monotonicNow() + (preset == Preset::leetCode ? m_budgets.leetCode : m_budgets.standard);
    auto messages = firstMessages(m_prompts.instructions(preset), request);
    auto firstPost = m_transport->post(completionBody(m_model, messages), deadline);
    const ChatReply firstReply = co_await std::move(firstPost);
    const std::string text = textOfReply(firstReply);
    auto answer = readModelAnswer(text, preset);
    if (!answer && deadline - monotonicNow() >= m_budgets.fewestForRepair) {
        appendRepair(messages, text, m_prompts.repair());
        auto secondPost = m_transport->post(completionBody(m_model, messages), deadline);
        const ChatReply secondReply = co_await std::move(secondPost);
        // A failed second try takes nothing from what the first one said.
        const auto repaired = secondReply.outcome == Outcome::answered && secondReply.status == 200
                                  ? completionText(secondReply.body)
                                  : std::nullopt;
        answer = repaired ? readModelAnswer(*repaired, preset) : std::nullopt;
    }
    if (!answer) {
        answer = plainModelAnswer(text, preset);
    }
    if (!answer) {
        throw invalidAnswer();
    }
    co_return *std::move(answer);
}

} // namespace lumivane::service
