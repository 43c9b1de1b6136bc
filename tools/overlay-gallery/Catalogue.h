#pragma once

#include "Specimen.h"

#include <vector>

namespace lumivane::tools {

/// Every panel that the gallery shows. Names are unique; the groups are "panels", "solid" (without
/// transparency), "texts" and "styles".
std::vector<Specimen> catalogue();

} // namespace lumivane::tools
