#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace lumivane::service::test {

/// Somebody else's server, as a login provider's or a model's, on a free loopback port: it answers
/// with prepared bytes, one connection after the other, and keeps what it was asked.
class ScriptedServer {
public:
    ScriptedServer();
    ~ScriptedServer();

    /// What a path answers from now on. Such a path takes nothing from the answers in order.
    void answer(const std::string& path, int status, const std::string& body);

    /// The bytes of the next answers on all other paths, in order. An empty text keeps the client
    /// waiting, as no answer at all does; the last one is given again and again.
    void answerWith(std::vector<std::string> answers);

    std::string url(const std::string& path = "") const;

    std::uint16_t port() const { return m_port; }

    /// All requests so far, header and body.
    std::vector<std::string> requests();

    /// The last of them to a path; empty when there was none.
    std::string requestTo(const std::string& path);

    int countOf(const std::string& path);

    /// Whether the first bytes get an answer, and not only a whole request.
    std::atomic<bool> answersAnyBytes = false;

    /// Whether the connection stays open behind an answer.
    std::atomic<bool> keepsOpen = false;

    /// How many clients left before they had an answer.
    std::atomic<int> abandoned = 0;

private:
    void serve();
    void serveClient(int client);
    std::string take(const std::string& request);

    int m_listener;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_isStopping = false;
    std::mutex m_mutex;
    std::map<std::string, std::string> m_answersOfPaths;
    std::vector<std::string> m_answers;
    std::vector<std::string> m_requests;
    std::thread m_thread;
};

/// A whole HTTP answer.
std::string httpAnswer(int status, const std::string& body);

} // namespace lumivane::service::test
