#pragma once

#include "domain/LumivaneDisplayState.h"
#include "ui/identity/LumivaneTheme.h"

#include <QImage>
#include <QSizeF>

#include <optional>

class QPainter;

namespace lumivane {

/// Draws the icon of the status item. It carries its own colours, so it is drawn anew when the
/// appearance changes and is never used as a stencil. Pure; any thread.
///
/// Radii are in units of the mark's grid (40 to an edge). Without a radius a state has its own.
namespace LumivaneStatusIconRenderer {

/// Edges of the icon, in points.
inline constexpr QSizeF pointSize{16, 16};
inline constexpr double restingPupilRadius = 5.8;
inline constexpr double capturingPupilRadius = 9;

/// The icon for a screen with `scale` pixels to a point; its size in points is `pointSize`.
QImage image(LumivaneDisplayState state, std::optional<double> pupilRadius, Appearance appearance,
             double scale);

/// The same pixels, one to a point.
QImage bitmapRepresentation(LumivaneDisplayState state, std::optional<double> pupilRadius,
                            Appearance appearance, double scale);

/// Draws the icon from the painter's origin to `drawingSize`. Paused is a dash in the ring and no
/// pupil, whatever the radius. The painter's state is as before afterwards.
void draw(LumivaneDisplayState state, std::optional<double> pupilRadius, Appearance appearance,
          QSizeF drawingSize, QPainter& painter);

/// Paused is the palette's secondary text: opaque, since dash and ring touch.
SrgbColor statusColor(LumivaneDisplayState state, Appearance appearance);

} // namespace LumivaneStatusIconRenderer

} // namespace lumivane
