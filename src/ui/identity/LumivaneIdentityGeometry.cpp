#include "ui/identity/LumivaneIdentityGeometry.h"

namespace lumivane {

QPainterPath LumivaneIdentityGeometry::ringPath(LumivaneMarkCut) {
    QPainterPath ring;
    ring.addRoundedRect(5, 5, 30, 30, 7, 7);
    return ring;
}

} // namespace lumivane
