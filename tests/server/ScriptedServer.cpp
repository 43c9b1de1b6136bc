#include "server/ScriptedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
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

ScriptedServer::ScriptedServer()
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

ScriptedServer::~ScriptedServer() {
    m_isStopping = true;
    m_thread.join();
    ::close(m_listener);
}

void ScriptedServer::answer(const std::string& path, int status, const std::string& body) {
    const std::lock_guard lock(m_mutex);
    m_answersOfPaths[path] = httpAnswer(status, body);
}

void ScriptedServer::answerWith(std::vector<std::string> answers) {
    const std::lock_guard lock(m_mutex);
    m_answers = std::move(answers);
}

std::string ScriptedServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

std::vector<std::string> ScriptedServer::requests() {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

std::string ScriptedServer::requestTo(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    const auto last =
        std::find_if(m_requests.rbegin(), m_requests.rend(),
                     [&path](const std::string& request) { return pathIn(request) == path; });
    return last == m_requests.rend() ? std::string() : *last;
}

int ScriptedServer::countOf(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(
        std::count_if(m_requests.begin(), m_requests.end(),
                      [&path](const std::string& request) { return pathIn(request) == path; }));
}

void ScriptedServer::serve() {
    while (!m_isStopping) {
        if (isReadable(m_listener)) {
            const int client = ::accept(m_listener, nullptr, nullptr);
            serveClient(client);
            ::close(client);
        }
    }
}

// Writes the request down: the bytes to answer it with, or none.
std::string ScriptedServer::take(const std::string& request) {
    const std::lock_guard lock(m_mutex);
    m_requests.push_back(request);
    if (const auto found = m_answersOfPaths.find(pathIn(request));
        found != m_answersOfPaths.end()) {
        return found->second;
    }
    std::string answer = m_answers.empty() ? std::string() : m_answers.front();
    if (m_answers.size() > 1) {
        m_answers.erase(m_answers.begin());
    }
    return answer;
}

void ScriptedServer::serveClient(int client) {
    std::string request;
    bool isTaken = false;
    bool isAnswered = false;
    while (!m_isStopping) {
        if (!isReadable(client)) {
            continue;
        }
        char bytes[16384];
        const auto count = ::recv(client, bytes, sizeof bytes, 0);
        if (count <= 0) {
            abandoned += isAnswered ? 0 : 1;
            return;
        }
        request.append(bytes, static_cast<std::size_t>(count));
        if (isTaken || !(answersAnyBytes || isWhole(request))) {
            continue;
        }
        isTaken = true;
        if (const std::string answer = take(request); !answer.empty()) {
            ::send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
            if (!keepsOpen) {
                ::shutdown(client, SHUT_WR);
            }
            isAnswered = true;
        }
    }
}

std::string httpAnswer(int status, const std::string& body) {
    return "HTTP/1.1 " + std::to_string(status) +
           " Text\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

} // namespace lumivane::service::test
