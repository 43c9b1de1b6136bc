#pragma once

#include "domain/Geometry.h"
#include "screen/TextFragment.h"

#include <QString>

#include <vector>

namespace lumivane::ScreenTextLayout {

// The steps of the layout that make rows of fragments and blocks of rows. Only the layout and its
// tests call them.

/// Fragments of a list that outlives this; sorting moves no text.
using FragmentRefs = std::vector<const TextFragment*>;

FragmentRefs references(const std::vector<TextFragment>& fragments);

/// A row of fragments, joined.
struct LayoutLine {
    QString text;
    Rect box; ///< the union of the fragments' boxes

    bool operator==(const LayoutLine&) const = default;
};

/// Less-than on coordinates in which a value that is no number comes last, so that it orders any
/// list.
bool comesBefore(double left, double right);

/// True when the two overlap vertically by more than half the lesser height.
bool sharesLine(const Rect& first, const Rect& second);

/// Rows from top to bottom. A fragment is judged against the whole row so far.
std::vector<LayoutLine> groupIntoLines(const FragmentRefs& fragments);

/// The texts from left to right, a wide gap kept visible.
QString join(FragmentRefs row);

/// 0 when no fragment has both characters and a width.
double medianCharacterWidth(const FragmentRefs& fragments);

/// 0 when no line has a height.
double medianLineHeight(const std::vector<LayoutLine>& lines);

/// The lines from first to last, a blank line where a gap opens a new block.
QString renderBlocks(const std::vector<LayoutLine>& lines);

/// How many rows the fragments make.
int distinctRowCount(const FragmentRefs& fragments);

} // namespace lumivane::ScreenTextLayout
