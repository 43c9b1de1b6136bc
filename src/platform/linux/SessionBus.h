#pragma once

#include <QDBusConnection>

#include <functional>
#include <memory>

namespace lumivane {

/// Connects to the session bus beside the main thread: the toolkit waits for the bus to answer, and
/// a bus that hangs would keep the program from starting. Made and destroyed on the main thread.
class SessionBus {
public:
    /// `onConnected` is called once on the main thread, with a connection that may have failed. It
    /// is not called once this has gone, nor by a bus that never answers.
    explicit SessionBus(std::function<void(const QDBusConnection&)> onConnected);
    ~SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// The bus has not answered yet. The toolkit then waits for it once more when the process ends
    /// in the usual way.
    bool isWaiting() const;

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace lumivane
