#include "server/TestClient.h"

#include <arpa/inet.h>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace lumivane::service::test {

namespace {

SendEnd sendEndOf(int error) {
    if (error == EPIPE || error == ECONNRESET) {
        return SendEnd::refused;
    }
    if (error == EAGAIN) {
        return SendEnd::timedOut;
    }
    throw std::system_error(error, std::generic_category(), "send");
}

} // namespace

std::string TestResponse::errorCode() const {
    boost::json::error_code error;
    const auto value = boost::json::parse(body, error);
    if (error || !value.is_object() || value.get_object().size() != 1) {
        return {};
    }
    const auto* detail = value.get_object().if_contains("error");
    if (detail == nullptr || !detail->is_object() || detail->get_object().size() != 3) {
        return {};
    }
    const auto& record = detail->get_object();
    const bool isWhole = record.contains("message") && record.contains("request_id") &&
                         headers.count("x-request-id") == 1 &&
                         record.at("request_id").as_string() == headers.at("x-request-id");
    return isWhole ? std::string(record.at("code").as_string()) : std::string();
}

TestClient::TestClient(std::uint16_t port)
    : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{10, 0};
    ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    if (::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(m_socket);
        throw std::runtime_error("no connection");
    }
}

TestClient::~TestClient() { close(); }

SendEnd TestClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return sendEndOf(errno);
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return SendEnd::sent;
}

void TestClient::endSending() { ::shutdown(m_socket, SHUT_WR); }

void TestClient::close() {
    if (m_socket >= 0) {
        ::close(m_socket);
        m_socket = -1;
    }
}

bool TestClient::fill() {
    char bytes[16384];
    const auto count = ::recv(m_socket, bytes, sizeof bytes, 0);
    if (count <= 0) {
        return false;
    }
    m_buffer.append(bytes, static_cast<std::size_t>(count));
    return true;
}

TestResponse TestClient::read(bool hasBody) {
    TestResponse response;
    std::size_t end = 0;
    while ((end = m_buffer.find("\r\n\r\n")) == std::string::npos) {
        if (!fill()) {
            return response;
        }
    }
    std::string head = m_buffer.substr(0, end + 2);
    m_buffer.erase(0, end + 4);
    const int status = std::atoi(head.substr(9, 3).c_str());
    std::size_t line = head.find("\r\n") + 2;
    while (line < head.size()) {
        const std::size_t stop = head.find("\r\n", line);
        const std::size_t colon = head.find(':', line);
        const std::string name = head.substr(line, colon - line);
        std::string& value = response.headers[boost::algorithm::to_lower_copy(name)];
        value += value.empty() ? "" : ", ";
        value += boost::algorithm::trim_copy(head.substr(colon + 1, stop - colon - 1));
        line = stop + 2;
    }
    const auto announced = response.headers.find("content-length");
    const bool hasLength = hasBody && announced != response.headers.end();
    const auto length =
        hasLength ? static_cast<std::size_t>(std::atoi(announced->second.c_str())) : 0;
    while (m_buffer.size() < length) {
        if (!fill()) {
            return response;
        }
    }
    response.body = m_buffer.substr(0, length);
    m_buffer.erase(0, length);
    response.status = status;
    return response;
}

bool TestClient::readsEnd() {
    char byte = 0;
    return m_buffer.empty() && ::recv(m_socket, &byte, 1, 0) == 0;
}

} // namespace lumivane::service::test
