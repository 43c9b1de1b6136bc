#include "server/application/AnalysisRoutes.h"

#include "server/http/ErrorEnvelope.h"
#include "server/work/WorkPool.h"

#include <variant>

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

// A picture of a whole display as base64 fits.
constexpr std::uint64_t analyzeBodyBytes = 20 * 1024 * 1024;
// A reader waits for one at a time, and may have left a few behind.
constexpr std::size_t analysesOfAccount = 4;

using Decoded = std::variant<AnalyzeRequest, RecordError>;

Decoded decode(const std::string& body) {
    try {
        return decodeAnalyzeRequest(body);
    } catch (const RecordError& error) {
        return error;
    }
}

asio::awaitable<HttpResponse> analyze(AnalysisEngine& engine, AnalyzeRequest analyzed,
                                      std::string requestId) {
    try {
        const AnalysisAnswer answer = co_await engine.analyze(std::move(analyzed));
        HttpResponse response;
        response.body = encodeAnalyzeResponse(answer, requestId);
        co_return response;
    } catch (const EngineError& error) {
        co_return errorResponse(error.status(), error.code(), error.what(), requestId);
    }
}

asio::awaitable<HttpResponse> answerAnalyze(AnalysisEngine& engine, asio::thread_pool& pool,
                                            HttpRequest request) {
    auto work = [body = std::move(request.body)] { return decode(body); };
    auto decoding = runOnWorkPool(pool, std::move(work));
    Decoded decoded = co_await std::move(decoding);
    if (const auto* refusal = std::get_if<RecordError>(&decoded)) {
        co_return errorResponse(refusal->status(), refusal->code(), refusal->what(),
                                request.requestId);
    }
    auto analyzing =
        analyze(engine, std::get<AnalyzeRequest>(std::move(decoded)), std::move(request.requestId));
    HttpResponse response = co_await std::move(analyzing);
    co_return response;
}

} // namespace

std::vector<Route> analysisRoutes(AnalysisEngine& engine, asio::thread_pool& pool) {
    Route analysis;
    analysis.name = "analyze";
    analysis.method = HttpMethod::post;
    analysis.path = "/v1/analyze";
    analysis.bodyRule = BodyRule::json;
    analysis.bodyBytes = analyzeBodyBytes;
    analysis.waiting = Waiting::watched;
    analysis.workLimiter = std::make_shared<WorkLimiter>(analysesOfAccount);
    analysis.handler = [&engine, &pool](HttpRequest request) {
        return answerAnalyze(engine, pool, std::move(request));
    };
    return {std::move(analysis)};
}

} // namespace lumivane::service
