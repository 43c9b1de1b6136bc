#pragma once

#include "support/PrivateBus.h"
#include "support/XServer.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QList>
#include <QProcess>
#include <QStringList>

namespace lumivane {

/// Waits until there is, or is no longer, a notification service on a bus.
bool waitUntilServed(test::PrivateBus& bus, bool isServed);

/// A notification service on a private bus that answers as the test says, and keeps what it hears.
class ScriptedNotificationService final : public QDBusVirtualObject {
public:
    enum class Manner { answers, staysSilent, fails };

    explicit ScriptedNotificationService(test::PrivateBus& bus);
    ~ScriptedNotificationService() override;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

    /// Answers what it has been silent about so far, and from now on everything.
    void answerNow();

    /// The arguments of each call of an operation.
    QList<QVariantList> calls(const QString& operation) const;

    Manner aboutCapabilities = Manner::answers;
    Manner aboutNotifying = Manner::answers;
    QVariant capabilities = QStringList{u"body"_qs, u"body-markup"_qs};

private:
    void answer(const QDBusMessage& question);

    QDBusConnection m_bus;
    QList<QDBusMessage> m_heard;
    QList<QDBusMessage> m_unanswered;
};

/// A display with a real notification service on a private bus.
class DunstDesktop {
public:
    /// One notification, as its reader sees it.
    struct Shown {
        QString program;
        QString title;
        QString body;

        bool operator==(const Shown&) const = default;
    };

    /// How its user wants it: to read markup in the words, or to show them as they are.
    enum class Markup { full, no };

    /// The service runs from the start.
    explicit DunstDesktop(Markup markup = Markup::full);
    ~DunstDesktop();
    DunstDesktop(const DunstDesktop&) = delete;
    DunstDesktop& operator=(const DunstDesktop&) = delete;

    test::PrivateBus& bus() { return m_bus; }

    std::int64_t processID() const { return m_dunst.processId(); }

    void start();
    void end();

    /// From now on the bus starts the service when somebody asks for it.
    void describeToBus();

    /// Closes what is up, and answers all that was ever shown, oldest first, once there are so
    /// many.
    QList<Shown> shown(qsizetype count);

private:
    QList<Shown> history() const;
    QByteArray control(const QString& command) const;
    QProcessEnvironment environment() const;

    QString settingsPath() const { return m_bus.folder() + u"/dunstrc"_qs; }

    void endStartedByBus();

    Markup m_markup;
    test::PrivateBus m_bus;
    test::XServer m_display;
    QProcess m_dunst;
    bool m_isDescribed = false;
};

} // namespace lumivane
