#pragma once

#include <QString>

namespace lumivane {

/// Where the local service writes its token for this user.
QString developmentTokenFile();

} // namespace lumivane
