#include "telemetry/LogBand.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace lumivane {

TEST(LogBand, Widths) {
    EXPECT_EQ(LogBand::imageBytesWidth, 8192);
    EXPECT_EQ(LogBand::screenTextCharsWidth, 500);
}

TEST(LogBand, ImageBytesGoDownToAMultiple) {
    EXPECT_EQ(LogBand::imageBytes(-5), 0);
    EXPECT_EQ(LogBand::imageBytes(0), 0);
    EXPECT_EQ(LogBand::imageBytes(1), 0);
    EXPECT_EQ(LogBand::imageBytes(8191), 0);
    EXPECT_EQ(LogBand::imageBytes(8192), 8192);
    EXPECT_EQ(LogBand::imageBytes(16383), 8192);
    EXPECT_EQ(LogBand::imageBytes(16384), 16384);
}

TEST(LogBand, ScreenTextCharsGoDownToAMultiple) {
    EXPECT_EQ(LogBand::screenTextChars(-1), 0);
    EXPECT_EQ(LogBand::screenTextChars(499), 0);
    EXPECT_EQ(LogBand::screenTextChars(500), 500);
    EXPECT_EQ(LogBand::screenTextChars(12000), 12000);
    EXPECT_EQ(LogBand::screenTextChars(12499), 12000);
}

TEST(LogBand, AWidthBelowOneGivesNothing) {
    EXPECT_EQ(LogBand::floor(100, 0), 0);
    EXPECT_EQ(LogBand::floor(100, -8), 0);
    EXPECT_EQ(LogBand::floor(-100, -8), 0);
    EXPECT_EQ(LogBand::floor(100, 1), 100);
    EXPECT_EQ(LogBand::floor(std::numeric_limits<std::int64_t>::min(), 8), 0);
    EXPECT_EQ(LogBand::floor(std::numeric_limits<std::int64_t>::max(), 10),
              std::numeric_limits<std::int64_t>::max() / 10 * 10);
}

} // namespace lumivane
