#pragma once

#include <QObject>

#include <functional>

namespace lumivane {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread. One per process.
class TerminationSignals final : public QObject {
public:
    /// Keeps the signals from ending the process. Called before any other thread starts, since
    /// threads inherit the mask of the one that starts them.
    static void block();

    /// `block` has been called, and the application object exists.
    explicit TerminationSignals(std::function<void()> onTerminate);
    ~TerminationSignals() override;

private:
    std::function<void()> m_onTerminate;
    int m_descriptor = -1;
};

} // namespace lumivane
