#include "server/AccountFixture.h"

namespace lumivane::service::test {
namespace {

class RefreshRateTest : public AccountTest {
protected:
    TokenExchange limitedTo(std::uint32_t perMinute) {
        auto limiter = std::make_shared<RateLimiter>(perMinute, [this] { return now; });
        return {database(), TokenDerivation::load(database()), clock(), settings,
                std::move(limiter)};
    }

    MonotonicTime now{};
};

INSTANTIATE_TEST_SUITE_P(Engines, RefreshRateTest, everyEngine(), engineName);

TEST_P(RefreshRateTest, ASessionIsCountedOverAllOfItsTokens) {
    TokenExchange limited = limitedTo(3);
    std::string token = login().tokens.refreshToken;
    for (int exchange = 0; exchange < 3; ++exchange) {
        token = limited.refresh({token, operationX}).tokens.refreshToken;
    }
    EXPECT_EQ(refusalOf([&] { limited.refresh({token, operationX}); }), "rate_limited");
    now += std::chrono::seconds(20);
    EXPECT_EQ(refusalOf([&] { limited.refresh({token, operationX}); }), "");
}

TEST_P(RefreshRateTest, ARefusalChangesNothingAndSaysHowLongToWait) {
    TokenExchange limited = limitedTo(1);
    const std::string token = login().tokens.refreshToken;
    const std::string next = limited.refresh({token, operationX}).tokens.refreshToken;
    try {
        limited.refresh({next, operationY});
        FAIL();
    } catch (const AccountError& error) {
        EXPECT_EQ(error.refusal().status, 429);
        EXPECT_EQ(error.refusal().retryAfter, std::chrono::seconds(60));
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM refresh_tokens WHERE operation_id IS NOT NULL"),
              1);
    EXPECT_EQ(refusalOf([&] { refresh(next, operationX); }), "");
}

TEST_P(RefreshRateTest, TokensThatNobodyKnowsAreNotCounted) {
    TokenExchange limited = limitedTo(1);
    const std::string unknown(43, 'a');
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_EQ(refusalOf([&] { limited.refresh({unknown, operationX}); }), "unauthorized");
    }
}

} // namespace
} // namespace lumivane::service::test
