#include "server/analysis/ExtractiveEngine.h"

#include <boost/asio/thread_pool.hpp>
#include <gtest/gtest.h>

namespace lumivane::service {

namespace {

AnalyzeRequest request(Preset preset) {
    AnalyzeRequest made;
    made.preset = preset;
    made.screenText = "The ferry crosses the harbour every hour.";
    return made;
}

std::pair<int, std::string> errorOf(const AnalyzeRequest& asked) {
    try {
        extractAnswer(asked);
    } catch (const EngineError& error) {
        EXPECT_LT(std::string(error.what()).size(), 300U);
        EXPECT_NE(std::string(error.what()).find("chat_base_url and chat_model"),
                  std::string::npos);
        return {error.status(), error.code()};
    }
    return {0, "answered"};
}

const std::pair<int, std::string> needsModel{422, "model_required"};

} // namespace

TEST(ExtractiveEngine, SummarisesText) {
    const AnalysisAnswer expected{"The ferry crosses the harbour every hour.", ResultKind::text,
                                  std::nullopt, std::nullopt};
    EXPECT_EQ(extractAnswer(request(Preset::summary)), expected);
}

TEST(ExtractiveEngine, UsesTheTextWhereAPictureComesToo) {
    AnalyzeRequest both = request(Preset::summary);
    both.imageDataUrl = "data:image/jpeg;base64,/9j/";
    EXPECT_EQ(extractAnswer(both).result, "The ferry crosses the harbour every hour.");
}

TEST(ExtractiveEngine, WhatNeedsAModelSaysWhichSettingsAddOne) {
    EXPECT_EQ(errorOf(request(Preset::mcq)), needsModel);
    EXPECT_EQ(errorOf(request(Preset::leetCode)), needsModel);
    AnalyzeRequest picture = request(Preset::summary);
    picture.screenText.reset();
    EXPECT_EQ(errorOf(picture), needsModel);
    AnalyzeRequest custom = request(Preset::custom);
    custom.customPrompt = "Translate this canary into French";
    EXPECT_EQ(errorOf(custom), needsModel);
}

TEST(ExtractiveEngine, KnowsThatItAnswersNoLeetCode) {
    boost::asio::thread_pool pool(1);
    EXPECT_EQ(ExtractiveEngine(pool).answersLeetCode(), false);
}

TEST(ExtractiveEngine, AnswersPromptsThatAskForWhatItCanDo) {
    AnalyzeRequest custom = request(Preset::custom);
    custom.customPrompt = "Summarise the screen, then list any deadlines.";
    EXPECT_EQ(extractAnswer(custom).result,
              "The ferry crosses the harbour every hour.\nNo deadlines found.");
}

TEST(ExtractiveEngine, AScreenWithoutSentencesSaysSo) {
    AnalyzeRequest empty = request(Preset::summary);
    empty.screenText = "OK   Cancel";
    const std::pair<int, std::string> nothing{422, "nothing_to_read"};
    EXPECT_EQ(errorOf(empty), nothing);
}

} // namespace lumivane::service
