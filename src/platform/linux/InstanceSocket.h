#pragma once

#include "async/Clock.h"

#include <QLocalServer>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>

class QLocalSocket;

namespace lumivane {

/// Where an instance hears others that start in its session. Main thread.
///
/// It takes requests of the same user only. Whoever is slow, talks nonsense or comes in a crowd is
/// turned away.
class InstanceSocket final : public QObject {
public:
    using Handler = std::function<void(QStringList urls)>;

    /// `onRequest` hears of each request in a later turn, and may destroy the socket; no address
    /// asks to come forward. `clock` outlives the socket.
    InstanceSocket(Clock& clock, Handler onRequest);
    ~InstanceSocket() override;

    /// Stands for `name` in the folder from now on; nobody else does, for the caller holds the
    /// lock. Takes the place of what an earlier instance left there. False when it could not.
    bool listen(int folder, const QString& name);

private:
    void accept();
    void read(QLocalSocket& visitor);
    void answer(QLocalSocket& visitor, char answer);

    Clock& m_clock;
    Handler m_onRequest;
    QLocalServer m_server;
    std::map<QLocalSocket*, std::unique_ptr<ClockTimer>> m_visitors; ///< and how long they may stay
};

/// How a knock at another instance's socket ended.
enum class InstanceAnswer {
    accepted,
    refused,
    absent, ///< nobody is there, or somebody else's
    silent  ///< the instance is there but did not answer in time
};

/// Asks the instance behind the socket to open `request`'s addresses. Blocks until `deadline`.
InstanceAnswer knock(int folder, const QString& name, const QByteArray& request, const Clock& clock,
                     MonotonicInstant deadline);

} // namespace lumivane
