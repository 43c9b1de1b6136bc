#pragma once

#include "support/PrivateBus.h"

#include <memory>

namespace lumivane::test {

/// A session bus with an accessibility bus beside it, as a desktop with assistive technology has
/// them. Both end with their object.
class AccessibilityBus {
public:
    AccessibilityBus();

    /// Beside a session bus that outlives it.
    explicit AccessibilityBus(PrivateBus& session);
    ~AccessibilityBus();

    PrivateBus& session() { return m_session; }

    const QString& address() const { return m_address; }

    /// The daemon of the accessibility bus itself.
    std::int64_t processID() const { return m_processID; }

    /// The surroundings of a program that shows itself to assistive technology on `displayName`,
    /// whether or not the desktop has said that some is there.
    QProcessEnvironment environment(const QByteArray& displayName) const;

    /// As above, but it shows itself only once the desktop says so.
    QProcessEnvironment reservedEnvironment(const QByteArray& displayName) const;

    /// What the desktop says of assistive technology.
    void setEnabled(bool isEnabled);

private:
    void start();

    std::unique_ptr<PrivateBus> m_own; ///< where no other is given
    PrivateBus& m_session;
    QProcess m_launcher;
    QString m_address;
    std::int64_t m_processID = 0;
};

} // namespace lumivane::test
