#pragma once

#include "ui/identity/LumivaneTheme.h"

#include <QColor>
#include <QImage>

class QPainter;
class QRectF;

namespace lumivane {

/// The mark in one colour, for views that have a text colour of their own. It says nothing, so
/// views that show it are hidden from assistive technology.
namespace LumivaneMonochromeMark {

/// The width of the ring's line and the pupil's diameter, in units of the mark's grid.
inline constexpr double lineWidth = 5.5;
inline constexpr double pupilDiameter = 10;

/// Draws the mark as large as the smaller side of `rect`, centred in it. The painter's state is
/// as before afterwards.
void draw(QPainter& painter, const QRectF& rect, const QColor& color);

} // namespace LumivaneMonochromeMark

/// The mark in full colour; same manners.
namespace LumivaneMark {

void draw(QPainter& painter, const QRectF& rect, Appearance appearance);

/// The mark on a transparent square of that many pixels, for an icon of a window or program.
QImage image(int edge, Appearance appearance);

} // namespace LumivaneMark

} // namespace lumivane
