#include "server/http/RateLimiter.h"

#include <gtest/gtest.h>

#include <string>

namespace lumivane::service {

using namespace std::chrono_literals;

class RateLimiterTest : public testing::Test {
protected:
    RateLimiter limiter(std::uint32_t perMinute, std::size_t mostKeys = 100) {
        return RateLimiter(
            perMinute, [this] { return now; }, mostKeys);
    }

    static int takenAtOnce(RateLimiter& from, std::string_view key, int attempts) {
        int taken = 0;
        for (int attempt = 0; attempt < attempts; ++attempt) {
            taken += from.take(key) ? 0 : 1;
        }
        return taken;
    }

    MonotonicTime now{};
};

TEST_F(RateLimiterTest, AMinutesWorthIsThereAtOnceAndThenNoMore) {
    RateLimiter limit = limiter(30);
    EXPECT_EQ(takenAtOnce(limit, "a", 100), 30);
    EXPECT_EQ(limit.take("a"), 2s);
}

TEST_F(RateLimiterTest, TokensComeBackEvenly) {
    RateLimiter limit = limiter(30);
    takenAtOnce(limit, "a", 30);
    now += 1999ms;
    EXPECT_EQ(limit.take("a"), 1s);
    now += 1ms;
    EXPECT_EQ(limit.take("a"), std::nullopt);
    EXPECT_EQ(limit.take("a"), 2s);
    now += 10s;
    EXPECT_EQ(takenAtOnce(limit, "a", 100), 5);
}

TEST_F(RateLimiterTest, WaitingForEverGivesNoMoreThanAMinutesWorth) {
    RateLimiter limit = limiter(5);
    takenAtOnce(limit, "a", 5);
    now += 24h;
    EXPECT_EQ(takenAtOnce(limit, "a", 100), 5);
}

TEST_F(RateLimiterTest, WaitingAsLongAsItSaysIsEnough) {
    for (const std::uint32_t perMinute : {1U, 7U, 11U, 59U, 61U, 600U}) {
        RateLimiter limit = limiter(perMinute);
        takenAtOnce(limit, "a", static_cast<int>(perMinute));
        const auto wait = limit.take("a");
        ASSERT_TRUE(wait);
        EXPECT_GE(*wait, 1s);
        EXPECT_LE(*wait, 60s);
        now += *wait;
        EXPECT_EQ(limit.take("a"), std::nullopt) << perMinute;
    }
}

TEST_F(RateLimiterTest, EachKeyHasItsOwn) {
    RateLimiter limit = limiter(1);
    EXPECT_EQ(limit.take("a"), std::nullopt);
    EXPECT_EQ(limit.take("b"), std::nullopt);
    EXPECT_EQ(limit.take(""), std::nullopt);
    EXPECT_NE(limit.take("a"), std::nullopt);
}

TEST_F(RateLimiterTest, ZeroMeansNoLimitAndNoMemory) {
    RateLimiter limit = limiter(0);
    EXPECT_EQ(takenAtOnce(limit, "a", 1000), 1000);
    EXPECT_EQ(limit.size(), 0U);
}

TEST_F(RateLimiterTest, MemoryIsBoundedAndTheLongestUnusedGivesWay) {
    RateLimiter limit = limiter(1, 10);
    limit.take("first");
    for (int key = 0; key < 9; ++key) {
        limit.take(std::to_string(key));
    }
    EXPECT_NE(limit.take("first"), std::nullopt);
    for (int key = 100; key < 109; ++key) {
        limit.take(std::to_string(key));
    }
    EXPECT_EQ(limit.size(), 10U);
    EXPECT_NE(limit.take("first"), std::nullopt);
    for (int key = 0; key < 1000; ++key) {
        limit.take(std::to_string(key));
    }
    EXPECT_EQ(limit.size(), 10U);
    EXPECT_EQ(limit.take("first"), std::nullopt);
}

TEST_F(RateLimiterTest, WhatHasFilledUpAgainIsForgotten) {
    RateLimiter limit = limiter(60);
    for (int key = 0; key < 50; ++key) {
        limit.take(std::to_string(key));
    }
    EXPECT_EQ(limit.size(), 50U);
    now += 1s;
    limit.take("last");
    EXPECT_EQ(limit.size(), 1U);
}

TEST_F(RateLimiterTest, HugeKeysCostNoMore) {
    RateLimiter limit = limiter(1);
    const std::string huge(1 << 20, 'x');
    EXPECT_EQ(limit.take(huge), std::nullopt);
    EXPECT_NE(limit.take(huge), std::nullopt);
    EXPECT_EQ(limit.take(huge + "y"), std::nullopt);
}

} // namespace lumivane::service
