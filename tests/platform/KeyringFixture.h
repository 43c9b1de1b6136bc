#pragma once

#include "async/SystemClock.h"
#include "platform/linux/SecretServiceItemStore.h"
#include "support/EventLoop.h"
#include "support/KeyringDaemon.h"
#include "support/Outcome.h"
#include "support/PrivateBus.h"

#include <QByteArray>
#include <QThreadPool>

#include <memory>
#include <optional>

namespace lumivane::test {

/// Lets this process take a bus for the one of its session while this lives.
class SessionBus {
public:
    explicit SessionBus(const QByteArray& address)
        : m_before(qgetenv(variable)) {
        qputenv(variable, address);
    }

    ~SessionBus() { qputenv(variable, m_before); }

    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

private:
    static constexpr const char* variable = "DBUS_SESSION_BUS_ADDRESS";
    QByteArray m_before;
};

} // namespace lumivane::test
