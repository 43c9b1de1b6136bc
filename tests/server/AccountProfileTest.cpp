#include "server/profile/AccountProfile.h"

#include "server/ProfileFixture.h"
#include "server/accounts/AccountError.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

namespace lumivane::service {

using test::addAccount;
using test::everyEngine;
using test::principalOf;
using Reason = HandleAvailability::Reason;

namespace {

class AccountProfileTest : public test::StoreTest {
protected:
    std::string refusalOf(const std::string& account, const ProfileChange& wanted) {
        try {
            m_profile.change(principalOf(account), wanted);
            return {};
        } catch (const AccountError& error) {
            return std::to_string(error.refusal().status) + " " + error.refusal().code;
        }
    }

    AccountProfile m_profile{database()};
};

INSTANTIATE_TEST_SUITE_P(Engines, AccountProfileTest, everyEngine(), test::engineName);

ProfileChange handle(const std::string& text) { return {text, std::nullopt}; }

} // namespace

TEST_P(AccountProfileTest, AChangeIsStoredAndGivenBack) {
    const std::string ada = addAccount(database(), "ada");
    const UserSummary user = m_profile.change(principalOf(ada), {"Cedar", "Ada L."});
    EXPECT_EQ(user.handle, "Cedar");
    EXPECT_EQ(user.displayName, "Ada L.");
    EXPECT_EQ(user.verifiedEmail, "ada@mail.example");
    EXPECT_EQ(user.linkedProviders, std::vector{AuthProvider::github});
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts WHERE handle = 'Cedar' AND "
                             "handle_folded = 'cedar' AND display_name = 'Ada L.'"),
              1);
}

TEST_P(AccountProfileTest, OneFieldLeavesTheOther) {
    const std::string ada = addAccount(database(), "ada");
    EXPECT_EQ(m_profile.change(principalOf(ada), {std::nullopt, "Ada"}).handle, "ada");
    EXPECT_EQ(m_profile.change(principalOf(ada), handle("oak")).displayName, "Ada");
}

TEST_P(AccountProfileTest, ATakenHandleIsRefusedInAnyCaseAndChangesNothing) {
    const std::string ada = addAccount(database(), "ada");
    addAccount(database(), "Cedar");
    EXPECT_EQ(refusalOf(ada, handle("cedar")), "409 handle_taken");
    EXPECT_EQ(refusalOf(ada, {"CEDAR", "Other"}), "409 handle_taken");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts WHERE handle = 'ada' AND "
                             "display_name = 'Name of ada'"),
              1);
}

TEST_P(AccountProfileTest, AnotherCaseOfOnesOwnHandleIsFree) {
    const std::string ada = addAccount(database(), "ada");
    EXPECT_EQ(m_profile.change(principalOf(ada), handle("ADA")).handle, "ADA");
    EXPECT_EQ(m_profile.change(principalOf(ada), handle("ADA")).handle, "ADA");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts WHERE handle_folded = 'ada'"), 1);
}

TEST_P(AccountProfileTest, AHandleThatWasGivenUpCanBeHad) {
    const std::string ada = addAccount(database(), "ada");
    const std::string bob = addAccount(database(), "bob");
    m_profile.change(principalOf(ada), handle("cedar"));
    EXPECT_EQ(m_profile.change(principalOf(bob), handle("Ada")).handle, "Ada");
    EXPECT_EQ(refusalOf(ada, handle("ada")), "409 handle_taken");
}

TEST_P(AccountProfileTest, AnAccountThatIsGoneIsUnauthorized) {
    EXPECT_EQ(refusalOf("nobody", handle("cedar")), "401 unauthorized");
    EXPECT_EQ(refusalOf("nobody", {std::nullopt, "Ada"}), "401 unauthorized");
}

TEST_P(AccountProfileTest, TextsAreStoredAsTheyStand) {
    const std::string ada = addAccount(database(), "ada");
    for (const char* name : {"Robert'); DROP TABLE accounts;--", "<script>alert(1)</script>",
                             ":name ? $1 %s", "\\ \" ' ` \xF0\x9F\x98\x80"}) {
        EXPECT_EQ(m_profile.change(principalOf(ada), {std::nullopt, name}).displayName, name);
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
}

TEST_P(AccountProfileTest, OfSeveralWhoWantOneHandleExactlyOneGetsIt) {
    constexpr int rivals = 8;
    constexpr int rounds = 5;
    auto another = store().openAnother();
    AccountProfile replica(*another);
    std::vector<std::string> accounts;
    for (int index = 0; index < rivals; ++index) {
        accounts.push_back(addAccount(database(), "rival-" + std::to_string(index)));
    }
    for (int round = 0; round < rounds; ++round) {
        const ProfileChange wanted = handle("Prize-" + std::to_string(round));
        std::atomic<int> won = 0;
        std::atomic<int> lost = 0;
        std::barrier start(rivals);
        std::vector<std::thread> threads;
        for (int index = 0; index < rivals; ++index) {
            threads.emplace_back([&, index] {
                AccountProfile& profile = index % 2 == 0 ? m_profile : replica;
                start.arrive_and_wait();
                try {
                    profile.change(principalOf(accounts[static_cast<std::size_t>(index)]), wanted);
                    ++won;
                } catch (const AccountError& error) {
                    lost += error.refusal().code == "handle_taken" ? 1 : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(won, 1) << round;
        EXPECT_EQ(lost, rivals - 1) << round;
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), rivals);
}

TEST_P(AccountProfileTest, AvailabilityToldByReason) {
    const Principal ada = principalOf(addAccount(database(), "Ada"));
    addAccount(database(), "cedar");
    EXPECT_EQ(m_profile.availability(ada, "oak"), (HandleAvailability{"oak", std::nullopt}));
    EXPECT_EQ(m_profile.availability(ada, "CEDAR"), (HandleAvailability{"CEDAR", Reason::taken}));
    EXPECT_EQ(m_profile.availability(ada, "Admin"),
              (HandleAvailability{"Admin", Reason::reserved}));
    EXPECT_EQ(m_profile.availability(ada, "a"), (HandleAvailability{"a", Reason::malformed}));
    EXPECT_EQ(m_profile.availability(ada, "' OR 1=1"),
              (HandleAvailability{"' OR 1=1", Reason::malformed}));
}

TEST_P(AccountProfileTest, OnesOwnHandleIsAvailableInAnyCase) {
    const Principal ada = principalOf(addAccount(database(), "Ada"));
    EXPECT_EQ(m_profile.availability(ada, "ada").reason, std::nullopt);
    EXPECT_EQ(m_profile.availability(ada, "Ada").reason, std::nullopt);
    const Principal other = principalOf(addAccount(database(), "other"));
    EXPECT_EQ(m_profile.availability(other, "ADA").reason, Reason::taken);
}

} // namespace lumivane::service
