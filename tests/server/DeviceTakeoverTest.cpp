#include "server/AccountFixture.h"

#include <atomic>
#include <thread>

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

class DeviceTakeoverTest : public AccountTest {
protected:
    std::string attempt(const std::string& ticket, const DeviceRegistration& device) {
        return refusalOf([&] { takeover.takeOver(ticket, device); });
    }

    std::string holder() {
        return database().read([](soci::session& sql) {
            std::string device;
            sql << "SELECT device_id FROM sessions WHERE ended_at IS NULL", soci::into(device);
            return device;
        });
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, DeviceTakeoverTest, everyEngine(), engineName);

} // namespace

TEST_P(DeviceTakeoverTest, ATicketMovesTheAccountAndEndsTheOldSession) {
    const IssuedLogin first = login(laptop);
    const std::string ticket = ticketFor(desktop);
    clock().advance(1min);

    const IssuedLogin second = takeover.takeOver(ticket, desktop);

    EXPECT_EQ(second.tokens.accessToken.size(), tokenLength);
    EXPECT_EQ(second.tokens.accessExpiresAt, clock().now() + 15min);
    EXPECT_EQ(second.tokens.refreshExpiresAt, clock().now() + std::chrono::days(60));
    EXPECT_EQ(second.user.handle, "ada");
    EXPECT_EQ(holder(), desktop.identifier);
    EXPECT_EQ(endedAs("evicted"), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM devices"), 2);
    EXPECT_EQ(refusalOf([&] { refresh(first.tokens.refreshToken); }), "device_evicted");
    EXPECT_EQ(refusalOf([&] { refresh(second.tokens.refreshToken); }), "");
}

TEST_P(DeviceTakeoverTest, ALostAnswerIsGivenAgainToTheSameMachine) {
    login(laptop);
    const std::string ticket = ticketFor(desktop);
    const IssuedLogin second = takeover.takeOver(ticket, desktop);
    clock().advance(1min);

    const IssuedLogin again = takeover.takeOver(ticket, desktop);

    EXPECT_EQ(again.tokens.accessToken, second.tokens.accessToken);
    EXPECT_EQ(again.tokens.refreshToken, second.tokens.refreshToken);
    EXPECT_EQ(again.tokens.accessExpiresAt, second.tokens.accessExpiresAt);
    EXPECT_EQ(again.tokens.refreshExpiresAt, second.tokens.refreshExpiresAt);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM sessions"), 2);
    EXPECT_EQ(attempt(ticket, tablet), "unauthorized");
    EXPECT_EQ(holder(), desktop.identifier);
}

TEST_P(DeviceTakeoverTest, ATicketThatEndsExactlyNowHasExpired) {
    login(laptop);
    const std::string unused = ticketFor(desktop);
    const std::string used = ticketFor(desktop);
    clock().advance(5min - 1ms);
    EXPECT_EQ(attempt(used, desktop), "");

    clock().advance(1ms);
    EXPECT_EQ(attempt(used, desktop), "unauthorized");
    EXPECT_EQ(attempt(unused, desktop), "unauthorized");
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(DeviceTakeoverTest, ARepeatedTicketDoesNotBringBackASessionThatIsOver) {
    login(laptop);
    const std::string forDesktop = ticketFor(desktop);
    const std::string forTablet = ticketFor(tablet);
    takeover.takeOver(forDesktop, desktop);
    takeover.takeOver(forTablet, tablet);

    EXPECT_EQ(attempt(forDesktop, desktop), "unauthorized");
    EXPECT_EQ(holder(), tablet.identifier);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(DeviceTakeoverTest, AMachineThatIsNotFullyDescribedIsRequiredAndTheTicketStaysGood) {
    login(laptop);
    const std::string ticket = ticketFor(desktop);
    DeviceRegistration device = desktop;
    device.identifier = std::string(15, 'x');
    EXPECT_EQ(attempt(ticket, device), "device_required");
    device = desktop;
    device.kind = "unknown";
    EXPECT_EQ(attempt(ticket, device), "device_required");

    EXPECT_EQ(attempt(ticket, desktop), "");
}

TEST_P(DeviceTakeoverTest, WhatIsNoTicketIsUnauthorized) {
    const IssuedLogin made = login(laptop);
    for (const std::string& ticket :
         {std::string(), made.tokens.accessToken, made.tokens.refreshToken,
          std::string(tokenLength, 'A'), std::string("' OR 1=1 --"), std::string(4096, 'A')}) {
        EXPECT_EQ(attempt(ticket, desktop), "unauthorized") << ticket;
    }
    EXPECT_EQ(holder(), laptop.identifier);
}

TEST_P(DeviceTakeoverTest, AHolderThatSignedOutMeanwhileIsNotCalledEvicted) {
    const IssuedLogin first = login(laptop);
    const std::string ticket = ticketFor(desktop);
    tokens.revoke(first.tokens.refreshToken);

    EXPECT_EQ(attempt(ticket, desktop), "");
    EXPECT_EQ(endedAs("evicted"), 0);
    EXPECT_EQ(holder(), desktop.identifier);
}

TEST_P(DeviceTakeoverTest, AMachineThatCameBackItselfReplacesItsOwnSession) {
    const IssuedLogin first = login(laptop);
    const std::string ticket = ticketFor(desktop);
    tokens.revoke(first.tokens.refreshToken);
    login(desktop);

    EXPECT_EQ(attempt(ticket, desktop), "");
    EXPECT_EQ(endedAs("replaced"), 1);
    EXPECT_EQ(openSessions(), 1);
}

TEST_P(DeviceTakeoverTest, ManyTicketsAtOnceLeaveOneHolder) {
    const auto another = store().openAnother();
    DeviceTakeover replica(*another, TokenDerivation::load(*another), clock(), settings);
    login(laptop);
    std::vector<std::pair<std::string, DeviceRegistration>> tickets;
    for (int i = 0; i < 8; ++i) {
        DeviceRegistration device = desktop;
        device.identifier += std::to_string(i);
        tickets.emplace_back(ticketFor(device), device);
    }
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < tickets.size(); ++i) {
            threads.emplace_back([&, i] {
                (i % 2 == 0 ? takeover : replica).takeOver(tickets[i].first, tickets[i].second);
            });
        }
    }

    EXPECT_EQ(openSessions(), 1);
    EXPECT_EQ(endedAs("evicted"), 8);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts a JOIN sessions s "
                             "ON s.device_id = a.device_id WHERE s.ended_at IS NULL"),
              1);
}

TEST_P(DeviceTakeoverTest, OfTwoMachinesWithOneTicketOneWins) {
    for (int round = 0; round < 5; ++round) {
        const std::string account = "account" + std::to_string(round);
        storeAccount(database(), account);
        std::get<IssuedLogin>(signIn(database(), account, laptop, clock().now()));
        const auto offer =
            std::get<TakeoverOffer>(signIn(database(), account, desktop, clock().now()));
        std::atomic<int> wins = 0;
        std::jthread first([&] { wins += attempt(offer.ticket, desktop).empty() ? 1 : 0; });
        std::jthread second([&] { wins += attempt(offer.ticket, tablet).empty() ? 1 : 0; });
        first.join();
        second.join();
        ASSERT_EQ(wins, 1);
    }
    EXPECT_EQ(openSessions(), 5);
}

} // namespace lumivane::service::test
