#pragma once

#include <QObject>

#include <functional>

namespace lumivane {

/// Turns SIGTERM, SIGINT and SIGHUP into calls on the main thread. One per process.
///
/// Before there is one, the signals end the process on the spot, so a start that waits for somebody
/// who hangs can be ended. From then on they are noted by a handler, whichever thread the system
/// gives them to, and nothing depends on what the threads of the libraries keep from themselves.
class TerminationSignals final : public QObject {
public:
    /// Lets the signals through to this process, should whoever started it have held them back.
    /// Called before any other thread starts, since threads inherit that.
    static void unblock();

    /// The application object exists. Signals that come together may be one call. Throws
    /// std::system_error.
    explicit TerminationSignals(std::function<void()> onTerminate);

    /// From now on the signals are without effect, so that a second one does not cut an end in good
    /// order short.
    ~TerminationSignals() override;

private:
    std::function<void()> m_onTerminate;
};

} // namespace lumivane
