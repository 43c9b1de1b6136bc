#pragma once

#include "service/AnalysisServing.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <utility>
#include <vector>

namespace lumivane::test {

/// Answers by two scripts and keeps each request; journals `health` and `analyze`.
class FakeAnalysisService final : public AnalysisServing {
public:
    explicit FakeAnalysisService(Journal& journal)
        : m_journal(journal) {}

    struct Request {
        AnalysisPayload payload;
        AppSettings settings;
        SecretText accessToken;
    };

    QCoro::Task<HealthResponse> health(std::stop_token stop) override {
        m_journal.add(u"health"_qs);
        return healthScript.call(std::move(stop));
    }

    using AnalysisServing::analyze;

    QCoro::Task<AnalyzeResponse> analyze(AnalysisPayload payload, AppSettings settings,
                                         SecretText accessToken, std::stop_token stop) override {
        m_journal.add(u"analyze"_qs);
        requests.push_back({std::move(payload), std::move(settings), std::move(accessToken)});
        return script.call(std::move(stop));
    }

    static AnalyzeResponse response(const QString& result, ResultKind kind = ResultKind::text) {
        AnalyzeResponse response;
        response.requestID = u"req-1"_qs;
        response.result = result;
        response.resultKind = kind;
        return response;
    }

    ScriptedCall<AnalyzeResponse> script{response(u"the answer"_qs)};
    ScriptedCall<HealthResponse> healthScript{HealthResponse{u"ok"_qs, u"1.2"_qs, true}};
    std::vector<Request> requests;

private:
    Journal& m_journal;
};

} // namespace lumivane::test
