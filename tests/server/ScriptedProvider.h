#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace lumivane::service::test {

/// A login provider's own server on a free loopback port: it answers each path with prepared
/// bytes, one connection after the other, and keeps what it was asked.
class ScriptedProvider {
public:
    ScriptedProvider();
    ~ScriptedProvider();

    /// What a path answers from now on; a path that nothing is set for keeps its client waiting.
    void answer(const std::string& path, int status, const std::string& body);

    /// The last whole request to a path, header and body; empty when there was none.
    std::string requestTo(const std::string& path);

    int countOf(const std::string& path);

    std::string url(const std::string& path) const;

private:
    void serve();
    void serveClient(int client);

    int m_listener;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_isStopping = false;
    std::mutex m_mutex;
    std::map<std::string, std::string> m_answers;
    std::map<std::string, std::vector<std::string>> m_requests;
    std::thread m_thread;
};

} // namespace lumivane::service::test
