#include "ServiceLoad.h"

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
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <thread>

namespace lumivane::bench {

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

std::string makeFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "lumivane-load-XXXXXX").string();
    return ::mkdtemp(name.data()) == nullptr ? std::string() : name;
}

// The port behind the last colon of the line that the service writes once it listens.
int portIn(int output) {
    char line[256] = {};
    if (::read(output, line, sizeof line - 1) <= 0 || std::strrchr(line, ':') == nullptr) {
        return 0;
    }
    return std::atoi(std::strrchr(line, ':') + 1);
}

pid_t spawnService(std::vector<std::string>& variables, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<char*> environment;
    for (std::string& variable : variables) {
        environment.push_back(variable.data());
    }
    environment.push_back(nullptr);
    char program[] = LUMIVANE_SERVICE_EXECUTABLE;
    char* const arguments[] = {program, nullptr};
    pid_t process = -1;
    if (::posix_spawn(&process, program, &actions, nullptr, arguments, environment.data()) != 0) {
        process = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

} // namespace

MeasuredService::MeasuredService(std::vector<std::string> settings)
    : m_folder(makeFolder()) {
    std::vector<std::string> variables = std::move(settings);
    variables.emplace_back("HOME=" + m_folder);
    variables.emplace_back("LUMIVANE_SERVICE_PORT=0");
    variables.emplace_back("LUMIVANE_SERVICE_DATA_FOLDER=" + m_folder);
    for (const char* limit : {"LOGINS", "REFRESHES", "HANDLES"}) {
        variables.emplace_back(std::string("LUMIVANE_SERVICE_") + limit + "_PER_MINUTE=0");
    }
    int output[2];
    if (::pipe2(output, O_CLOEXEC) != 0) {
        return;
    }
    m_process = spawnService(variables, output[1]);
    ::close(output[1]);
    m_port = portIn(output[0]);
    ::close(output[0]);
}

MeasuredService::~MeasuredService() {
    if (m_process > 0) {
        ::kill(m_process, SIGTERM);
        ::waitpid(m_process, nullptr, 0);
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

long MeasuredService::memory() const {
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

LoadConnection::LoadConnection(int port)
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

LoadConnection::~LoadConnection() { ::close(m_socket); }

bool LoadConnection::send(std::string_view request) const {
    return m_isGood && ::send(m_socket, request.data(), request.size(), MSG_NOSIGNAL) ==
                           static_cast<ssize_t>(request.size());
}

LoadAnswer LoadConnection::read() {
    char bytes[16384];
    for (;;) {
        const auto end = m_buffer.find("\r\n\r\n");
        if (end != std::string::npos) {
            const auto field = m_buffer.find("Content-Length: ");
            const bool hasLength = field < end;
            const std::size_t length =
                hasLength ? std::strtoul(m_buffer.c_str() + field + 16, nullptr, 10) : 0;
            if (m_buffer.size() >= end + 4 + length) {
                LoadAnswer answer{std::atoi(m_buffer.c_str() + 9),
                                  m_buffer.substr(end + 4, length)};
                m_buffer.erase(0, end + 4 + length);
                return answer;
            }
        }
        const auto count = ::recv(m_socket, bytes, sizeof bytes, 0);
        if (count <= 0) {
            return {};
        }
        m_buffer.append(bytes, static_cast<std::size_t>(count));
    }
}

std::string requestBytes(std::string_view method, std::string_view path, std::string_view token,
                         std::string_view body) {
    std::string bytes =
        std::string(method) + " " + std::string(path) + " HTTP/1.1\r\nHost: localhost\r\n";
    if (!token.empty()) {
        bytes += "Authorization: Bearer " + std::string(token) + "\r\n";
    }
    if (!body.empty()) {
        bytes +=
            "Content-Type: application/json\r\nContent-Length: " + std::to_string(body.size()) +
            "\r\n";
    }
    return bytes + "\r\n" + std::string(body);
}

std::string analysisBytes(std::string_view token) {
    std::string text;
    for (int index = 0; text.size() < 8000; ++index) {
        text += "Sentence " + std::to_string(index) + " says that the ferry " +
                std::to_string(index % 17) + " sails from the harbour by Friday.\\n";
    }
    return requestBytes("POST", "/v1/analyze", token,
                        R"({"screen_text":")" + text +
                            R"(","preset":"summary","client_version":"0.3.0"})");
}

std::string textUnder(std::string_view key, std::string_view body) {
    const std::string name = "\"" + std::string(key) + "\":\"";
    const auto begin = body.find(name);
    if (begin == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = body.substr(begin + name.size());
    return std::string(rest.substr(0, rest.find('"')));
}

std::string makeOperation() {
    thread_local std::mt19937_64 random{std::random_device{}()};
    char text[37];
    const std::uint64_t high = random();
    const std::uint64_t low = random();
    std::snprintf(text, sizeof text, "%08lx-%04lx-%04lx-%04lx-%012lx", high >> 32U,
                  (high >> 16U) & 0xFFFFU, high & 0xFFFFU, low >> 48U, low & 0xFFFFFFFFFFFFU);
    return text;
}

double LoadResult::percentile(double share) const {
    if (times.empty()) {
        return 0;
    }
    return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
}

void LoadResult::print(const char* name) const {
    std::printf("%-34s requests=%zu failures=%ld p50=%.2f ms p95=%.2f ms p99=%.2f ms\n", name,
                times.size(), failures, percentile(0.50), percentile(0.95), percentile(0.99));
    std::fflush(stdout);
}

LoadResult askSteadily(int port, const LoadScript& script, int rate, int connections,
                       std::chrono::seconds duration) {
    std::vector<LoadResult> parts(static_cast<std::size_t>(connections));
    std::vector<std::thread> threads;
    const auto start = Clock::now() + std::chrono::milliseconds(50);
    const auto interval = std::chrono::nanoseconds(1'000'000'000LL / rate);
    const long turns = rate * duration.count();
    for (int index = 0; index < connections; ++index) {
        threads.emplace_back([&, index] {
            LoadConnection connection(port);
            LoadResult& part = parts[static_cast<std::size_t>(index)];
            for (long turn = index; turn < turns; turn += connections) {
                const auto due = start + interval * turn;
                std::this_thread::sleep_until(due);
                const LoadAnswer answer = connection.ask(script.request(index, turn));
                part.times.push_back(Milliseconds(Clock::now() - due).count());
                part.failures += script.accept(index, answer) ? 0 : 1;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    LoadResult whole;
    for (const LoadResult& part : parts) {
        whole.times.insert(whole.times.end(), part.times.begin(), part.times.end());
        whole.failures += part.failures;
    }
    std::sort(whole.times.begin(), whole.times.end());
    return whole;
}

LoadScript always(std::string request) {
    return {[request = std::move(request)](int, long) { return request; },
            [](int, const LoadAnswer& answer) { return answer.status == 200; }};
}

} // namespace lumivane::bench
