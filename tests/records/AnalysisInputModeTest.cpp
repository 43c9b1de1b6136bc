#include "records/AnalysisInputMode.h"

#include <gtest/gtest.h>

#include <optional>

namespace lumivane {

namespace {

ScreenTextSignals signalsOf(std::int64_t charCount, double meanConfidence) {
    return {.charCount = charCount,
            .meanConfidence = meanConfidence,
            .textCoverage = 1,
            .nonTextEnergy = 0};
}

} // namespace

TEST(AnalysisInputMode, CasesAndWhatTheySend) {
    const auto cases = allCases<AnalysisInputMode>();
    ASSERT_EQ(cases.size(), 3U);
    EXPECT_EQ(cases[0], AnalysisInputMode::image);
    EXPECT_EQ(cases[1], AnalysisInputMode::text);
    EXPECT_EQ(cases[2], AnalysisInputMode::textAndImage);
    EXPECT_TRUE(sendsImage(AnalysisInputMode::image));
    EXPECT_FALSE(sendsText(AnalysisInputMode::image));
    EXPECT_FALSE(sendsImage(AnalysisInputMode::text));
    EXPECT_TRUE(sendsText(AnalysisInputMode::text));
    EXPECT_TRUE(sendsImage(AnalysisInputMode::textAndImage));
    EXPECT_TRUE(sendsText(AnalysisInputMode::textAndImage));
    EXPECT_EQ(logLabel(AnalysisInputMode::image), QLatin1String("image"));
    EXPECT_EQ(logLabel(AnalysisInputMode::text), QLatin1String("text"));
    EXPECT_EQ(logLabel(AnalysisInputMode::textAndImage), QLatin1String("textAndImage"));
}

TEST(AnalysisInputMode, TheMinimums) {
    EXPECT_EQ(minimumUsableCharCount, 40);
    EXPECT_EQ(minimumUsableConfidence, 0.45);
}

TEST(ResolveInputMode, HyperAccurateIsAnImageWhateverTheSignals) {
    EXPECT_EQ(resolveInputMode(AnalysisMode::hyperAccurate, signalsOf(5000, 1)),
              AnalysisInputMode::image);
    EXPECT_EQ(resolveInputMode(AnalysisMode::hyperAccurate, std::nullopt),
              AnalysisInputMode::image);
}

TEST(ResolveInputMode, WithoutSignalsItIsAnImage) {
    EXPECT_EQ(resolveInputMode(AnalysisMode::hyperPrivate, std::nullopt), AnalysisInputMode::image);
}

TEST(ResolveInputMode, BothMinimumsPassAndLessOfEitherDoesNot) {
    const struct {
        std::int64_t charCount;
        double meanConfidence;
        AnalysisInputMode expected;
    } rows[] = {
        {40, 0.45, AnalysisInputMode::text},    {39, 0.45, AnalysisInputMode::image},
        {40, 0.4499, AnalysisInputMode::image}, {5000, 0.4499, AnalysisInputMode::image},
        {39, 1.0, AnalysisInputMode::image},    {0, 0.0, AnalysisInputMode::image},
        {41, 0.4501, AnalysisInputMode::text},
    };

    for (const auto& row : rows) {
        EXPECT_EQ(resolveInputMode(AnalysisMode::hyperPrivate,
                                   signalsOf(row.charCount, row.meanConfidence)),
                  row.expected)
            << row.charCount << " " << row.meanConfidence;
    }
}

TEST(ResolveInputMode, CoverageAndEnergyTakeNoPart) {
    ScreenTextSignals signals = signalsOf(40, 0.45);
    signals.textCoverage = 0;
    signals.nonTextEnergy = 1;
    EXPECT_EQ(resolveInputMode(AnalysisMode::hyperPrivate, signals), AnalysisInputMode::text);
}

TEST(IsOCRFallback, OnlyWhereTextAloneWasWantedAndNoTextGoes) {
    EXPECT_TRUE(isOCRFallback(AnalysisInputMode::image, AnalysisMode::hyperPrivate));
    EXPECT_FALSE(isOCRFallback(AnalysisInputMode::text, AnalysisMode::hyperPrivate));
    EXPECT_FALSE(isOCRFallback(AnalysisInputMode::textAndImage, AnalysisMode::hyperPrivate));
    for (const AnalysisInputMode mode : allCases<AnalysisInputMode>()) {
        EXPECT_FALSE(isOCRFallback(mode, AnalysisMode::hyperAccurate));
    }
}

} // namespace lumivane
