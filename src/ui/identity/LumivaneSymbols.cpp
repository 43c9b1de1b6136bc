#include "ui/identity/LumivaneSymbols.h"

namespace lumivane {

QPainterPath LumivaneSymbols::path(QStringView) {
    QPainterPath outline;
    outline.addEllipse({gridSize / 2, gridSize / 2}, gridSize / 2, gridSize / 2);
    return outline;
}

} // namespace lumivane
