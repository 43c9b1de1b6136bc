#pragma once

#include <QByteArray>
#include <QObject>

#include <memory>

namespace lumivane::test {

/// A session manager for one program at a time, over the protocol's own library. Its event loop is
/// the test's.
class SessionManager final : public QObject {
public:
    SessionManager();
    ~SessionManager() override;

    /// The value of SESSION_MANAGER for programs of this session.
    const QByteArray& address() const { return m_address; }

    /// The program has said who it is, and has answered the first request to save itself.
    bool hasClient() const { return saves > 0; }

    /// Asks the program to save itself since the session is about to end.
    void announceEnd();

    /// Somebody has cancelled the end.
    void cancelEnd();

    /// Tells the program to go.
    void tellToGo();

    /// Goes itself, without a word.
    void vanish();

    int saves = 0;     ///< requests that the program has met
    int dialogs = 0;   ///< that it asked for, which delay or cancel a logout
    int farewells = 0; ///< times it closed the connection in good order
    int restartHint = -1;

    static constexpr int restartNever = 3;

private:
    struct Line;

    void listen();
    void accept(int listener);

    QByteArray m_address;
    std::unique_ptr<Line> m_line; ///< keeps the library's macros out of this header
};

} // namespace lumivane::test
