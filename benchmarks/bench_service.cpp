// Starts the service as a process of its own and asks it at a steady rate over kept connections:
// `healthz`, first alone, then beside analyses; analyses of 8 KB alone; refreshes over SQLite;
// last, the memory of idle connections.
//
// usage: bench_service [SECONDS]   (3 by default, for each figure)
// Ends with 1 when a figure misses its bar or a request failed.

#include "SeededAccounts.h"
#include "ServiceLoad.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>

namespace {

using namespace lumivane::bench;

constexpr int healthRate = 2000;
constexpr int healthConnections = 8;
constexpr int analysisRate = 50;
constexpr int analysisConnections = 4;
constexpr int refreshRate = 200;
constexpr int refreshConnections = 16;
constexpr int sessionsPerConnection = 10;
constexpr int idleConnections = 1000;

bool holds(const char* what, double value, const char* unit, double bar) {
    const bool isWithin = value < bar;
    std::printf("%-34s %.2f %s, bar %.0f %s: %s\n", what, value, unit, bar, unit,
                isWithin ? "ok" : "MISSED");
    return isWithin;
}

bool passes(const char* name, const LoadResult& result, double bar) {
    result.print(name);
    return holds("  95th percentile", result.percentile(0.95), "ms", bar) && result.failures == 0;
}

bool measureHealth(int port, const std::string& token, std::chrono::seconds duration) {
    const LoadScript health = always(requestBytes("GET", "/healthz", {}));
    const bool isGood = passes(
        "healthz 2000/s", askSteadily(port, health, healthRate, healthConnections, duration), 5.0);
    LoadResult analyses;
    std::thread load([&] {
        analyses = askSteadily(port, always(analysisBytes(token)), analysisRate,
                               analysisConnections, duration);
    });
    const LoadResult beside = askSteadily(port, health, healthRate, healthConnections, duration);
    load.join();
    analyses.print("v1/analyze 50/s beside healthz");
    return passes("healthz 2000/s beside analyses", beside, 5.0) && analyses.failures == 0 &&
           isGood;
}

bool measureAnalysis(int port, const std::string& token, std::chrono::seconds duration) {
    return passes("v1/analyze 50/s, 8 KB text",
                  askSteadily(port, always(analysisBytes(token)), analysisRate, analysisConnections,
                              duration),
                  50.0);
}

// Every connection walks through sessions of its own, so that a token comes back once its
// successor is known.
bool measureRefresh(const MeasuredService& service, std::chrono::seconds duration) {
    SeededAccounts accounts(service.database());
    std::vector<std::vector<std::string>> tokens(refreshConnections);
    for (int index = 0; index < refreshConnections * sessionsPerConnection; ++index) {
        tokens[static_cast<std::size_t>(index % refreshConnections)].push_back(
            accounts.add("load-" + std::to_string(index)).refreshToken);
    }
    std::vector<std::size_t> places(refreshConnections, 0);
    const auto place = [&](int index) -> std::string& {
        const auto connection = static_cast<std::size_t>(index);
        return tokens[connection][places[connection] % sessionsPerConnection];
    };
    const LoadScript script{[&](int index, long) {
                                return requestBytes("POST", "/v1/auth/refresh", {},
                                                    R"({"refresh_token":")" + place(index) +
                                                        R"(","operation_id":")" + makeOperation() +
                                                        "\"}");
                            },
                            [&](int index, const LoadAnswer& answer) {
                                std::string token = textUnder("refresh_token", answer.body);
                                const bool isGood = answer.status == 200 && !token.empty();
                                if (isGood) {
                                    place(index) = std::move(token);
                                }
                                ++places[static_cast<std::size_t>(index)];
                                return isGood;
                            }};
    return passes("refresh 200/s on SQLite",
                  askSteadily(service.port(), script, refreshRate, refreshConnections, duration),
                  30.0);
}

// On a service that has done nothing else, so that the figure is that of the connections.
bool measureIdle() {
    const MeasuredService service;
    const long before = service.memory();
    const std::string health = requestBytes("GET", "/healthz", {});
    std::vector<std::unique_ptr<LoadConnection>> connections;
    int answered = 0;
    for (int count = 0; count < idleConnections; ++count) {
        connections.push_back(std::make_unique<LoadConnection>(service.port()));
        answered += connections.back()->ask(health).status == 200 ? 1 : 0;
    }
    std::printf("memory before connections          %ld KiB\n", before);
    return holds("memory with 1,000 idle connections",
                 static_cast<double>(service.memory()) / 1024.0, "MiB", 60.0) &&
           answered == idleConnections;
}

} // namespace

int main(int argc, char** argv) {
    const std::chrono::seconds duration(argc > 1 ? std::max(1, std::atoi(argv[1])) : 3);
    const MeasuredService service;
    if (service.port() == 0) {
        std::fprintf(stderr, "the service does not start\n");
        return 1;
    }
    const std::string token = SeededAccounts(service.database()).add("analyses").accessToken;
    const bool health = measureHealth(service.port(), token, duration);
    const bool analysis = measureAnalysis(service.port(), token, duration);
    const bool refresh = measureRefresh(service, duration);
    std::printf("resident memory %ld KiB\n", service.memory());
    const bool idle = measureIdle();
    return health && analysis && refresh && idle ? 0 : 1;
}
