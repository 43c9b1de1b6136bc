#include "telemetry/AnalysisTelemetry.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

constexpr AnalysisTimings timings{.captureMS = 11,
                                  .ocrMS = 22,
                                  .encodeMS = 33,
                                  .clientMS = 44,
                                  .imagePixelWidth = 1024,
                                  .imagePixelHeight = 640,
                                  .ocrFallback = true};

} // namespace

TEST(AnalysisTelemetry, TakesItsFieldsFromTheTimingsAndTheRun) {
    const AnalysisTelemetry telemetry(timings, 55, 66, AnalysisInputMode::textAndImage, 777, true);
    EXPECT_EQ(telemetry.captureMS, 11);
    EXPECT_EQ(telemetry.ocrMS, 22);
    EXPECT_EQ(telemetry.encodeMS, 33);
    EXPECT_EQ(telemetry.networkMS, 55);
    EXPECT_EQ(telemetry.totalMS, 66);
    EXPECT_EQ(telemetry.inputMode, AnalysisInputMode::textAndImage);
    EXPECT_EQ(telemetry.screenTextChars, 777);
    EXPECT_EQ(telemetry.imagePixelWidth, 1024);
    EXPECT_EQ(telemetry.imagePixelHeight, 640);
    EXPECT_TRUE(telemetry.ocrFallback);
    EXPECT_TRUE(telemetry.sloExceeded);
}

TEST(AnalysisTelemetry, LogsOneTimingLineAtTheStandardLevel) {
    const test::LogCapture log;
    AnalysisTelemetry(timings, 55, 66, AnalysisInputMode::textAndImage, 12499, false).log();
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.count("timing", LogLevel::standard,
                        "Analysis timing; captureMS=11 ocrMS=22 encodeMS=33 networkMS=55 "
                        "totalMS=66 inputMode=textAndImage screenTextCharsBucket=12000 "
                        "imagePixelWidth=1024 imagePixelHeight=640 ocrFallback=1 sloExceeded=0"),
              1);
}

TEST(AnalysisTelemetry, NeverLogsTheExactLengthOfTheText) {
    const test::LogCapture log;
    AnalysisTelemetry(AnalysisTimings(), 0, 0, AnalysisInputMode::text, 499, true).log();
    EXPECT_EQ(log.count("timing", LogLevel::standard,
                        "Analysis timing; captureMS=0 ocrMS=0 encodeMS=0 networkMS=0 totalMS=0 "
                        "inputMode=text screenTextCharsBucket=0 imagePixelWidth=0 "
                        "imagePixelHeight=0 ocrFallback=0 sloExceeded=1"),
              1);
    EXPECT_FALSE(log.holds("499"));
}

} // namespace lumivane
