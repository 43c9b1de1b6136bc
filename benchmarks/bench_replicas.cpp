// Two replicas of the service on one PostgreSQL and 200 clients at once that refresh, move between
// machines, repeat, race and drop their connections. Afterwards the database is asked whether
// every exchange took place once, none was lost, and each account is held by one machine.
//
// usage: bench_replicas [SECONDS]   (20 by default)
// Ends with 1 when a promise was broken.

#include "ReplicaClient.h"
#include "server/PostgresServer.h"
#include "server/accounts/Tokens.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

namespace {

using namespace lumivane::bench;

constexpr int clients = 200;

bool check(const char* what, long long found, long long wanted) {
    std::printf("%-58s %lld, wanted %lld: %s\n", what, found, wanted,
                found == wanted ? "ok" : "BROKEN");
    return found == wanted;
}

bool checkTables(SeededAccounts& accounts, const ReplicaTally& tally) {
    const bool exchanges =
        check("exchanged tokens",
              accounts.number("SELECT COUNT(*) FROM refresh_tokens WHERE operation_id IS NOT NULL"),
              tally.exchanges);
    const bool successors =
        check("exchanged tokens without their successor",
              accounts.number(
                  "SELECT COUNT(*) FROM refresh_tokens r WHERE operation_id IS NOT NULL AND NOT "
                  "EXISTS (SELECT 1 FROM refresh_tokens s WHERE s.hash = r.successor_hash)"),
              0);
    const bool tickets =
        check("used tickets",
              accounts.number("SELECT COUNT(*) FROM takeover_tickets WHERE used_at IS NOT NULL"),
              tally.takeovers);
    const bool holders =
        check("accounts with one open session",
              accounts.number("SELECT COUNT(*) FROM (SELECT account_id FROM sessions WHERE "
                              "ended_at IS NULL GROUP BY account_id HAVING COUNT(*) = 1) held"),
              clients);
    const bool heads =
        check("open sessions without exactly one token to exchange",
              accounts.number("SELECT COUNT(*) FROM sessions s WHERE ended_at IS NULL AND (SELECT "
                              "COUNT(*) FROM refresh_tokens r WHERE r.session_id = s.id AND "
                              "r.operation_id IS NULL) <> 1"),
              0);
    return exchanges && successors && tickets && holders && heads;
}

// The token that each client holds is the one that its open session goes on with.
bool checkClients(SeededAccounts& accounts,
                  const std::vector<std::unique_ptr<ReplicaClient>>& people) {
    long long good = 0;
    for (const auto& person : people) {
        const std::string hash = lumivane::service::tokenHash(person->session().refreshToken);
        good += accounts.number(
            "SELECT COUNT(*) FROM refresh_tokens r JOIN sessions s ON s.id = r.session_id WHERE "
            "r.operation_id IS NULL AND s.ended_at IS NULL AND s.account_id = '" +
            person->session().accountId + "' AND s.device_id = '" +
            person->session().device.identifier + "' AND r.hash = '" + hash + "'");
    }
    return check("clients whose token and machine hold the account", good, clients);
}

bool run(SeededAccounts& accounts, std::array<int, 2> ports, std::chrono::seconds duration) {
    ReplicaTally tally;
    std::vector<std::unique_ptr<ReplicaClient>> people;
    for (int number = 0; number < clients; ++number) {
        people.push_back(std::make_unique<ReplicaClient>(ports, accounts, tally, number));
    }
    const auto end = std::chrono::steady_clock::now() + duration;
    std::vector<std::thread> threads;
    for (const auto& person : people) {
        threads.emplace_back([&person, end] {
            while (std::chrono::steady_clock::now() < end) {
                person->step();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::printf("%d clients, %ld requests, %ld asked again, %ld exchanges, %ld takeovers\n",
                clients, tally.requests.load(), tally.again.load(), tally.exchanges.load(),
                tally.takeovers.load());
    const bool answers = check("answers that broke a promise", tally.broken, 0);
    const bool tables = checkTables(accounts, tally);
    return checkClients(accounts, people) && answers && tables;
}

} // namespace

int main(int argc, char** argv) {
    const std::chrono::seconds duration(argc > 1 ? std::max(1, std::atoi(argv[1])) : 20);
    lumivane::service::test::PostgresServer server;
    const std::string url = server.makeDatabase();
    const std::string setting = "LUMIVANE_SERVICE_DATABASE_URL=" + url;
    const MeasuredService first({setting});
    const MeasuredService second({setting});
    if (first.port() == 0 || second.port() == 0) {
        std::fprintf(stderr, "the service does not start\n");
        return 1;
    }
    SeededAccounts accounts(url);
    return run(accounts, {first.port(), second.port()}, duration) ? 0 : 1;
}
