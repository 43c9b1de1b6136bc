#pragma once

#include "domain/Appearance.h"

#include <QPalette>

namespace lumivane {

/// The program's own colours for what the toolkit draws by itself, such as menus and tool tips.
QPalette applicationPalette(Appearance appearance);

} // namespace lumivane
