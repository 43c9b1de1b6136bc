#pragma once

#include <QPainterPath>

namespace lumivane {

/// Which of its two cuts the ring of the mark has; the small one stays open at small sizes.
enum class LumivaneMarkCut { standard, small };

/// The mark's lines on their grid; y grows downward.
namespace LumivaneIdentityGeometry {

inline constexpr double gridSize = 40;

/// The open rounded square, to be stroked with round caps and joins.
QPainterPath ringPath(LumivaneMarkCut cut);

} // namespace LumivaneIdentityGeometry

} // namespace lumivane
