#include "server/analysis/ExtractiveEngine.h"

#include "server/analysis/Extraction.h"
#include "server/work/WorkPool.h"

#include <variant>

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

using Outcome = std::variant<AnalysisAnswer, EngineError>;

const std::string howToAddModel =
    " To add one, set chat_base_url and chat_model in the service's config.json and start the "
    "service again.";

[[noreturn]] void refuse(const std::string& reason) {
    throw EngineError(422, "model_required", reason + howToAddModel);
}

const std::string& textOf(const AnalyzeRequest& request) {
    if (!request.screenText) {
        refuse("This frame came as a picture, and the service has no model that reads pictures.");
    }
    return *request.screenText;
}

std::optional<std::string> answerTo(const AnalyzeRequest& request) {
    switch (request.preset) {
    case Preset::mcq:
        refuse("Multiple choice needs a model.");
    case Preset::leetCode:
        refuse("LeetCode answers need a model.");
    case Preset::summary:
        return extractSummary(textOf(request));
    case Preset::custom:
        break;
    }
    const std::string& text = textOf(request);
    const auto wish = readPromptWish(request.customPrompt.value_or(std::string()));
    if (!wish) {
        refuse("Without a model the service can only summarise and list deadlines or questions.");
    }
    return extractWish(text, *wish);
}

Outcome attempt(const AnalyzeRequest& request) {
    try {
        return extractAnswer(request);
    } catch (const EngineError& error) {
        return error;
    }
}

} // namespace

ExtractiveEngine::ExtractiveEngine(asio::thread_pool& pool)
    : m_pool(pool) {}

asio::awaitable<AnalysisAnswer> ExtractiveEngine::analyze(AnalyzeRequest request) {
    auto work = [analyzed = std::move(request)] { return attempt(analyzed); };
    auto job = runOnWorkPool(m_pool, std::move(work));
    Outcome outcome = co_await std::move(job);
    if (auto* error = std::get_if<EngineError>(&outcome)) {
        throw EngineError(*error);
    }
    co_return std::get<AnalysisAnswer>(std::move(outcome));
}

AnalysisAnswer extractAnswer(const AnalyzeRequest& request) {
    auto text = answerTo(request);
    if (!text) {
        throw EngineError(422, "nothing_to_read",
                          "There are no sentences on this screen to pick from." + howToAddModel);
    }
    AnalysisAnswer answer;
    answer.result = *std::move(text);
    answer.kind = ResultKind::text;
    return answer;
}

} // namespace lumivane::service
