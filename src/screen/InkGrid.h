#pragma once

#include "domain/Geometry.h"

#include <QImage>

#include <cstdint>
#include <vector>

namespace lumivane {

struct InkMetrics;

// The grid on which a frame's ink is measured. Only the reducer and its tests call these.

/// The grid for a frame of `frame` pixels: at most 96 columns and 384 rows, and at least one of
/// each. 0 by 0 for a frame without pixels.
PixelSize inkGridSize(PixelSize frame);

/// One value per cell, row by row: 1 where a box touches the cell, else 0.
std::vector<std::uint8_t> textMask(const std::vector<Rect>& boxes, PixelSize grid);

/// `grey` is 8-bit grey and of the mask's grid.
InkMetrics measureInk(const QImage& grey, const std::vector<std::uint8_t>& mask);

} // namespace lumivane
