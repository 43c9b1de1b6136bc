#pragma once

#include <QByteArray>
#include <QObject>

#include <memory>

namespace lumivane {

/// Whether windows of this desktop can be see-through: only while a compositor runs.
///
/// Looks over a connection of its own. A server that is not there or goes away never ends the
/// process: it counts as one without a compositor. Main thread; needs a running event loop to
/// notice changes.
class CompositorWatch final : public QObject {
    Q_OBJECT

public:
    /// Connects to `displayName`, as in ":1"; an empty name stands for the environment's DISPLAY.
    explicit CompositorWatch(const QByteArray& displayName = {});
    ~CompositorWatch() override;

    bool isRunning() const { return m_isRunning; }

Q_SIGNALS:
    /// `isRunning` differs from before.
    void changed();

private:
    class Connection;

    void drain();
    void update(bool isRunning);

    std::unique_ptr<Connection> m_connection; ///< absent without a server
    bool m_isRunning = false;
};

} // namespace lumivane
