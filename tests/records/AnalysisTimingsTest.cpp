#include "records/AnalysisTimings.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

namespace lumivane {

using namespace std::chrono_literals;

TEST(AnalysisTimings, BeginsWithNothing) {
    const AnalysisTimings timings;
    EXPECT_EQ(timings.captureMS, 0);
    EXPECT_EQ(timings.ocrMS, 0);
    EXPECT_EQ(timings.encodeMS, 0);
    EXPECT_EQ(timings.clientMS, 0);
    EXPECT_EQ(timings.imagePixelWidth, 0);
    EXPECT_EQ(timings.imagePixelHeight, 0);
    EXPECT_FALSE(timings.ocrFallback);
    EXPECT_EQ(AnalysisTimings::timingLimit, 60000);
    EXPECT_EQ(AnalysisTimings::pixelLimit, 20000);
}

TEST(ClientMetrics, EachTimeGoesOutAsItself) {
    const AnalysisTimings timings{.captureMS = 1, .ocrMS = 2, .encodeMS = 3, .clientMS = 4};
    const ClientMetrics metrics = timings.clientMetrics();
    EXPECT_EQ(metrics.captureMS, 1);
    EXPECT_EQ(metrics.ocrMS, 2);
    EXPECT_EQ(metrics.encodeMS, 3);
    EXPECT_EQ(metrics.clientMS, 4);
}

TEST(ClientMetrics, TimesAreHeldToTheirLimits) {
    const struct {
        std::int64_t given;
        std::int64_t sent;
    } rows[] = {{0, 0},
                {-1, 0},
                {59999, 59999},
                {60000, 60000},
                {60001, 60000},
                {75000, 60000},
                {std::numeric_limits<std::int64_t>::max(), 60000},
                {std::numeric_limits<std::int64_t>::min(), 0}};

    for (const auto& row : rows) {
        const AnalysisTimings timings{.captureMS = row.given,
                                      .ocrMS = row.given,
                                      .encodeMS = row.given,
                                      .clientMS = row.given};
        EXPECT_EQ(timings.clientMetrics(), (ClientMetrics{row.sent, row.sent, row.sent, row.sent,
                                                          std::nullopt, std::nullopt}))
            << row.given;
    }
}

TEST(ClientMetrics, SizesOfNothingAreAbsentAndLargeOnesAreHeld) {
    const struct {
        std::int64_t given;
        std::optional<std::int64_t> sent;
    } rows[] = {{0, std::nullopt}, {-1, std::nullopt}, {1, 1},
                {20000, 20000},    {20001, 20000},     {30000, 20000}};

    for (const auto& row : rows) {
        AnalysisTimings timings;
        timings.imagePixelWidth = row.given;
        EXPECT_EQ(timings.clientMetrics().imagePixelWidth, row.sent);
        EXPECT_EQ(timings.clientMetrics().imagePixelHeight, std::nullopt);
        timings = {};
        timings.imagePixelHeight = row.given;
        EXPECT_EQ(timings.clientMetrics().imagePixelHeight, row.sent);
        EXPECT_EQ(timings.clientMetrics().imagePixelWidth, std::nullopt);
    }
}

TEST(ClientMetrics, TheFallbackStaysOnTheClient) {
    AnalysisTimings timings;
    timings.ocrFallback = true;
    EXPECT_EQ(timings.clientMetrics(), AnalysisTimings().clientMetrics());
    EXPECT_NE(timings, AnalysisTimings());
}

TEST(Milliseconds, AreWholeAndCutTowardZero) {
    EXPECT_EQ(AnalysisTimings::milliseconds(0ns), 0);
    EXPECT_EQ(AnalysisTimings::milliseconds(999'999ns), 0);
    EXPECT_EQ(AnalysisTimings::milliseconds(1ms), 1);
    EXPECT_EQ(AnalysisTimings::milliseconds(1ms + 999'999ns), 1);
    EXPECT_EQ(AnalysisTimings::milliseconds(2s + 345ms + 678us), 2345);
    EXPECT_EQ(AnalysisTimings::milliseconds(75s), 75000);
}

TEST(Milliseconds, AreNeverBelowZero) {
    EXPECT_EQ(AnalysisTimings::milliseconds(-1ns), 0);
    EXPECT_EQ(AnalysisTimings::milliseconds(-1ms), 0);
    EXPECT_EQ(AnalysisTimings::milliseconds(-5s), 0);
}

} // namespace lumivane
