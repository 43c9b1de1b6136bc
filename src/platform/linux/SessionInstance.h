#pragma once

#include "async/Clock.h"
#include "platform/ApplicationInstance.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/InstancePlace.h"
#include "platform/linux/InstanceSocket.h"

#include <QDBusConnection>
#include <qcoro/qcorotask.h>

#include <chrono>
#include <memory>
#include <stop_token>

namespace lumivane {

class ApplicationObject;

/// The place in a session: a lock file, a socket beside it, and two names on the session bus where
/// there is one. Main thread.
///
/// A claim takes them in this order, and whoever loses the first or the third gives back what it
/// had:
///
/// 1. the lock file, which settles it between all instances that see the same folder, with a bus or
///    without one;
/// 2. the object `org.freedesktop.Application`, so that nobody finds a name without it;
/// 3. the name `com.marnoth.Lumivane.Session_<name of the session>`, which settles it between
///    instances that share a bus and do not see the same folder;
/// 4. the name `com.marnoth.Lumivane`, by which the desktop reaches the program. Another session's
///    instance may have it where two sessions share a bus; that is no obstacle;
/// 5. the socket, on which a second start hands over what it was asked for.
///
/// A bus that goes away takes the names with it and nothing else. A claim never fails: where there
/// is neither a folder nor a bus, it is granted.
class SessionInstance final : public ApplicationInstance {
public:
    /// How long `activateOther` and `claimWhenFree` wait for the other instance.
    static constexpr std::chrono::milliseconds defaultPatience{1500};

    /// `bus` may be unconnected; whoever makes it has seen that the bus answers. `clock` outlives
    /// the instance.
    SessionInstance(InstancePlace place, QDBusConnection bus, Clock& clock,
                    std::chrono::milliseconds patience = defaultPatience);
    ~SessionInstance() override;

    /// Blocks for two exchanges with the bus at most, less than a millisecond as a rule.
    Claim claim() override;

    /// The same, but blocks for the patience at most while the place is taken: the other instance
    /// may be on its way out, and is left alone.
    Claim claimWhenFree();

    void release() override;

    /// After a claim has said `taken`. Blocks for the patience at most. False for addresses beyond
    /// the limits of InstanceRequest, too. An instance that is about to come up, or to hand its
    /// place over, is waited for.
    bool activateOther(const QStringList& urls) override;

    /// First half of handing the place to another process: nothing reaches this instance any more,
    /// but the lock is still its own, and so the place is not free for a moment.
    QCoro::Task<void> stepAside(std::stop_token stop);

    /// The lock, to send to that process; -1 where there is none, and then the other process claims
    /// the place by the bus alone.
    int lockDescriptor() const { return m_lock.descriptor(); }

    /// Second half: the other process has the place.
    void leave() { m_lock.drop(); }

    /// Instead of the second half: the place is this process's as before. The other process, which
    /// may share the lock, has ended.
    void stepBack();

    /// The receiving side: takes the place whose lock another process sent; -1 where it had none.
    Claim adopt(OwnedDescriptor lock);

private:
    enum class BusAnswer { ours, taken, unreachable };

    Claim standUnderLock();
    void listen();
    void exportObject();
    void withdraw();
    BusAnswer requestName(const QString& name) const;
    InstanceAnswer askOverBus(const QStringList& urls, MonotonicInstant deadline) const;
    void deliver(const QStringList& urls);
    QString socketName() const;

    InstancePlace m_place;
    QDBusConnection m_bus;
    Clock& m_clock;
    std::chrono::milliseconds m_patience;
    InstanceLock m_lock;
    std::unique_ptr<ApplicationObject> m_object;
    std::unique_ptr<InstanceSocket> m_socket;
    bool m_isOurs = false;
};

} // namespace lumivane
