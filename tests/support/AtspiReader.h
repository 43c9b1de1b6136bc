#pragma once

#include "support/AccessibleNode.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

namespace lumivane::test {

/// Something that assistive technology was told.
struct AccessibleEvent {
    QString kind;   ///< such as "Announcement", "PropertyChange", "TextChanged", "StateChanged"
    QString detail; ///< such as "accessible-name", "insert", "showing"
    int first = 0;  ///< of an announcement: 1 polite, 2 assertive
    int second = 0;
    QString text;
    QString service; ///< who says it
    QString path;
};

/// Reads programs as assistive technology does, over the accessibility bus alone. It runs the event
/// loop while it waits, so that a program may be the test itself. It throws std::runtime_error
/// where something refuses to answer.
class AtspiReader : public QObject {
    Q_OBJECT

public:
    /// `address` is that of the accessibility bus.
    explicit AtspiReader(const QString& address);
    ~AtspiReader() override;

    /// Waits until the program with that process is there and shows something of that role and name
    /// (without them, a window), and returns all of it as it stands then. Where it does not come,
    /// std::nullopt.
    std::optional<AccessibleNode> waitForApplication(std::int64_t processID,
                                                     const QString& wantedRole = {},
                                                     const QString& wantedName = {});

    /// The program as it stands now, or std::nullopt.
    std::optional<AccessibleNode> application(std::int64_t processID);

    /// Carries out the first action of that name; false where there is none.
    bool act(const AccessibleNode& node, const QString& action);

    bool press(const AccessibleNode& node) { return act(node, QStringLiteral("Press")); }

    /// Events of `type`, such as "object:announcement" or "object:property-change", are heard from
    /// now on: nothing is sent that nobody asked for.
    void listen(const QString& type);

    void stopListening(const QString& type);

    /// The program that keeps the list of who listens.
    std::int64_t registryProcessID();

    const std::vector<AccessibleEvent>& events() const { return m_events; }

    std::vector<AccessibleEvent> events(const QString& kind) const;

    void forgetEvents() { m_events.clear(); }

    /// Reads one object, with all below it.
    AccessibleNode read(const QString& service, const QString& path);

private:
    struct Reference {
        QString service;
        QString path;
    };

    Q_SLOT void hear(const QDBusMessage& message);
    QDBusMessage ask(const Reference& object, const QString& interface, const QString& method,
                     const QVariantList& arguments = {});
    std::int64_t ownerOf(const QString& service);
    QVariant property(const Reference& object, const QString& interface, const QString& name);
    std::vector<Reference> children(const Reference& object);
    QStringList actions(const Reference& object);
    std::uint64_t states(const Reference& object);

    QString m_name;
    QDBusConnection m_bus;
    std::vector<AccessibleEvent> m_events;
};

} // namespace lumivane::test
