#include "support/NotificationDesktop.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamReader>

#include <signal.h>

#include <stdexcept>

namespace lumivane {

namespace {

const auto serviceName = u"org.freedesktop.Notifications"_qs;
const auto servicePath = u"/org/freedesktop/Notifications"_qs;

QString withoutMarkup(const QString& body) {
    QXmlStreamReader reader(u"<body>"_qs + body + u"</body>"_qs);
    reader.readNextStartElement();
    const QString text = reader.readElementText(QXmlStreamReader::IncludeChildElements);
    return reader.hasError() ? u"not well formed: "_qs + body : text;
}

} // namespace

bool waitUntilServed(test::PrivateBus& bus, bool isServed) {
    const auto connection = bus.connect();
    return test::waitUntil([&] {
        return connection.interface()->isServiceRegistered(serviceName).value() == isServed;
    });
}

ScriptedNotificationService::ScriptedNotificationService(test::PrivateBus& bus)
    : m_bus(bus.connect()) {
    if (!m_bus.registerVirtualObject(servicePath, this) || !m_bus.registerService(serviceName)) {
        throw std::runtime_error("there is a notification service on this bus already");
    }
}

ScriptedNotificationService::~ScriptedNotificationService() {
    QDBusConnection::disconnectFromBus(m_bus.name());
}

bool ScriptedNotificationService::handleMessage(const QDBusMessage& message,
                                                const QDBusConnection&) {
    m_heard << message;
    const Manner manner = message.member() == u"Notify" ? aboutNotifying : aboutCapabilities;
    if (manner == Manner::staysSilent) {
        m_unanswered << message;
    } else if (manner == Manner::fails) {
        m_bus.send(message.createErrorReply(QDBusError::LimitsExceeded, u"canary"_qs));
    } else {
        answer(message);
    }
    return true;
}

void ScriptedNotificationService::answerNow() {
    aboutCapabilities = Manner::answers;
    aboutNotifying = Manner::answers;
    for (const QDBusMessage& question : std::as_const(m_unanswered)) {
        answer(question);
    }
    m_unanswered.clear();
}

QList<QVariantList> ScriptedNotificationService::calls(const QString& operation) const {
    QList<QVariantList> found;
    for (const QDBusMessage& message : m_heard) {
        if (message.member() == operation) {
            found << message.arguments();
        }
    }
    return found;
}

void ScriptedNotificationService::answer(const QDBusMessage& question) {
    const uint number = 1;
    m_bus.send(
        question.createReply(question.member() == u"Notify" ? QVariant(number) : capabilities));
}

DunstDesktop::DunstDesktop(Markup markup)
    : m_markup(markup) {
    QFile settings(settingsPath());
    if (!settings.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("cannot write the settings of the notification service");
    }
    settings.write("[global]\nstack_duplicates = false\nhistory_length = 100\nmarkup = ");
    settings.write(m_markup == Markup::full ? "full\n" : "no\n");
    settings.close();
    start();
}

DunstDesktop::~DunstDesktop() {
    test::endGroup(m_dunst);
    if (m_isDescribed) {
        endStartedByBus();
    }
}

void DunstDesktop::start() {
    m_dunst.setProcessEnvironment(environment());
    m_dunst.setStandardOutputFile(QProcess::nullDevice());
    m_dunst.setStandardErrorFile(QProcess::nullDevice());
    test::startInOwnGroup(m_dunst, u"dunst"_qs, {u"-config"_qs, settingsPath()});
    if (!waitUntilServed(m_bus, true)) {
        throw std::runtime_error("the notification service did not come up");
    }
}

void DunstDesktop::end() {
    test::endGroup(m_dunst);
    waitUntilServed(m_bus, false);
}

void DunstDesktop::describeToBus() {
    QDir().mkpath(m_bus.folder() + u"/services"_qs);
    QFile file(m_bus.folder() + u"/services/dunst.service"_qs);
    if (!file.open(QIODevice::WriteOnly)) {
        throw std::runtime_error("cannot describe the notification service");
    }
    file.write("[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/usr/bin/env DISPLAY=" +
               m_display.displayName() + " dunst -config " + settingsPath().toUtf8() + '\n');
    file.close();
    m_bus.connect().call(
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                                       u"org.freedesktop.DBus"_qs, u"ReloadConfig"_qs));
    m_isDescribed = true;
}

/// It is in a group of its own.
void DunstDesktop::endStartedByBus() {
    const auto connection = m_bus.connect();
    const auto processID = connection.interface()->servicePid(serviceName);
    if (processID.isValid()) {
        ::kill(static_cast<pid_t>(processID.value()), SIGTERM);
    }
}

QList<DunstDesktop::Shown> DunstDesktop::shown(qsizetype count) {
    QList<Shown> found;
    test::waitUntil([&] {
        control(u"close-all"_qs);
        found = history();
        return found.size() >= count;
    });
    return found;
}

QList<DunstDesktop::Shown> DunstDesktop::history() const {
    const auto whole = QJsonDocument::fromJson(control(u"history"_qs)).object();
    QList<Shown> found;
    for (const QJsonValue entry : whole[u"data"].toArray().at(0).toArray()) {
        const auto text = [&entry](QStringView key) {
            return entry.toObject()[key].toObject()[u"data"].toString();
        };
        const QString body = text(u"body");
        found.prepend({text(u"appname"), text(u"summary"),
                       m_markup == Markup::full ? withoutMarkup(body) : body});
    }
    return found;
}

QByteArray DunstDesktop::control(const QString& command) const {
    QProcess process;
    process.setProcessEnvironment(environment());
    test::startInOwnGroup(process, u"dunstctl"_qs, {command});
    if (!process.waitForFinished(20000)) {
        test::endGroup(process);
    }
    return process.readAllStandardOutput();
}

QProcessEnvironment DunstDesktop::environment() const {
    auto environment = m_bus.environment();
    environment.insert(u"DISPLAY"_qs, QString::fromLatin1(m_display.displayName()));
    return environment;
}

} // namespace lumivane
