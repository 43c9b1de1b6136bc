#include "server/FakeUpstream.h"

#include <arpa/inet.h>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
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
    const auto field = request.find("Content-Length: ");
    return end != std::string::npos && field != std::string::npos &&
           request.size() >= end + 4 + std::strtoul(request.c_str() + field + 16, nullptr, 10);
}

} // namespace

FakeUpstream::FakeUpstream()
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

FakeUpstream::~FakeUpstream() {
    m_isStopping = true;
    m_thread.join();
    ::close(m_listener);
}

void FakeUpstream::answerWith(std::vector<std::string> answers) {
    const std::lock_guard lock(m_mutex);
    m_answers = std::move(answers);
}

std::string FakeUpstream::baseUrl() const { return "http://127.0.0.1:" + std::to_string(m_port); }

std::vector<std::string> FakeUpstream::requests() {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

void FakeUpstream::serve() {
    while (!m_isStopping) {
        if (isReadable(m_listener)) {
            const int client = ::accept(m_listener, nullptr, nullptr);
            serveClient(client);
            ::close(client);
        }
    }
}

std::string FakeUpstream::nextAnswer() {
    const std::lock_guard lock(m_mutex);
    std::string answer = m_answers.empty() ? std::string() : m_answers.front();
    if (m_answers.size() > 1) {
        m_answers.erase(m_answers.begin());
    }
    return answer;
}

void FakeUpstream::serveClient(int client) {
    std::string request;
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
        if (isAnswered || !(answersAnyBytes || isWhole(request))) {
            continue;
        }
        {
            const std::lock_guard lock(m_mutex);
            m_requests.push_back(request);
        }
        const std::string answer = nextAnswer();
        if (!answer.empty()) {
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

std::string completionAnswer(const std::string& text) {
    boost::json::object message;
    message["content"] = text;
    boost::json::object choice;
    choice["message"] = std::move(message);
    boost::json::object body;
    body["choices"] = boost::json::array{std::move(choice)};
    return httpAnswer(200, boost::json::serialize(body));
}

} // namespace lumivane::service::test
