#pragma once

#include "Specimen.h"

#include <vector>

namespace lumivane::tools {

/// Every panel that the gallery shows, in the order of the contact sheet. Names are unique; the
/// groups are "panels", "solid" (without transparency), "texts" and "styles".
std::vector<Specimen> catalogue();

} // namespace lumivane::tools
