#include "server/AccountFixture.h"
#include "server/AccountReplica.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <random>
#include <set>
#include <thread>

namespace lumivane::service::test {

namespace {

constexpr int accounts = 40;
constexpr int machinesEach = 5;
constexpr int stepsEach = 6;
constexpr int mostAttempts = 50;

// What all clients have in common.
struct Crowd {
    TestStore store{Engine::postgres};
    ManualWallClock clock;
    AccountReplica first{store.settings(), clock};
    AccountReplica second{store.settings(), clock};
    std::mutex mutex;
    std::set<std::string> acknowledged; // refresh tokens that some client was given
    std::atomic<int> operations = 0;
    std::atomic<int> surprises = 0;
    std::atomic<int> exchanges = 0;
    std::atomic<int> moves = 0;
};

// One machine of one account. It behaves as a careful client does: one name per exchange, asked
// again under the same name until there is an answer.
class Machine {
public:
    Machine(Crowd& crowd, int account, int number)
        : m_crowd(crowd)
        , m_account("account" + std::to_string(account))
        , m_random(static_cast<unsigned>(account * 100 + number)) {
        m_device = desktop;
        m_device.identifier += "-" + std::to_string(number);
    }

    void live() {
        for (int step = 0; step < stepsEach; ++step) {
            m_token.empty() ? moveHere() : exchange();
        }
    }

private:
    bool chance(unsigned percent) { return m_random() % 100 < percent; }

    // Sends, and goes away before the answer, or asks twice at once, or just asks.
    TestResponse ask(const std::string& bytes) {
        const std::uint16_t port = chance(50) ? m_crowd.first.port() : m_crowd.second.port();
        if (chance(25)) {
            TestClient(port).send(bytes);
        }
        TestClient rival(m_crowd.first.port());
        const bool isDouble = chance(25);
        if (isDouble) {
            rival.send(bytes);
        }
        TestResponse response = TestClient(port).ask(bytes);
        if (isDouble) {
            const TestResponse other = rival.read();
            const bool bothWell = other.status == 200 && response.status == 200;
            m_crowd.surprises += bothWell && other.body != response.body ? 1 : 0;
        }
        return response;
    }

    // Until there is an answer that says something.
    TestResponse askPatiently(const std::string& bytes) {
        for (int i = 0; i < mostAttempts; ++i) {
            TestResponse response = ask(bytes);
            if (response.status != 0 && response.status != 503) {
                return response;
            }
        }
        ++m_crowd.surprises;
        return {};
    }

    void keep(const TestResponse& response) {
        m_token = textIn(response.body, "refresh_token");
        const std::lock_guard lock(m_crowd.mutex);
        m_crowd.acknowledged.insert(tokenHash(m_token));
    }

    void exchange() {
        std::array<char, 40> operation{};
        std::snprintf(operation.data(), operation.size(), "00000000-0000-4000-8000-%012d",
                      ++m_crowd.operations);
        const TestResponse response = askPatiently(
            accountRequest("POST", "refresh", "", refreshBody(m_token, operation.data())));
        if (response.status == 200) {
            ++m_crowd.exchanges;
            keep(response);
        } else if (response.errorCode() == "device_evicted") {
            m_token.clear();
        } else {
            ++m_crowd.surprises;
        }
    }

    std::variant<IssuedLogin, TakeoverOffer> signInPatiently() {
        for (int i = 1; i < mostAttempts; ++i) {
            try {
                return signIn(m_crowd.store.database(), m_account, m_device, m_crowd.clock.now());
            } catch (const StoreError&) {
                continue;
            }
        }
        return signIn(m_crowd.store.database(), m_account, m_device, m_crowd.clock.now());
    }

    // The login itself happens in a browser; what it ends in stands in the database.
    void moveHere() {
        auto outcome = signInPatiently();
        if (auto* login = std::get_if<IssuedLogin>(&outcome)) {
            m_token = login->tokens.refreshToken;
            return;
        }
        const std::string& ticket = std::get<TakeoverOffer>(outcome).ticket;
        const TestResponse response =
            askPatiently(accountRequest("POST", "takeover", ticket, takeoverBody(m_device)));
        if (response.status == 200) {
            ++m_crowd.moves;
            keep(response);
        } else if (response.errorCode() != "unauthorized") {
            // Another machine may have moved the account on before the answer was fetched.
            ++m_crowd.surprises;
        }
    }

    Crowd& m_crowd;
    std::string m_account;
    DeviceRegistration m_device;
    std::minstd_rand m_random;
    std::string m_token;
};

void letAllLive(Crowd& crowd) {
    std::vector<std::jthread> threads;
    for (int account = 0; account < accounts; ++account) {
        storeAccount(crowd.store.database(), "account" + std::to_string(account));
    }
    for (int i = 0; i < accounts * machinesEach; ++i) {
        threads.emplace_back([&crowd, i] {
            try {
                Machine(crowd, i % accounts, i / accounts).live();
            } catch (const std::exception&) {
                ++crowd.surprises;
            }
        });
    }
}

} // namespace

TEST(Replicas, TwoHundredClientsThatRepeatRaceAndDropLoseAndDoubleNothing) {
    Crowd crowd;
    letAllLive(crowd);
    const auto number = [&](const std::string& query) { return crowd.store.number(query); };

    EXPECT_EQ(crowd.surprises, 0);
    EXPECT_GT(crowd.exchanges, 50);
    EXPECT_GT(crowd.moves, 50);

    // One machine for each account, and it is the one that the account names.
    EXPECT_EQ(number("SELECT COUNT(*) FROM sessions WHERE ended_at IS NULL"), accounts);
    EXPECT_EQ(number("SELECT COUNT(*) FROM sessions s JOIN accounts a ON a.id = s.account_id "
                     "WHERE s.ended_at IS NULL AND a.device_id = s.device_id"),
              accounts);
    EXPECT_EQ(number("SELECT COUNT(*) FROM sessions WHERE end_reason NOT IN "
                     "('evicted', 'replaced')"),
              0);

    // None doubled: each token has one successor at most, each operation one exchange, and a
    // session has exactly one token that can still be exchanged.
    EXPECT_EQ(number("SELECT COUNT(operation_id) - COUNT(DISTINCT operation_id) "
                     "FROM refresh_tokens"),
              0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM (SELECT session_id FROM refresh_tokens "
                     "WHERE exchanged_at IS NULL GROUP BY session_id HAVING COUNT(*) <> 1) x"),
              0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM refresh_tokens t WHERE t.successor_hash IS NOT NULL "
                     "AND NOT EXISTS (SELECT 1 FROM refresh_tokens n "
                     "WHERE n.hash = t.successor_hash AND n.session_id = t.session_id)"),
              0);
    EXPECT_EQ(number("SELECT COUNT(*) FROM (SELECT session_id FROM takeover_tickets "
                     "WHERE session_id IS NOT NULL GROUP BY session_id HAVING COUNT(*) > 1) x"),
              0);

    // None lost: what a client was given is there.
    for (const std::string& hash : crowd.acknowledged) {
        ASSERT_EQ(number("SELECT COUNT(*) FROM refresh_tokens WHERE hash = '" + hash + "'"), 1);
    }
    EXPECT_GE(number("SELECT COUNT(*) FROM refresh_tokens WHERE exchanged_at IS NOT NULL"),
              crowd.exchanges);
}

} // namespace lumivane::service::test
