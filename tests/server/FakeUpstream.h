#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace lumivane::service::test {

/// A model server on a free loopback port that answers with prepared bytes, one connection after
/// the other.
class FakeUpstream {
public:
    FakeUpstream();
    ~FakeUpstream();

    /// The bytes of the next answers, in order. An empty text keeps the client waiting; the last
    /// one is given again and again.
    void answerWith(std::vector<std::string> answers);

    std::string baseUrl() const;

    std::uint16_t port() const { return m_port; }

    /// All requests so far, header and body.
    std::vector<std::string> requests();

    /// Whether the first bytes get an answer, and not only a whole request.
    std::atomic<bool> answersAnyBytes = false;

    /// Whether the connection stays open behind an answer.
    std::atomic<bool> keepsOpen = false;

    /// How many clients left before they had an answer.
    std::atomic<int> abandoned = 0;

private:
    void serve();
    void serveClient(int client);
    std::string nextAnswer();

    int m_listener;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_isStopping = false;
    std::mutex m_mutex;
    std::vector<std::string> m_answers;
    std::vector<std::string> m_requests;
    std::thread m_thread;
};

/// A whole HTTP answer.
std::string httpAnswer(int status, const std::string& body);

/// A 200 whose completion carries `text`.
std::string completionAnswer(const std::string& text);

} // namespace lumivane::service::test
