#include "server/memory/PracticeEngine.h"

#include "server/analysis/ExtractiveEngine.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

namespace lumivane::service {

namespace {

/// Stands for a model.
class RecordingEngine : public AnalysisEngine {
public:
    explicit RecordingEngine(std::vector<AnalyzeRequest>& requests)
        : m_requests(requests) {}

    boost::asio::awaitable<AnalysisAnswer> analyze(AnalyzeRequest request) override {
        m_requests.push_back(std::move(request));
        co_return AnalysisAnswer{"live", ResultKind::leetCode, std::nullopt,
                                 AnswerStatus::liveUnvalidated};
    }

    std::optional<bool> answersLeetCode() const override { return std::nullopt; }

private:
    std::vector<AnalyzeRequest>& m_requests;
};

constexpr const char* knownScreen =
    "70. Climbing Stairs\nEasy\nn steps to reach the top, 1 or 2 steps each time you climb. "
    "In how many distinct ways?\nint climbStairs(int n) {";

} // namespace

class PracticeEngineTest : public testing::Test {
protected:
    static std::unique_ptr<PracticeMemory> memory() {
        return PracticeMemory::open(LUMIVANE_PRACTICE_MEMORY);
    }

    std::unique_ptr<AnalysisEngine> model() { return std::make_unique<RecordingEngine>(asked); }

    std::unique_ptr<AnalysisEngine> extraction() {
        return std::make_unique<ExtractiveEngine>(pool);
    }

    static AnalyzeRequest request(const std::string& text, Preset preset = Preset::leetCode) {
        AnalyzeRequest made;
        made.preset = preset;
        made.screenText = text;
        return made;
    }

    /// The answer, or in its result the error's status, code and message.
    AnalysisAnswer answerOf(AnalysisEngine& engine, AnalyzeRequest analyzed) {
        boost::asio::io_context context;
        AnalysisAnswer answer;
        auto done = [&answer](const std::exception_ptr& error, AnalysisAnswer given) {
            try {
                if (error) {
                    std::rethrow_exception(error);
                }
                answer = std::move(given);
            } catch (const EngineError& refused) {
                answer.result =
                    std::to_string(refused.status()) + " " + refused.code() + " " + refused.what();
            }
        };
        boost::asio::co_spawn(context, engine.analyze(std::move(analyzed)), done);
        context.run();
        return answer;
    }

    boost::asio::thread_pool pool{1};
    std::vector<AnalyzeRequest> asked;
};

TEST_F(PracticeEngineTest, AKnownExerciseIsAnsweredFromTheMemory) {
    PracticeEngine engine(memory(), model(), pool);
    const auto answer = answerOf(engine, request(knownScreen));
    EXPECT_EQ(answer.kind, ResultKind::leetCode);
    EXPECT_EQ(answer.questionTitle, "Climbing Stairs");
    EXPECT_EQ(answer.answerStatus, AnswerStatus::memoryValidated);
    EXPECT_EQ(answer.result.find("# Climbing Stairs\n"), 0U);
    EXPECT_TRUE(asked.empty());
}

TEST_F(PracticeEngineTest, WithAPictureBesideItTheWordsDecide) {
    PracticeEngine engine(memory(), model(), pool);
    auto both = request(knownScreen);
    both.imageDataUrl = "data:image/jpeg;base64,/9j/";
    EXPECT_EQ(answerOf(engine, both).answerStatus, AnswerStatus::memoryValidated);
}

TEST_F(PracticeEngineTest, AnotherExerciseGoesToTheModelAsItCame) {
    PracticeEngine engine(memory(), model(), pool);
    const auto answer = answerOf(engine, request("9999. Sliding Puzzle\nint slide(int n)"));
    EXPECT_EQ(answer.result, "live");
    EXPECT_EQ(answer.answerStatus, AnswerStatus::liveUnvalidated);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].screenText, "9999. Sliding Puzzle\nint slide(int n)");
    EXPECT_EQ(asked[0].preset, Preset::leetCode);
}

TEST_F(PracticeEngineTest, PicturesWithoutWordsGoToTheModel) {
    PracticeEngine engine(memory(), model(), pool);
    auto picture = request("");
    picture.screenText.reset();
    EXPECT_EQ(answerOf(engine, picture).result, "live");
}

TEST_F(PracticeEngineTest, OtherPresetsNeverSeeTheMemory) {
    PracticeEngine engine(memory(), model(), pool);
    for (const Preset preset : {Preset::mcq, Preset::summary, Preset::custom}) {
        EXPECT_EQ(answerOf(engine, request(knownScreen, preset)).result, "live");
    }
}

TEST_F(PracticeEngineTest, WithoutAModelAnUnknownExerciseSaysWhatIsMissing) {
    PracticeEngine engine(memory(), extraction(), pool);
    const std::string unknown = answerOf(engine, request("9999. Sliding Puzzle")).result;
    EXPECT_EQ(unknown.find("422 model_required This exercise is not in the practice memory"), 0U);
    EXPECT_NE(unknown.find("chat_base_url and chat_model"), std::string::npos);
    EXPECT_LT(unknown.size(), 300U);
    auto picture = request("");
    picture.screenText.reset();
    const std::string noWords = answerOf(engine, picture).result;
    EXPECT_EQ(noWords.find("422 model_required This frame came as a picture"), 0U);
    EXPECT_LT(noWords.size(), 300U);
}

TEST_F(PracticeEngineTest, WithoutMemoryOrModelLeetCodeIsRefusedAsBefore) {
    PracticeEngine engine(nullptr, extraction(), pool);
    EXPECT_EQ(answerOf(engine, request(knownScreen))
                  .result.find("422 model_required LeetCode answers need a model."),
              0U);
    EXPECT_EQ(answerOf(engine, request("The ferry crosses the harbour.", Preset::summary)).result,
              "The ferry crosses the harbour.");
}

TEST_F(PracticeEngineTest, SaysWhetherLeetCodeCanBeAnswered) {
    EXPECT_EQ(PracticeEngine(memory(), extraction(), pool).answersLeetCode(), true);
    EXPECT_EQ(PracticeEngine(memory(), model(), pool).answersLeetCode(), true);
    EXPECT_EQ(PracticeEngine(nullptr, model(), pool).answersLeetCode(), true);
    EXPECT_EQ(PracticeEngine(nullptr, extraction(), pool).answersLeetCode(), false);
}

} // namespace lumivane::service
