#include "server/profile/HandleFilterPublisher.h"

#include "server/ProfileFixture.h"
#include "server/profile/AccountProfile.h"
#include "server/profile/HandleFilter.h"

#include <boost/algorithm/hex.hpp>
#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <set>
#include <stop_token>
#include <thread>

namespace lumivane::service {

using namespace std::chrono_literals;
using test::addAccount;
using Freshness = HandleFilterPublisher::Freshness;

namespace {

const HandleFilterSettings settings{.falsePositiveRate = 0.001,
                                    .checkInterval = 60s,
                                    .longestAge = 600s,
                                    .buildLease = 120s,
                                    .pageSize = 3};

class HandleFilterPublisherTest : public test::StoreTest {
protected:
    HandleFilterPublisher m_publisher{database(), clock(), settings};
};

INSTANTIATE_TEST_SUITE_P(Engines, HandleFilterPublisherTest, test::everyEngine(), test::engineName);

std::string base64UrlDecoded(const boost::json::string& text) {
    static constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string bytes;
    unsigned gathered = 0;
    unsigned count = 0;
    for (const char character : text) {
        gathered = (gathered << 6U) | static_cast<unsigned>(alphabet.find(character));
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>((gathered >> count) & 0xFFU);
        }
    }
    return bytes;
}

bool mayContain(const std::string& body, const std::string& folded) {
    const boost::json::object record = boost::json::parse(body).as_object();
    const HandleFilterShape shape{record.at("m").to_number<std::uint64_t>(),
                                  record.at("k").to_number<std::uint64_t>()};
    const std::string bits = base64UrlDecoded(record.at("bits").as_string());
    const std::string seed =
        boost::algorithm::unhex(std::string(record.at("seed").as_string().c_str()));
    const auto places = handleProbes(shape, seed, folded);
    return std::all_of(places.begin(), places.end(), [&](std::uint64_t place) {
        return ((static_cast<unsigned char>(bits.at(place / 8)) >> (place % 8)) & 1U) != 0;
    });
}

} // namespace

TEST_P(HandleFilterPublisherTest, ThereIsNoneUntilOneIsBuilt) {
    const auto before = m_publisher.current();
    EXPECT_EQ(before.filter, nullptr);
    EXPECT_EQ(before.freshness, Freshness::due);
    EXPECT_TRUE(m_publisher.rebuild());
    const auto after = m_publisher.current();
    ASSERT_NE(after.filter, nullptr);
    EXPECT_EQ(after.freshness, Freshness::fresh);
    EXPECT_EQ(boost::json::parse(after.filter->body).at("version").as_string(),
              after.filter->version);
    EXPECT_EQ(after.filter->version.size(), 22U);
}

TEST_P(HandleFilterPublisherTest, EveryHandleOfEveryPageIsInIt) {
    for (int count = 0; count <= 7; ++count) {
        if (count > 0) {
            addAccount(database(), "Handle-" + std::to_string(count));
        }
        clock().advance(60s);
        ASSERT_TRUE(m_publisher.rebuild()) << count;
        const std::string body = m_publisher.current().filter->body;
        for (int index = 1; index <= count; ++index) {
            EXPECT_TRUE(mayContain(body, "handle-" + std::to_string(index))) << count;
        }
        EXPECT_FALSE(mayContain(body, "handle-8")) << count;
    }
}

TEST_P(HandleFilterPublisherTest, TheSizeFollowsTheCount) {
    store().execute("INSERT INTO handle_filters VALUES (0, 0, 0, NULL, NULL, NULL)");
    for (int index = 0; index < 100; ++index) {
        addAccount(database(), "handle-" + std::to_string(index));
    }
    ASSERT_TRUE(m_publisher.rebuild());
    const HandleFilterShape shape = handleFilterShape(100, 0.001);
    const auto record = boost::json::parse(m_publisher.current().filter->body).as_object();
    EXPECT_EQ(record.at("m").to_number<std::uint64_t>(), shape.bits);
    EXPECT_EQ(record.at("k").to_number<std::uint64_t>(), shape.probes);
    EXPECT_EQ(shape.bits, 2048U);
}

TEST_P(HandleFilterPublisherTest, ItIsComparedAtMostOncePerInterval) {
    ASSERT_TRUE(m_publisher.rebuild());
    const std::string version = m_publisher.current().filter->version;
    addAccount(database(), "cedar");
    clock().advance(60s - 1ms);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::fresh);
    EXPECT_FALSE(m_publisher.rebuild());
    EXPECT_EQ(m_publisher.current().filter->version, version);

    clock().advance(1ms);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::due);
    EXPECT_TRUE(m_publisher.rebuild());
    EXPECT_NE(m_publisher.current().filter->version, version);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::fresh);
}

TEST_P(HandleFilterPublisherTest, TheSameHandlesKeepTheVersionAndItsBytes) {
    addAccount(database(), "cedar");
    ASSERT_TRUE(m_publisher.rebuild());
    const auto first = m_publisher.current().filter;
    clock().advance(60s);
    EXPECT_FALSE(m_publisher.rebuild());
    const auto second = m_publisher.current();
    EXPECT_EQ(second.freshness, Freshness::fresh);
    EXPECT_EQ(second.filter, first);
}

TEST_P(HandleFilterPublisherTest, AnotherCaseIsNoChangeAndAnotherHandleIsOne) {
    const Principal ada = test::principalOf(addAccount(database(), "ada"));
    AccountProfile profile(database());
    ASSERT_TRUE(m_publisher.rebuild());
    profile.change(ada, {"ADA", "Ada"});
    clock().advance(60s);
    EXPECT_FALSE(m_publisher.rebuild());

    profile.change(ada, {"cedar", std::nullopt});
    clock().advance(60s);
    EXPECT_TRUE(m_publisher.rebuild());
    EXPECT_TRUE(mayContain(m_publisher.current().filter->body, "cedar"));
    EXPECT_FALSE(mayContain(m_publisher.current().filter->body, "ada"));

    store().execute("DELETE FROM accounts");
    clock().advance(60s);
    EXPECT_TRUE(m_publisher.rebuild());
    EXPECT_FALSE(mayContain(m_publisher.current().filter->body, "cedar"));
}

TEST_P(HandleFilterPublisherTest, EveryVersionHasANewSeed) {
    std::set<std::string> seeds;
    std::set<std::string> versions;
    for (int round = 0; round < 5; ++round) {
        addAccount(database(), "handle-" + std::to_string(round));
        clock().advance(60s);
        ASSERT_TRUE(m_publisher.rebuild());
        const auto filter = m_publisher.current().filter;
        seeds.insert(boost::json::parse(filter->body).at("seed").as_string().c_str());
        versions.insert(filter->version);
    }
    EXPECT_EQ(seeds.size(), 5U);
    EXPECT_EQ(versions.size(), 5U);
}

TEST_P(HandleFilterPublisherTest, WhatNobodyComparedForLongIsOverdue) {
    ASSERT_TRUE(m_publisher.rebuild());
    clock().advance(600s - 1ms);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::due);
    clock().advance(1ms);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::overdue);
    EXPECT_FALSE(m_publisher.rebuild());
    EXPECT_EQ(m_publisher.current().freshness, Freshness::fresh);
}

TEST_P(HandleFilterPublisherTest, AClockThatWasSetBackHoldsNothingUp) {
    ASSERT_TRUE(m_publisher.rebuild());
    clock().advance(-59s);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::fresh);
    clock().advance(-1s);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::due);
    clock().advance(-24h);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::overdue);
    addAccount(database(), "cedar");
    EXPECT_TRUE(m_publisher.rebuild());
}

TEST_P(HandleFilterPublisherTest, ReplicasHandOutTheSameBytes) {
    addAccount(database(), "cedar");
    const auto another = store().openAnother();
    HandleFilterPublisher replica(*another, clock(), settings);
    ASSERT_TRUE(m_publisher.rebuild());
    EXPECT_FALSE(replica.rebuild());
    EXPECT_EQ(replica.current().filter->body, m_publisher.current().filter->body);

    addAccount(database(), "oak");
    clock().advance(60s);
    ASSERT_TRUE(replica.rebuild());
    EXPECT_EQ(m_publisher.current().filter->version, replica.current().filter->version);
    EXPECT_EQ(m_publisher.current().filter->body, replica.current().filter->body);
}

TEST_P(HandleFilterPublisherTest, OfManyWhoBuildAtOnceOneDoes) {
    const auto another = store().openAnother();
    HandleFilterPublisher replica(*another, clock(), settings);
    for (int round = 0; round < 5; ++round) {
        addAccount(database(), "handle-" + std::to_string(round));
        clock().advance(60s);
        std::atomic<int> published = 0;
        std::atomic<int> failed = 0;
        {
            std::barrier start(6);
            std::vector<std::jthread> threads;
            for (int index = 0; index < 6; ++index) {
                threads.emplace_back([&, index] {
                    HandleFilterPublisher& publisher = index % 2 == 0 ? m_publisher : replica;
                    start.arrive_and_wait();
                    try {
                        published += publisher.rebuild() ? 1 : 0;
                    } catch (const std::exception&) {
                        ++failed;
                    }
                });
            }
        }
        EXPECT_EQ(published, 1) << round;
        EXPECT_EQ(failed, 0) << round;
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM handle_filters"), 1);
    EXPECT_EQ(store().number("SELECT builder_until FROM handle_filters"), 0);
}

TEST_P(HandleFilterPublisherTest, ABuilderThatWasLostIsReplacedAfterItsLease) {
    const std::string until =
        std::to_string(storedTime(clock().now()) + settings.buildLease.count());
    store().execute("INSERT INTO handle_filters (slot, checked_at, builder_until) VALUES (0, 0, " +
                    until + ")");
    EXPECT_EQ(m_publisher.current().freshness, Freshness::fresh);
    EXPECT_EQ(m_publisher.current().filter, nullptr);
    EXPECT_FALSE(m_publisher.rebuild());
    clock().advance(settings.buildLease - 1ms);
    EXPECT_FALSE(m_publisher.rebuild());
    clock().advance(1ms);
    EXPECT_EQ(m_publisher.current().freshness, Freshness::due);
    EXPECT_TRUE(m_publisher.rebuild());
}

TEST_P(HandleFilterPublisherTest, ALeaseOfAnImpossibleTimeIsNone) {
    const std::string until =
        std::to_string(storedTime(clock().now()) + settings.buildLease.count() + 1);
    store().execute("INSERT INTO handle_filters (slot, checked_at, builder_until) VALUES (0, 0, " +
                    until + ")");
    EXPECT_TRUE(m_publisher.rebuild());
}

TEST_P(HandleFilterPublisherTest, HandlesTakenAndFreedWhileItIsBuiltDoNoHarm) {
    for (int index = 0; index < 30; ++index) {
        addAccount(database(), "kept-" + std::to_string(index));
    }
    AccountProfile profile(database());
    const Principal mover = test::principalOf(addAccount(database(), "mover"));
    std::atomic<int> failed = 0;
    std::jthread others([&](const std::stop_token& stop) {
        for (int round = 0; !stop.stop_requested(); ++round) {
            try {
                profile.change(mover, {round % 2 == 0 ? "aaa" : "zzz", std::nullopt});
            } catch (const StoreError&) {
                continue; // it met too many others
            } catch (const std::exception&) {
                ++failed;
            }
        }
    });
    for (int round = 0; round < 5; ++round) {
        clock().advance(60s);
        m_publisher.rebuild();
        const std::string body = m_publisher.current().filter->body;
        for (int index = 0; index < 30; ++index) {
            EXPECT_TRUE(mayContain(body, "kept-" + std::to_string(index)));
        }
    }
    others.request_stop();
    others.join();
    EXPECT_EQ(failed, 0);
}

} // namespace lumivane::service
