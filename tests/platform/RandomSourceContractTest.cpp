#include "platform/RandomSource.h"
#include "platform/linux/SystemRandomSource.h"
#include "support/FakeRandomSource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace lumivane {

namespace {

struct Kind {
    std::string name;
    std::function<std::unique_ptr<RandomSource>()> make;
};

} // namespace

class RandomSourceContract : public testing::TestWithParam<Kind> {
protected:
    std::unique_ptr<RandomSource> source = GetParam().make();
};

TEST_P(RandomSourceContract, EveryByteIsFilled) {
    // 64 rounds leave a byte at 0 by chance once in 10^150.
    std::array<std::byte, 600> seen{};
    for (int round = 0; round < 64; ++round) {
        std::array<std::byte, 600> bytes{};
        ASSERT_TRUE(source->fill(bytes));
        std::transform(seen.begin(), seen.end(), bytes.begin(), seen.begin(), std::bit_or());
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), std::byte{0}), 0);
}

TEST_P(RandomSourceContract, NothingBesideTheBytesIsTouched) {
    std::array<std::byte, 3> bytes{};
    EXPECT_TRUE(source->fill(std::span(bytes).subspan(1, 0)));
    EXPECT_TRUE(source->fill(std::span(bytes).subspan(1, 1)));
    EXPECT_EQ(bytes[0], std::byte{0});
    EXPECT_EQ(bytes[2], std::byte{0});
}

TEST_P(RandomSourceContract, NoTwoFillsAreTheSame) {
    std::vector<std::byte> first(100000);
    std::vector<std::byte> second(100000);
    ASSERT_TRUE(source->fill(first));
    ASSERT_TRUE(source->fill(second));
    EXPECT_NE(first, second);
}

INSTANTIATE_TEST_SUITE_P(
    All, RandomSourceContract,
    testing::Values(Kind{"Fake", [] { return std::make_unique<test::FakeRandomSource>(); }},
                    Kind{"System", [] { return std::make_unique<SystemRandomSource>(); }}),
    [](const auto& info) { return info.param.name; });

} // namespace lumivane
