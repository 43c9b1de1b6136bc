#include "platform/linux/SessionInstance.h"

#include "async/Completion.h"
#include "platform/linux/ApplicationObject.h"
#include "platform/linux/InstanceRequest.h"
#include "platform/linux/InstanceSocket.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>

#include <poll.h>

#include <algorithm>
#include <array>
#include <utility>

namespace lumivane {

namespace {

using std::chrono::milliseconds;

/// The bus itself answers at once or hangs.
constexpr milliseconds busLimit{500};
/// Between two looks for an instance that is about to come up.
constexpr milliseconds lookInterval{10};

constexpr uint doNotQueue = 4; // and without the flag that allows a replacement
constexpr uint primaryOwner = 1;
constexpr uint alreadyOwner = 4;

QString publicName() { return u"com.marnoth.Lumivane"_qs; }

QString sessionName(const InstancePlace& place) {
    return publicName() + u".Session_"_qs + place.name();
}

QDBusMessage callOfBus(const QString& method, const QVariantList& arguments) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                                       u"org.freedesktop.DBus"_qs, method);
    call.setArguments(arguments);
    return call;
}

QDBusMessage releaseCall(const QString& name) { return callOfBus(u"ReleaseName"_qs, {name}); }

/// Ends when the bus has answered, whatever it said.
QCoro::Task<void> answered(QDBusPendingCall call, std::stop_token stop) {
    Completion<void> answer;
    QDBusPendingCallWatcher watcher(call);
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher,
                     [answer] { answer.resolve(); });
    if (call.isFinished()) {
        answer.resolve();
    }
    co_await answer.wait(stop);
}

} // namespace

SessionInstance::SessionInstance(InstancePlace place, QDBusConnection bus, Clock& clock,
                                 milliseconds patience)
    : m_place(std::move(place))
    , m_bus(std::move(bus))
    , m_clock(clock)
    , m_patience(patience)
    , m_lock(m_place) {}

SessionInstance::~SessionInstance() { release(); }

ApplicationInstance::Claim SessionInstance::claim() {
    if (m_isOurs) {
        return Claim::granted;
    }
    return m_lock.take() == InstanceLock::Outcome::taken ? Claim::taken : standUnderLock();
}

ApplicationInstance::Claim SessionInstance::claimWhenFree() {
    const MonotonicInstant deadline = m_clock.now() + m_patience;
    Claim outcome = claim();
    while (outcome == Claim::taken && m_clock.now() < deadline) {
        ::poll(nullptr, 0, int(lookInterval.count()));
        outcome = claim();
    }
    return outcome;
}

ApplicationInstance::Claim SessionInstance::adopt(OwnedDescriptor lock) {
    return m_lock.adopt(std::move(lock)) ? standUnderLock() : claim();
}

ApplicationInstance::Claim SessionInstance::standUnderLock() {
    if (m_bus.isConnected()) {
        exportObject();
        const BusAnswer answer = requestName(sessionName(m_place));
        if (answer == BusAnswer::taken) {
            withdraw();
            m_lock.drop();
            return Claim::taken;
        }
        if (answer == BusAnswer::ours) {
            requestName(publicName());
        }
    }
    listen();
    m_isOurs = true;
    return Claim::granted;
}

void SessionInstance::exportObject() {
    m_object =
        std::make_unique<ApplicationObject>([this](const QStringList& urls) { deliver(urls); });
    m_bus.registerVirtualObject(ApplicationObject::path(), m_object.get());
}

void SessionInstance::listen() {
    if (!m_lock.isOurs()) {
        return; // the socket of a place without a lock could be anybody's
    }
    m_socket = std::make_unique<InstanceSocket>(m_clock,
                                                [this](const QStringList& urls) { deliver(urls); });
    m_socket->listen(m_lock.folder(), socketName());
}

/// Nothing reaches this instance from now on.
void SessionInstance::withdraw() {
    if (m_object) {
        m_bus.unregisterObject(ApplicationObject::path());
    }
    m_object.reset();
    m_socket.reset();
    m_isOurs = false;
}

void SessionInstance::release() {
    const bool hadNames = m_object != nullptr && m_bus.isConnected();
    withdraw();
    if (hadNames) {
        // Waited for, so that whoever claims next finds them free.
        m_bus.asyncCall(releaseCall(publicName()));
        m_bus.call(releaseCall(sessionName(m_place)), QDBus::Block, int(busLimit.count()));
    }
    m_lock.drop();
}

QCoro::Task<void> SessionInstance::stepAside(std::stop_token stop) {
    const bool hadNames = m_object != nullptr && m_bus.isConnected();
    withdraw();
    if (hadNames) {
        const QString session = sessionName(m_place);
        QDBusPendingCall first = m_bus.asyncCall(releaseCall(publicName()), int(busLimit.count()));
        QDBusPendingCall second = m_bus.asyncCall(releaseCall(session), int(busLimit.count()));
        co_await answered(first, stop);
        co_await answered(second, stop);
    }
}

void SessionInstance::stepBack() {
    if (m_bus.isConnected()) {
        exportObject();
        // Not waited for: the lock is ours, whatever the bus says.
        for (const QString& name : {sessionName(m_place), publicName()}) {
            m_bus.asyncCall(callOfBus(u"RequestName"_qs, {name, doNotQueue}));
        }
    }
    listen();
    m_isOurs = true;
}

SessionInstance::BusAnswer SessionInstance::requestName(const QString& name) const {
    const QDBusMessage answer = m_bus.call(callOfBus(u"RequestName"_qs, {name, doNotQueue}),
                                           QDBus::Block, int(busLimit.count()));
    if (answer.type() != QDBusMessage::ReplyMessage) {
        return BusAnswer::unreachable;
    }
    const uint result = answer.arguments().value(0).toUInt();
    return result == primaryOwner || result == alreadyOwner ? BusAnswer::ours : BusAnswer::taken;
}

bool SessionInstance::activateOther(const QStringList& urls) {
    const auto request = InstanceRequest::encode(urls);
    if (!request) {
        return false;
    }
    const MonotonicInstant deadline = m_clock.now() + m_patience;
    InstanceAnswer answer = InstanceAnswer::absent;
    while (answer == InstanceAnswer::absent && m_clock.now() < deadline) {
        answer = knock(m_lock.folder(), socketName(), *request, m_clock, deadline);
        if (answer == InstanceAnswer::absent) {
            answer = askOverBus(urls, deadline);
        }
        if (answer == InstanceAnswer::absent) {
            ::poll(nullptr, 0, int(lookInterval.count()));
        }
    }
    return answer == InstanceAnswer::accepted;
}

InstanceAnswer SessionInstance::askOverBus(const QStringList& urls,
                                           MonotonicInstant deadline) const {
    if (!m_bus.isConnected()) {
        return InstanceAnswer::absent;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        sessionName(m_place), ApplicationObject::path(), ApplicationObject::interfaceName(),
        urls.isEmpty() ? u"Activate"_qs : u"Open"_qs);
    call.setAutoStartService(false);
    if (!urls.isEmpty()) {
        call << urls;
    }
    call << QVariantMap();
    const auto left = std::chrono::ceil<milliseconds>(deadline - m_clock.now());
    const QDBusMessage answer =
        m_bus.call(call, QDBus::Block, int(std::max(left, milliseconds(1)).count()));
    if (answer.type() == QDBusMessage::ReplyMessage) {
        return InstanceAnswer::accepted;
    }
    const QString error = answer.errorName();
    if (error == u"org.freedesktop.DBus.Error.ServiceUnknown"_qs ||
        error == u"org.freedesktop.DBus.Error.NameHasNoOwner"_qs) {
        return InstanceAnswer::absent;
    }
    // An instance that hands its place over takes its object away before its name.
    if (error == u"org.freedesktop.DBus.Error.UnknownObject"_qs) {
        return InstanceAnswer::absent;
    }
    if (error == u"org.freedesktop.DBus.Error.NoReply"_qs) {
        // The bus says so at once, too, for one that has ended in the middle.
        return m_clock.now() < deadline ? InstanceAnswer::absent : InstanceAnswer::silent;
    }
    return InstanceAnswer::refused;
}

void SessionInstance::deliver(const QStringList& urls) {
    if (!urls.isEmpty() && onOpen) {
        onOpen(urls);
    } else if (urls.isEmpty() && onActivate) {
        onActivate();
    }
}

QString SessionInstance::socketName() const {
    return u"lumivane-"_qs + m_place.name() + u".socket"_qs;
}

} // namespace lumivane
