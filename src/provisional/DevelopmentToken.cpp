#include "provisional/DevelopmentToken.h"

#include <QStandardPaths>

namespace lumivane {

QString developmentTokenFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           u"/lumivane-service/development-token"_qs;
}

} // namespace lumivane
