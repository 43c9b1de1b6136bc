#pragma once

#include <QDBusVirtualObject>
#include <QStringList>

#include <functional>

namespace lumivane {

/// `org.freedesktop.Application` on the session bus. Main thread.
///
/// Activate and Open hear their caller out and answer at once; what they ask for happens in a later
/// turn. Addresses beyond InstanceRequest's limits, and arguments of another signature, are refused
/// with `org.freedesktop.DBus.Error.InvalidArgs`. No actions are on offer, so ActivateAction does
/// nothing.
class ApplicationObject final : public QDBusVirtualObject {
public:
    using Handler = std::function<void(QStringList urls)>;

    static QString path() { return QStringLiteral("/com/marnoth/Lumivane"); }

    static QString interfaceName() { return QStringLiteral("org.freedesktop.Application"); }

    /// `onRequest` may destroy the object; no address asks to come forward.
    explicit ApplicationObject(Handler onRequest);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void postRequest(const QStringList& urls);

    Handler m_onRequest;
};

} // namespace lumivane
