// Starts the service as a process of its own and asks it at a steady rate over kept connections:
// `healthz` 2,000 times a second, first alone, then while 50 analyses a second are at work. Each
// time is taken from when the request was due, so a stall counts for all that it held up.
//
// usage: bench_service [SECONDS]   (3 by default)
// Ends with 1 when a 95th percentile of healthz is 5 ms or more, or a request failed.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int healthRate = 2000;
constexpr int healthConnections = 8;
constexpr int analysisRate = 50;
constexpr int analysisConnections = 2;
constexpr double healthBar = 5.0;
constexpr auto token = "token-of-the-load-client";

// The service keeps a database, which must not be anybody's own.
std::filesystem::path makeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "bench-service-XXXXXX").string();
    return ::mkdtemp(name.data()) != nullptr ? name : std::string();
}

class Service {
public:
    Service() {
        int output[2];
        if (::pipe2(output, O_CLOEXEC) != 0) {
            return;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        char program[] = LUMIVANE_SERVICE_EXECUTABLE;
        std::string home = "HOME=" + m_home.string();
        char port[] = "LUMIVANE_SERVICE_PORT=0";
        std::string variable = std::string("LUMIVANE_SERVICE_DEVELOPMENT_TOKEN=") + token;
        char* const argv[] = {program, nullptr};
        char* const envp[] = {home.data(), port, variable.data(), nullptr};
        if (::posix_spawn(&m_process, program, &actions, nullptr, argv, envp) != 0) {
            m_process = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
        ::close(output[1]);
        char line[256] = {};
        if (::read(output[0], line, sizeof line - 1) > 0 && std::strrchr(line, ':') != nullptr) {
            m_port = std::atoi(std::strrchr(line, ':') + 1);
        }
        ::close(output[0]);
    }

    ~Service() {
        if (m_process > 0) {
            ::kill(m_process, SIGTERM);
            ::waitpid(m_process, nullptr, 0);
        }
        std::error_code ignored;
        std::filesystem::remove_all(m_home, ignored);
    }

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    int port() const { return m_port; }

    // Resident memory in KiB.
    long memory() const {
        long kib = 0;
        const std::string path = "/proc/" + std::to_string(m_process) + "/status";
        if (FILE* file = std::fopen(path.c_str(), "r")) {
            char line[256];
            while (std::fgets(line, sizeof line, file) != nullptr) {
                std::sscanf(line, "VmRSS: %ld", &kib);
            }
            std::fclose(file);
        }
        return kib;
    }

private:
    std::filesystem::path m_home = makeFolder();
    pid_t m_process = -1;
    int m_port = 0;
};

class Connection {
public:
    explicit Connection(int port)
        : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        m_isGood =
            ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }

    ~Connection() { ::close(m_socket); }

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // Whether a 200 came back, read to its last byte.
    bool ask(const std::string& request) {
        if (!m_isGood || ::send(m_socket, request.data(), request.size(), MSG_NOSIGNAL) !=
                             static_cast<ssize_t>(request.size())) {
            return false;
        }
        std::string answer;
        char bytes[8192];
        while (!isWhole(answer)) {
            const auto count = ::recv(m_socket, bytes, sizeof bytes, 0);
            if (count <= 0) {
                return false;
            }
            answer.append(bytes, static_cast<std::size_t>(count));
        }
        return answer.compare(0, 12, "HTTP/1.1 200") == 0;
    }

private:
    static bool isWhole(const std::string& answer) {
        const auto end = answer.find("\r\n\r\n");
        const auto field = answer.find("Content-Length: ");
        return end != std::string::npos && field != std::string::npos &&
               answer.size() >= end + 4 + std::strtoul(answer.c_str() + field + 16, nullptr, 10);
    }

    int m_socket;
    bool m_isGood = false;
};

struct Result {
    std::vector<double> times; // milliseconds
    long failures = 0;
};

Result askSteadily(int port, const std::string& request, int rate, int connections, int seconds) {
    std::vector<Result> parts(static_cast<std::size_t>(connections));
    std::vector<std::thread> threads;
    const auto start = Clock::now() + std::chrono::milliseconds(50);
    const auto interval = std::chrono::nanoseconds(1'000'000'000LL / rate);
    for (int index = 0; index < connections; ++index) {
        threads.emplace_back([&, index] {
            Connection connection(port);
            Result& part = parts[static_cast<std::size_t>(index)];
            for (long turn = index; turn < static_cast<long>(rate) * seconds; turn += connections) {
                const auto due = start + interval * turn;
                std::this_thread::sleep_until(due);
                if (!connection.ask(request)) {
                    ++part.failures;
                }
                part.times.push_back(Milliseconds(Clock::now() - due).count());
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    Result whole;
    for (const Result& part : parts) {
        whole.times.insert(whole.times.end(), part.times.begin(), part.times.end());
        whole.failures += part.failures;
    }
    std::sort(whole.times.begin(), whole.times.end());
    return whole;
}

double percentile(const Result& result, double share) {
    if (result.times.empty()) {
        return 0;
    }
    const auto index =
        static_cast<std::size_t>(share * static_cast<double>(result.times.size() - 1));
    return result.times[index];
}

void print(const char* name, const Result& result) {
    std::printf("%-28s requests=%zu failures=%ld p50=%.2f ms p95=%.2f ms p99=%.2f ms\n", name,
                result.times.size(), result.failures, percentile(result, 0.50),
                percentile(result, 0.95), percentile(result, 0.99));
}

std::string analysisRequest() {
    std::string text;
    for (int index = 0; text.size() < 8000; ++index) {
        text += "Sentence " + std::to_string(index) + " says that the ferry " +
                std::to_string(index % 17) + " sails from the harbour by Friday.\\n";
    }
    const std::string body =
        R"({"screen_text":")" + text + R"(","preset":"summary","client_version":"0.3.0"})";
    return std::string("POST /v1/analyze HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer ") +
           token +
           "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

bool passes(const Result& health) {
    return health.failures == 0 && percentile(health, 0.95) < healthBar;
}

} // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
    const Service service;
    if (service.port() == 0) {
        std::fprintf(stderr, "the service does not start\n");
        return 1;
    }
    const std::string health = "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n";
    const Result alone =
        askSteadily(service.port(), health, healthRate, healthConnections, seconds);
    print("healthz 2000/s", alone);

    Result analyses;
    std::thread load([&] {
        analyses = askSteadily(service.port(), analysisRequest(), analysisRate, analysisConnections,
                               seconds);
    });
    const Result beside =
        askSteadily(service.port(), health, healthRate, healthConnections, seconds);
    load.join();
    print("healthz 2000/s with analyses", beside);
    print("v1/analyze 50/s, 8 KB text", analyses);
    std::printf("resident memory %ld KiB\n", service.memory());
    return passes(alone) && passes(beside) && analyses.failures == 0 ? 0 : 1;
}
