#include "platform/linux/UserFolders.h"

#include <QStandardPaths>

namespace lumivane {

QString UserFolders::configuration() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

QString UserFolders::documents() {
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
}

} // namespace lumivane
