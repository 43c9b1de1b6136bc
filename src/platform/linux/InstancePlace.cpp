#include "platform/linux/InstancePlace.h"

#include <QCryptographicHash>
#include <QDir>
#include <QRegularExpression>

namespace lumivane {

namespace {

/// ":0", ":0.0", "unix:0" and "unix/:0" are one server.
QString displayServer(const QString& display) {
    static const QRegularExpression screen(u"(:\\d+)\\.\\d+$"_qs);
    static const QRegularExpression local(u"^unix/?:"_qs);
    QString server = display;
    return server.replace(screen, u"\\1"_qs).replace(local, u":"_qs);
}

QString sessionOfEnvironment() {
    const QString display = qEnvironmentVariable("DISPLAY");
    if (!display.isEmpty()) {
        return u"display "_qs + displayServer(display);
    }
    for (const char* variable : {"WAYLAND_DISPLAY", "XDG_SESSION_ID"}) {
        const QString value = qEnvironmentVariable(variable);
        if (!value.isEmpty()) {
            return QString::fromLatin1(variable) + u' ' + value;
        }
    }
    return {};
}

} // namespace

InstancePlace InstancePlace::ofThisSession(Use use) {
    const QString session = sessionOfEnvironment();
    return {qEnvironmentVariable("XDG_RUNTIME_DIR"), QDir::tempPath(),
            use == Use::testing ? u"testing "_qs + session : session};
}

QString InstancePlace::name() const {
    constexpr qsizetype digits = 16;
    const QByteArray hash =
        QCryptographicHash::hash(session.toUtf8(), QCryptographicHash::Sha256).toHex();
    return QString::fromLatin1(hash.left(digits));
}

} // namespace lumivane
