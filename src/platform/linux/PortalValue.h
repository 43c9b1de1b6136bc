#pragma once

#include <QDBusVariant>
#include <QVariant>

namespace lumivane {

/// What a portal's answer holds: portals have been seen to wrap values twice.
inline QVariant unwrapped(QVariant value) {
    for (int depth = 0; depth < 3 && value.metaType() == QMetaType::fromType<QDBusVariant>();
         ++depth) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

} // namespace lumivane
