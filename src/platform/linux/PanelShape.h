#pragma once

#include <QRect>
#include <QSize>

#include <vector>

namespace lumivane {

/// The parts of a rectangle of `size` pixels that its corners of `radius` pixels leave, row by row
/// from the top, equal rows in one part. A radius beyond half a side is held to that; without one
/// the whole rectangle is the only part.
std::vector<QRect> roundedParts(const QSize& size, double radius);

} // namespace lumivane
