// Minutes of everything that signed-in clients do, against the service as a process of its own:
// its memory must not grow, and no request may fail that was not meant to.
//
// usage: bench_mixed [MINUTES]   (1 by default)
// The first tenth, but at least ten seconds, is for pools and caches to fill. Ends with 1 when
// memory grows by 2 MiB or more after it, or a request failed.

#include "SeededAccounts.h"
#include "ServiceLoad.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace lumivane::bench;

constexpr int clients = 16;
constexpr int rate = 160;
constexpr long growthBar = 2048;

struct Client {
    SeededSession session;
    int expected = 200;
    bool isRefreshing = false;
};

std::string refreshBytes(const Client& client) {
    return requestBytes("POST", "/v1/auth/refresh", {},
                        R"({"refresh_token":")" + client.session.refreshToken +
                            R"(","operation_id":")" + makeOperation() + "\"}");
}

// Ten kinds of requests in turn, among them two that are to be refused.
std::string nextRequest(Client& client, int index, long round) {
    const std::string& token = client.session.accessToken;
    const std::string own = std::to_string(index) + "-" + std::to_string(round % 97);
    client.expected = 200;
    client.isRefreshing = false;
    switch (round % 10) {
    case 0:
        client.isRefreshing = true;
        return refreshBytes(client);
    case 1:
        return requestBytes("GET", "/v1/auth/me", token);
    case 2:
        return requestBytes("GET", "/v1/auth/devices", token);
    case 3:
        return requestBytes("PATCH", "/v1/auth/profile", token,
                            R"({"handle":"mixed-)" + own + R"(","display_name":"Name )" + own +
                                "\"}");
    case 4:
        return requestBytes("POST", "/v1/auth/handles/availability", token,
                            R"({"handle":"wanted-)" + own + "\"}");
    case 5:
        return requestBytes("GET", "/v1/auth/handles/filter", token);
    case 6:
        client.expected = 409;
        return requestBytes("PATCH", "/v1/auth/profile", token, R"({"handle":"admin"})");
    case 7:
        client.expected = 401;
        return requestBytes("GET", "/v1/auth/me", "nobody");
    case 8:
        return requestBytes("GET", "/healthz", {});
    default:
        return analysisBytes(token);
    }
}

bool accepted(Client& client, const LoadAnswer& answer) {
    if (client.isRefreshing && answer.status == 200) {
        client.session.accessToken = textUnder("access_token", answer.body);
        client.session.refreshToken = textUnder("refresh_token", answer.body);
    }
    return answer.status == client.expected;
}

} // namespace

int main(int argc, char** argv) {
    const int minutes = argc > 1 ? std::max(1, std::atoi(argv[1])) : 1;
    const MeasuredService service;
    if (service.port() == 0) {
        std::fprintf(stderr, "the service does not start\n");
        return 1;
    }
    SeededAccounts accounts(service.database());
    std::vector<Client> people;
    for (int index = 0; index < clients; ++index) {
        people.push_back({accounts.add("mixed-" + std::to_string(index))});
    }
    const LoadScript script{[&](int index, long turn) {
                                return nextRequest(people[static_cast<std::size_t>(index)], index,
                                                   turn / clients);
                            },
                            [&](int index, const LoadAnswer& answer) {
                                return accepted(people[static_cast<std::size_t>(index)], answer);
                            }};
    const std::chrono::seconds whole(60 * minutes);
    const std::chrono::seconds filling = std::max(std::chrono::seconds(10), whole / 10);
    const LoadResult first = askSteadily(service.port(), script, rate, clients, filling);
    first.print("mixed, while caches fill");
    const long before = service.memory();
    const LoadResult rest = askSteadily(service.port(), script, rate, clients, whole - filling);
    rest.print("mixed");
    const long growth = service.memory() - before;
    std::printf("memory %ld KiB, then %ld KiB: growth %ld KiB, bar %ld KiB\n", before,
                service.memory(), growth, growthBar);
    return growth < growthBar && first.failures + rest.failures == 0 ? 0 : 1;
}
