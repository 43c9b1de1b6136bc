#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace lumivane::service::test {

/// An answer as it came over the wire.
struct TestResponse {
    int status = 0;                             ///< 0 when the connection ended before an answer
    std::map<std::string, std::string> headers; ///< names in lower case, repeated ones joined
    std::string body;

    /// The "code" of an error envelope whose three keys are right, else an empty text.
    std::string errorCode() const;
};

/// How a send ended: all is sent, the other side has closed, or it took nothing for ten seconds.
enum class SendEnd { sent, refused, timedOut };

/// A blocking socket to a loopback port that sends exactly what it is told. No wait is longer
/// than ten seconds.
class TestClient {
public:
    explicit TestClient(std::uint16_t port);
    ~TestClient();
    TestClient(const TestClient&) = delete;
    TestClient& operator=(const TestClient&) = delete;

    /// Throws for every other failure.
    SendEnd send(std::string_view bytes);
    void endSending();
    void close();

    /// The next whole answer. `hasBody` is false after HEAD.
    TestResponse read(bool hasBody = true);

    /// Whether the other side has closed and nothing is left to read.
    bool readsEnd();

    TestResponse ask(std::string_view bytes) {
        send(bytes);
        return read();
    }

private:
    bool fill();

    int m_socket;
    std::string m_buffer;
};

} // namespace lumivane::service::test
