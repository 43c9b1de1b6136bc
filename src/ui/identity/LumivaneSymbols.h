#pragma once

#include <QPainterPath>
#include <QStringList>
#include <QStringView>

namespace lumivane::LumivaneSymbols {

/// Edge of the square that every symbol is drawn in; y grows downward.
inline constexpr double gridSize = 100;

/// The outline of a symbol, to be filled in one colour by the odd-even rule, which the path
/// carries: no two of its areas overlap, and what is cut out of a shape is a hole in it. Empty for
/// a name that is none. Main thread only.
///
/// Lines are a twelfth of the grid wide and lie on its twelfths: sharpest at 12, 24 and 36 pixels.
///
/// Names: "exclamationmark.triangle.fill", "xmark.circle.fill", "doc.on.doc", "checkmark",
/// "note.text.badge.plus", "person.crop.circle.badge.exclamationmark", "laptopcomputer.slash".
QPainterPath path(QStringView name);

/// All names, for galleries and checks.
QStringList names();

} // namespace lumivane::LumivaneSymbols
