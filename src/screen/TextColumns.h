#pragma once

#include "domain/Geometry.h"
#include "screen/TextLines.h"

#include <vector>

namespace lumivane::ScreenTextLayout {

// The steps of the layout that find vertical gutters and part the page at them. Only the layout
// and its tests call them.

/// The length that intervals cover together, added in ascending order of their low ends.
class IntervalUnion {
public:
    /// An interval whose high end lies below its low end covers nothing.
    void add(double low, double high);

    double length() const { return m_closed + (m_high - m_low); }

private:
    bool m_isEmpty = true;
    double m_low = 0;
    double m_high = 0;
    double m_closed = 0;
};

/// The bin of the horizontal projection that holds `x`, held to the bins there are.
int binIndex(double x, const Rect& content, double binWidth);

/// The x of each gutter between columns, from left to right. None where the page has no columns,
/// or where it has so many gutters that it is a grid, whose rows are better read across.
std::vector<double> columnCuts(std::vector<Rect> boxes);

/// The column of a box centred at `midX`; one centred exactly on a cut goes left.
std::size_t columnIndex(double midX, const std::vector<double>& cuts);

/// Columns that are never empty, their fragments from top to bottom; one with everything when the
/// page is not parted.
std::vector<std::vector<PlacedText>> splitFragmentsIntoColumns(std::vector<PlacedText> fragments);

/// The same on finished lines, for pages whose columns are too short for the fragments' pass.
std::vector<std::vector<LayoutLine>> splitIntoColumns(std::vector<LayoutLine> lines);

} // namespace lumivane::ScreenTextLayout
