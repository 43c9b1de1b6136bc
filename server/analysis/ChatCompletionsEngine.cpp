#include "server/analysis/ChatCompletionsEngine.h"

#include "server/analysis/ChatMessages.h"
#include "server/analysis/ModelAnswer.h"
#include "server/work/WorkPool.h"

namespace lumivane::service {

namespace asio = boost::asio;
using Outcome = UpstreamReply::Outcome;

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

// Throws unless the model server took the request.
void requireSuccess(const UpstreamReply& reply) {
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
}

} // namespace

ChatCompletionsEngine::ChatCompletionsEngine(UpstreamTransport& transport, asio::thread_pool& pool,
                                             ChatModel model, PromptLibrary prompts,
                                             ChatBudgets budgets)
    : m_transport(transport)
    , m_pool(pool)
    , m_model(std::move(model))
    , m_prompts(std::move(prompts))
    , m_budgets(budgets) {}

asio::awaitable<AnalysisAnswer> ChatCompletionsEngine::analyze(AnalyzeRequest request) {
    const Preset preset = request.preset;
    const MonotonicTime deadline =
        monotonicNow() + (preset == Preset::leetCode ? m_budgets.leetCode : m_budgets.standard);
    const auto asked = std::make_shared<const AnalyzeRequest>(std::move(request));
    auto firstTry = ask(asked, std::nullopt, deadline);
    UpstreamReply firstReply = co_await std::move(firstTry);
    requireSuccess(firstReply);
    auto firstReading = read(std::move(firstReply.body), preset);
    Reading said = co_await std::move(firstReading);
    if (!said.text) {
        throw invalidAnswer();
    }
    if (!said.answer && deadline - monotonicNow() >= m_budgets.fewestForRepair) {
        auto secondTry = ask(asked, said.text, deadline);
        UpstreamReply secondReply = co_await std::move(secondTry);
        // A failed second try takes nothing from what the first one said.
        if (secondReply.outcome == Outcome::answered && secondReply.status == 200) {
            auto secondReading = read(std::move(secondReply.body), preset);
            Reading repaired = co_await std::move(secondReading);
            said.answer = std::move(repaired.answer);
        }
    }
    if (!said.answer) {
        auto taking = [text = *said.text, preset] { return plainModelAnswer(text, preset); };
        auto takingWords = runOnWorkPool(m_pool, std::move(taking));
        said.answer = co_await std::move(takingWords);
    }
    if (!said.answer) {
        throw invalidAnswer();
    }
    co_return *std::move(said.answer);
}

std::string ChatCompletionsEngine::bodyFor(const AnalyzeRequest& request,
                                           const std::optional<std::string>& wrongAnswer) const {
    auto messages = firstMessages(m_prompts.instructions(request.preset), request);
    if (wrongAnswer) {
        appendRepair(messages, *wrongAnswer, m_prompts.repair());
    }
    return completionBody(m_model.name, std::move(messages));
}

asio::awaitable<UpstreamReply> ChatCompletionsEngine::ask(SharedRequest request,
                                                          std::optional<std::string> wrongAnswer,
                                                          MonotonicTime deadline) {
    // A picture of a whole display takes long enough to write that others would wait for it.
    auto work = [this, request, wrongAnswer = std::move(wrongAnswer)] {
        return bodyFor(*request, wrongAnswer);
    };
    auto writing = runOnWorkPool(m_pool, std::move(work));
    UpstreamRequest post;
    post.method = UpstreamRequest::Method::post;
    post.url = m_model.url;
    post.headers.emplace_back("Content-Type", "application/json");
    post.headers.emplace_back("Accept", "application/json");
    if (m_model.apiKey) {
        post.headers.emplace_back("Authorization", "Bearer " + *m_model.apiKey);
    }
    post.body = co_await std::move(writing);
    auto sending = m_transport.send(std::move(post), deadline);
    UpstreamReply reply = co_await std::move(sending);
    co_return reply;
}

asio::awaitable<ChatCompletionsEngine::Reading> ChatCompletionsEngine::read(std::string body,
                                                                            Preset preset) {
    auto work = [body = std::move(body), preset] {
        Reading reading;
        reading.text = completionText(body);
        if (reading.text) {
            reading.answer = readModelAnswer(*reading.text, preset);
        }
        return reading;
    };
    auto job = runOnWorkPool(m_pool, std::move(work));
    Reading reading = co_await std::move(job);
    co_return reading;
}

} // namespace lumivane::service
