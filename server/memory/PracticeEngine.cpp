#include "server/memory/PracticeEngine.h"

#include "server/work/WorkPool.h"

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

AnalysisAnswer answerWith(WorkedExercise exercise) {
    AnalysisAnswer answer;
    answer.result = std::move(exercise.answer);
    answer.kind = ResultKind::leetCode;
    answer.questionTitle = std::move(exercise.title);
    answer.answerStatus = AnswerStatus::memoryValidated;
    return answer;
}

[[noreturn]] void refuse(const std::string& reason) {
    throw EngineError(422, "model_required",
                      reason + " To add one, set chat_base_url and chat_model in the service's "
                               "config.json and start the service again.");
}

} // namespace

PracticeEngine::PracticeEngine(std::unique_ptr<PracticeMemory> memory,
                               std::unique_ptr<AnalysisEngine> next, asio::thread_pool& pool)
    : m_memory(std::move(memory))
    , m_next(std::move(next))
    , m_pool(pool) {}

std::optional<bool> PracticeEngine::answersLeetCode() const {
    return m_memory != nullptr || hasModel();
}

// A model does not know beforehand what it can do; an engine that does know has none.
bool PracticeEngine::hasModel() const { return m_next->answersLeetCode().value_or(true); }

asio::awaitable<AnalysisAnswer> PracticeEngine::analyze(AnalyzeRequest request) {
    const bool isAsked = m_memory != nullptr && request.preset == Preset::leetCode;
    if (isAsked && request.screenText) {
        auto work = [this, text = *request.screenText] { return m_memory->match(text); };
        auto searching = runOnWorkPool(m_pool, std::move(work));
        std::optional<WorkedExercise> known = co_await std::move(searching);
        if (known) {
            co_return answerWith(*std::move(known));
        }
    }
    if (isAsked && !hasModel()) {
        refuse(
            request.screenText
                ? "This exercise is not in the practice memory, and others need a model."
                : "This frame came as a picture without words, and only a model reads pictures.");
    }
    auto analyzing = m_next->analyze(std::move(request));
    AnalysisAnswer answer = co_await std::move(analyzing);
    co_return answer;
}

} // namespace lumivane::service
