#pragma once

namespace lumivane {

/// The two dresses of everything that the program shows.
enum class Appearance { light, dark };

} // namespace lumivane
