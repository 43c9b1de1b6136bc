#pragma once

#include "domain/Geometry.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <vector>

namespace lumivane::ScreenTextLayout {

// The steps of the layout that make rows of fragments and blocks of rows. Only the layout and its
// tests call them.

/// An accepted fragment. The text is a view of one that outlives this, and copies lie side by
/// side in memory however the fragments are scattered.
struct PlacedText {
    PlacedText(QStringView placedText, const Rect& placedBox);

    QStringView text;
    std::int64_t characters; ///< of the text, counted once
    Rect box;
};

/// A row of fragments, joined.
struct LayoutLine {
    QString text;
    Rect box; ///< the union of the fragments' boxes

    bool operator==(const LayoutLine&) const = default;
};

/// By `minY`; equal ones keep their order, and what is no number comes last.
void sortFromTopToBottom(std::vector<PlacedText>& fragments);

/// True when the two overlap vertically by more than half the lesser height.
bool sharesLine(const Rect& first, const Rect& second);

/// Rows from top to bottom. A fragment is judged against the whole row so far.
std::vector<LayoutLine> groupIntoLines(std::vector<PlacedText> fragments);

/// The texts from left to right, a wide gap kept visible.
QString join(std::vector<PlacedText> row);

/// 0 when no fragment has both characters and a width.
double medianCharacterWidth(const std::vector<PlacedText>& fragments);

/// 0 when no line has a height.
double medianLineHeight(const std::vector<LayoutLine>& lines);

/// The lines from first to last, a blank line where a gap opens a new block.
QString renderBlocks(const std::vector<LayoutLine>& lines);

/// How many rows the fragments make, which come from top to bottom.
int distinctRowCount(const std::vector<PlacedText>& sortedFragments);

} // namespace lumivane::ScreenTextLayout
