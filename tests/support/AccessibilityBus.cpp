#include "support/AccessibilityBus.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QFile>

#include <stdexcept>

namespace lumivane::test {

namespace {

std::int64_t onlyChild(std::int64_t processID) {
    QFile file(u"/proc/%1/task/%1/children"_qs.arg(processID));
    file.open(QIODevice::ReadOnly);
    return file.readAll().trimmed().toLongLong();
}

} // namespace

AccessibilityBus::AccessibilityBus()
    : m_own(std::make_unique<PrivateBus>())
    , m_session(*m_own) {
    start();
}

AccessibilityBus::AccessibilityBus(PrivateBus& session)
    : m_session(session) {
    start();
}

void AccessibilityBus::start() {
    auto environment = m_session.environment();
    environment.insert(u"GSETTINGS_BACKEND"_qs, u"memory"_qs); // no daemon here keeps settings
    m_launcher.setProcessEnvironment(environment);
    m_launcher.setStandardOutputFile(QProcess::nullDevice());
    m_launcher.setStandardErrorFile(QProcess::nullDevice());
    startInOwnGroup(m_launcher, u"/usr/libexec/at-spi-bus-launcher"_qs,
                    {u"--launch-immediately"_qs});
    const auto bus = m_session.connect();
    const auto question = QDBusMessage::createMethodCall(u"org.a11y.Bus"_qs, u"/org/a11y/bus"_qs,
                                                         u"org.a11y.Bus"_qs, u"GetAddress"_qs);
    const bool isUp = waitUntil([&] {
        m_address = QDBusReply<QString>(bus.call(question)).value();
        return !m_address.isEmpty();
    });
    m_processID = onlyChild(m_launcher.processId());
    if (!isUp || m_processID == 0) {
        endGroup(m_launcher);
        throw std::runtime_error("the accessibility bus did not come up");
    }
}

AccessibilityBus::~AccessibilityBus() { endGroup(m_launcher); }

QProcessEnvironment AccessibilityBus::environment(const QByteArray& displayName) const {
    auto environment = reservedEnvironment(displayName);
    environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_qs, u"1"_qs);
    return environment;
}

QProcessEnvironment AccessibilityBus::reservedEnvironment(const QByteArray& displayName) const {
    auto environment = m_session.environment();
    environment.insert(u"DISPLAY"_qs, QString::fromLatin1(displayName));
    environment.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
    environment.remove(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_qs);
    return environment;
}

void AccessibilityBus::setEnabled(bool isEnabled) {
    auto request = QDBusMessage::createMethodCall(u"org.a11y.Bus"_qs, u"/org/a11y/bus"_qs,
                                                  u"org.freedesktop.DBus.Properties"_qs, u"Set"_qs);
    request << u"org.a11y.Status"_qs << u"IsEnabled"_qs
            << QVariant::fromValue(QDBusVariant(isEnabled));
    if (m_session.connect().call(request).type() != QDBusMessage::ReplyMessage) {
        throw std::runtime_error("the accessibility bus took no setting");
    }
}

} // namespace lumivane::test
