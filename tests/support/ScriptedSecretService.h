#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QMap>
#include <QString>

#include <optional>

namespace lumivane::test {

/// A Secret Service with one collection or none and one item at most, whose questions are answered
/// as the test says. It has its bus to itself and answers while the event loop runs.
class ScriptedSecretService final : public QDBusVirtualObject {
public:
    enum class Answer { yes, no, none };

    struct Item {
        QMap<QString, QString> attributes;
        QByteArray secret;
    };

    explicit ScriptedSecretService(QDBusConnection bus);
    ~ScriptedSecretService() override;

    QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override;

    /// Puts an item of ours there under the two attributes.
    void put(const QString& service, const QString& account, const QByteArray& secret);

    /// Does what a service that held a write goes on with, whoever still waits for it.
    void release();

    bool isHolding() const { return m_held.has_value(); }

    // What the user and the service do.
    Answer answer = Answer::yes;
    bool hasCollection = true;
    bool isLocked = false; ///< the collection with all that is in it
    std::optional<Item> item;
    bool holdsWrites = false; ///< each until `release`

    int questionCount = 0;  ///< that the user was asked
    int dismissedCount = 0; ///< of those, taken away again without an answer

private:
    enum class Subject { none, unlocking, creating };

    QDBusMessage replyTo(const QDBusMessage& message);
    QDBusMessage replyOfService(const QDBusMessage& message);
    QDBusMessage replyOfItem(const QDBusMessage& message);
    QDBusMessage openSession(const QDBusMessage& message) const;
    QDBusMessage secrets(const QDBusMessage& message) const;
    QDBusMessage createItem(const QDBusMessage& message);
    QDBusMessage ask(const QDBusMessage& message, Subject subject, const QVariant& before);
    QVariantMap properties(const QString& interface) const;
    bool matches(const QMap<QString, QString>& attributes) const;
    void complete();

    QDBusConnection m_bus;
    std::optional<QDBusMessage> m_held;
    Subject m_subject = Subject::none;
};

} // namespace lumivane::test
