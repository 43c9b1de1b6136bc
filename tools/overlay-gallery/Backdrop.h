#pragma once

#include "ui/identity/LumivaneTheme.h"

#include <QImage>
#include <QSize>

namespace lumivane::tools {

/// A piece of a desktop with a window on it, so that one sees what shines through a panel. `size`
/// is in points, the picture has `scale` pixels for each of them.
QImage backdrop(Appearance appearance, const QSize& size, double scale);

} // namespace lumivane::tools
