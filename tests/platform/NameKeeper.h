#pragma once

#include <QObject>
#include <QString>

namespace lumivane::test {

/// The service that keeps the machine's name, as far as it is asked.
class NameKeeper final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.hostname1")
    Q_PROPERTY(QString PrettyHostname MEMBER name)

public:
    QString name = u"Jörg’s Studio"_qs;
};

} // namespace lumivane::test
