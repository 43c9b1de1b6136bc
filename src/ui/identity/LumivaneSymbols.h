#pragma once

#include <QPainterPath>
#include <QStringView>

namespace lumivane::LumivaneSymbols {

/// Edge of the square that every symbol is drawn in; y grows downward.
inline constexpr double gridSize = 100;

/// The outline of a symbol, to be filled in one colour by the winding rule; empty for a name that
/// is none. Names: "exclamationmark.triangle.fill", "xmark.circle.fill", "doc.on.doc",
/// "checkmark", "note.text.badge.plus", "person.crop.circle.badge.exclamationmark",
/// "laptopcomputer.slash".
QPainterPath path(QStringView name);

} // namespace lumivane::LumivaneSymbols
