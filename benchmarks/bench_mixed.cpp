// Minutes of everything that signed-in clients do, against the service as a process of its own:
// its memory must not grow, and no request may fail that was not meant to.
//
// usage: bench_mixed [MINUTES]   (1 by default)
// The first tenth, but at least ten seconds, is for pools and caches to fill. Ends with 1 when
// memory grows by 2 MiB or more after it, or a request failed.

#include "SeededAccounts.h"
#include "ServiceLoad.h"

#include <algorithm>
#include <array>
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

struct Kind {
    const char* method;
    const char* path;
    const char* body; // "%" stands for what is the client's own in this round
    int status = 200;
};

// What is asked besides refreshes and analyses, two of them to be refused.
constexpr std::array<Kind, 7> kinds{{
    {"GET", "/v1/auth/me", ""},
    {"GET", "/v1/auth/devices", ""},
    {"PATCH", "/v1/auth/profile", R"({"handle":"mixed-%","display_name":"Name %"})"},
    {"POST", "/v1/auth/handles/availability", R"({"handle":"wanted-%"})"},
    {"GET", "/v1/auth/handles/filter", ""},
    {"PATCH", "/v1/auth/profile", R"({"handle":"admin"})", 409},
    {"GET", "/v1/auth/nothing", "", 404},
}};

std::string filledIn(std::string_view text, const std::string& own) {
    std::string filled;
    for (const char character : text) {
        filled += character == '%' ? own : std::string(1, character);
    }
    return filled;
}

std::string nextRequest(Client& client, int index, long round) {
    const std::string own = std::to_string(index) + "-" + std::to_string(round % 97);
    const auto kind = static_cast<std::size_t>(round) % (kinds.size() + 3);
    client.expected = 200;
    client.isRefreshing = kind == kinds.size();
    if (kind < kinds.size()) {
        const Kind& chosen = kinds.at(kind);
        client.expected = chosen.status;
        return requestBytes(chosen.method, chosen.path, client.session.accessToken,
                            filledIn(chosen.body, own));
    }
    if (client.isRefreshing) {
        return refreshBytes(client);
    }
    return kind == kinds.size() + 1 ? requestBytes("GET", "/healthz", {})
                                    : analysisBytes(client.session.accessToken);
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
