#pragma once

#include <QPainterPath>

namespace lumivane {

/// Which of its two cuts the ring of the mark has. The small one has a thinner footprint and
/// tighter corners, for sizes at which the standard one would close up.
enum class LumivaneMarkCut { standard, small };

/// The mark's lines on their grid of 40 by 40 units with the centre at (20, 20); y grows downward.
namespace LumivaneIdentityGeometry {

inline constexpr double gridSize = 40;

/// The open rounded square, to be stroked with round caps and joins. Its one open corner is the
/// lower right one.
QPainterPath ringPath(LumivaneMarkCut cut);

} // namespace LumivaneIdentityGeometry

} // namespace lumivane
