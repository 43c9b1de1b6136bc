#include "server/http/WorkLimiter.h"

#include <gtest/gtest.h>

namespace lumivane::service {

TEST(WorkLimiter, AKeyHasSoManyPlacesAndNoMore) {
    const auto limiter = std::make_shared<WorkLimiter>(2);
    const auto first = limiter->take("a");
    auto second = limiter->take("a");
    EXPECT_TRUE(first);
    EXPECT_TRUE(second);
    EXPECT_FALSE(limiter->take("a"));
    second.reset();
    EXPECT_TRUE(limiter->take("a"));
}

TEST(WorkLimiter, KeysDoNotCountForEachOther) {
    const auto limiter = std::make_shared<WorkLimiter>(1);
    const auto first = limiter->take("a");
    const auto other = limiter->take("b");
    EXPECT_TRUE(first);
    EXPECT_TRUE(other);
    EXPECT_FALSE(limiter->take("b"));
}

TEST(WorkLimiter, NothingIsRememberedOfThoseWithoutWork) {
    const auto limiter = std::make_shared<WorkLimiter>(1);
    auto place = limiter->take("a");
    EXPECT_FALSE(limiter->take("a"));
    EXPECT_EQ(limiter->size(), 1U);
    place.reset();
    EXPECT_EQ(limiter->size(), 0U);
}

TEST(WorkLimiter, APlaceMayOutliveItsLimiter) {
    auto limiter = std::make_shared<WorkLimiter>(1);
    const std::weak_ptr<WorkLimiter> watched = limiter;
    auto place = limiter->take("a");
    limiter.reset();
    EXPECT_FALSE(watched.expired());
    place.reset();
    EXPECT_TRUE(watched.expired());
}

} // namespace lumivane::service
