#include "server/ScriptedProvider.h"

#include "server/FakeUpstream.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace lumivane::service::test {

namespace {

bool isReadable(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    return ::poll(&entry, 1, 20) > 0;
}

bool isWhole(const std::string& request) {
    const auto end = request.find("\r\n\r\n");
    if (end == std::string::npos) {
        return false;
    }
    const auto field = request.find("Content-Length: ");
    const std::size_t length =
        field < end ? std::strtoul(request.c_str() + field + 16, nullptr, 10) : 0;
    return request.size() >= end + 4 + length;
}

std::string pathIn(const std::string& request) {
    const auto begin = request.find(' ') + 1;
    return request.substr(begin, request.find_first_of(" ?", begin) - begin);
}

} // namespace

ScriptedProvider::ScriptedProvider()
    : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(m_listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        ::listen(m_listener, 8) != 0) {
        throw std::runtime_error("no loopback port");
    }
    ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

ScriptedProvider::~ScriptedProvider() {
    m_isStopping = true;
    m_thread.join();
    ::close(m_listener);
}

void ScriptedProvider::answer(const std::string& path, int status, const std::string& body) {
    const std::lock_guard lock(m_mutex);
    m_answers[path] = httpAnswer(status, body);
}

std::string ScriptedProvider::requestTo(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    return m_requests[path].empty() ? std::string() : m_requests[path].back();
}

int ScriptedProvider::countOf(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_requests[path].size());
}

std::string ScriptedProvider::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

void ScriptedProvider::serve() {
    while (!m_isStopping) {
        if (isReadable(m_listener)) {
            const int client = ::accept(m_listener, nullptr, nullptr);
            serveClient(client);
            ::close(client);
        }
    }
}

void ScriptedProvider::serveClient(int client) {
    std::string request;
    bool isAnswered = false;
    while (!m_isStopping) {
        if (!isReadable(client)) {
            continue;
        }
        char bytes[16384];
        const auto count = ::recv(client, bytes, sizeof bytes, 0);
        if (count <= 0) {
            return;
        }
        request.append(bytes, static_cast<std::size_t>(count));
        if (isAnswered || !isWhole(request)) {
            continue;
        }
        isAnswered = true;
        const std::lock_guard lock(m_mutex);
        const std::string path = pathIn(request);
        m_requests[path].push_back(request);
        if (const auto found = m_answers.find(path); found != m_answers.end()) {
            ::send(client, found->second.data(), found->second.size(), MSG_NOSIGNAL);
            ::shutdown(client, SHUT_WR);
        }
    }
}

} // namespace lumivane::service::test
