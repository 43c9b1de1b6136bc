#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::bench {

/// The service as a process of its own on a free port, with a data folder of its own and no limit
/// on how often a client may ask. It ends with the object.
class MeasuredService {
public:
    /// `settings` are further variables, "NAME=value".
    explicit MeasuredService(std::vector<std::string> settings = {});
    ~MeasuredService();
    MeasuredService(const MeasuredService&) = delete;
    MeasuredService& operator=(const MeasuredService&) = delete;

    /// 0 when it did not start.
    int port() const { return m_port; }

    /// The path of its database, unless the settings name another one.
    std::string database() const { return m_folder + "/service.sqlite3"; }

    /// Resident memory in KiB.
    long memory() const;

private:
    std::string m_folder;
    pid_t m_process = -1;
    int m_port = 0;
};

struct LoadAnswer {
    int status = 0; ///< 0 when the connection ended before the answer did
    std::string body;
};

/// A blocking, kept connection.
class LoadConnection {
public:
    explicit LoadConnection(int port);
    ~LoadConnection();
    LoadConnection(const LoadConnection&) = delete;
    LoadConnection& operator=(const LoadConnection&) = delete;

    bool send(std::string_view request) const;
    LoadAnswer read();

    LoadAnswer ask(std::string_view request) { return send(request) ? read() : LoadAnswer{}; }

private:
    int m_socket;
    bool m_isGood = false;
    std::string m_buffer;
};

/// The bytes of a request; an empty token or body is left out.
std::string requestBytes(std::string_view method, std::string_view path, std::string_view token,
                         std::string_view body = {});

/// POST /v1/analyze with 8 KB of text.
std::string analysisBytes(std::string_view token);

/// The text under a key of a flat answer.
std::string textUnder(std::string_view key, std::string_view body);

/// A random UUID in lower case.
std::string makeOperation();

/// What came of many requests.
struct LoadResult {
    std::vector<double> times; ///< milliseconds, sorted
    long failures = 0;

    double percentile(double share) const;
    void print(const char* name) const;
};

/// Makes the request of a turn and judges the answer. A turn stays on its connection, so that state
/// of connection `index` needs no lock.
struct LoadScript {
    std::function<std::string(int index, long turn)> request;
    std::function<bool(int index, const LoadAnswer& answer)> accept;
};

/// Asks `rate` times a second over `connections` kept connections. Each time is taken from when the
/// request was due, so a stall counts for all that it held up.
LoadResult askSteadily(int port, const LoadScript& script, int rate, int connections,
                       std::chrono::seconds duration);

/// A script of one request that is to be answered with 200.
LoadScript always(std::string request);

} // namespace lumivane::bench
