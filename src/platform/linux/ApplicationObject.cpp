#include "platform/linux/ApplicationObject.h"

#include "async/MainThread.h"
#include "platform/linux/InstanceRequest.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QPointer>

#include <utility>

namespace lumivane {

namespace {

/// A method's arguments, or none for a method that is not there.
QString signatureOf(const QString& method) {
    if (method == u"Activate"_qs) {
        return u"a{sv}"_qs;
    }
    if (method == u"Open"_qs) {
        return u"asa{sv}"_qs;
    }
    return method == u"ActivateAction"_qs ? u"sava{sv}"_qs : QString();
}

void refuse(const QDBusMessage& message, const QDBusConnection& connection, const QString& why) {
    connection.send(message.createErrorReply(QDBusError::InvalidArgs, why));
}

} // namespace

ApplicationObject::ApplicationObject(Handler onRequest)
    : m_onRequest(std::move(onRequest)) {}

QString ApplicationObject::introspect(const QString& /*path*/) const {
    return uR"(<interface name="org.freedesktop.Application">
  <method name="Activate">
    <arg type="a{sv}" name="platform-data" direction="in"/>
  </method>
  <method name="Open">
    <arg type="as" name="uris" direction="in"/>
    <arg type="a{sv}" name="platform-data" direction="in"/>
  </method>
  <method name="ActivateAction">
    <arg type="s" name="action-name" direction="in"/>
    <arg type="av" name="parameter" direction="in"/>
    <arg type="a{sv}" name="platform-data" direction="in"/>
  </method>
</interface>
)"_qs;
}

bool ApplicationObject::handleMessage(const QDBusMessage& message,
                                      const QDBusConnection& connection) {
    const QString signature = signatureOf(message.member());
    const bool isOurs = message.interface().isEmpty() || message.interface() == interfaceName();
    if (!isOurs || signature.isEmpty()) {
        return false;
    }
    if (message.signature() != signature) {
        refuse(message, connection, u"The arguments are "_qs + signature);
        return true;
    }
    const bool opens = message.member() == u"Open"_qs;
    const QStringList urls =
        opens ? message.arguments().constFirst().toStringList() : QStringList();
    if (!InstanceRequest::mayOpen(urls)) {
        refuse(message, connection,
               u"There are too many addresses, or one is too long or empty"_qs);
        return true;
    }
    if (message.isReplyRequired()) {
        connection.send(message.createReply());
    }
    if (message.member() == u"Activate"_qs || !urls.isEmpty()) {
        postRequest(urls);
    }
    return true;
}

void ApplicationObject::postRequest(const QStringList& urls) {
    postToMainThread([guard = QPointer(this), urls] {
        if (guard) {
            const Handler copy = guard->m_onRequest; // it may destroy the object
            copy(urls);
        }
    });
}

} // namespace lumivane
