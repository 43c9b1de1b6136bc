#pragma once

#include <QByteArray>
#include <QImage>

/// The program's icon: the mark in its light dress on a tile of its own, so that it can be seen on
/// panels and launchers of every colour. Both forms are drawn from the mark's one geometry.
namespace lumivane::IconDrawing {

QByteArray svg();

/// A square of that many pixels, transparent around the tile.
QImage image(int edge);

} // namespace lumivane::IconDrawing
