#include "screen/InkGrid.h"

#include "screen/ScreenImageReducer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numeric>

namespace lumivane {

namespace {

/// Cells from `first` to `last`; none when `last` lies before `first`.
struct CellRange {
    int first;
    int last;

    bool isEmpty() const { return last < first; }
};

/// The cells between two fractions of a side that has `count` of them. The bounds apply before
/// the cast, since a fraction may be any number at all.
CellRange cellsBetween(double low, double high, int count) {
    if (std::isnan(low) || std::isnan(high)) {
        return {0, -1};
    }
    const double first = std::clamp<double>(std::floor(low * count), 0, count);
    const double last = std::clamp<double>(std::ceil(high * count) - 1, -1, count - 1);
    return {static_cast<int>(first), static_cast<int>(last)};
}

/// The strongest difference between the cell and its neighbours left, right, above and below.
int gradientAt(const QImage& grey, int column, int row) {
    const uchar* line = grey.constScanLine(row);
    const int value = line[column];
    int gradient = 0;
    const auto raise = [&](int neighbour) {
        gradient = std::max(gradient, std::abs(value - neighbour));
    };
    if (column > 0) {
        raise(line[column - 1]);
    }
    if (column < grey.width() - 1) {
        raise(line[column + 1]);
    }
    if (row > 0) {
        raise(grey.constScanLine(row - 1)[column]);
    }
    if (row < grey.height() - 1) {
        raise(grey.constScanLine(row + 1)[column]);
    }
    return gradient;
}

} // namespace

PixelSize inkGridSize(PixelSize frame) {
    if (frame.width <= 0 || frame.height <= 0) {
        return {};
    }
    const int width = std::min(frame.width, ScreenImageReducer::inkGridLongEdge);
    const double height = std::round(static_cast<double>(width) * frame.height / frame.width);
    return {width, static_cast<int>(
                       std::clamp<double>(height, 1, ScreenImageReducer::inkGridMaximumHeight))};
}

std::vector<std::uint8_t> textMask(const std::vector<Rect>& boxes, PixelSize grid) {
    // Each box changes four corners, and one running sum per direction spreads them, so that the
    // cost does not grow with boxes times cells.
    const std::size_t stride = static_cast<std::size_t>(grid.width) + 1;
    std::vector<int> depth(stride * (static_cast<std::size_t>(grid.height) + 1));
    for (const Rect& box : boxes) {
        const CellRange columns = cellsBetween(box.minX(), box.maxX(), grid.width);
        const CellRange rows = cellsBetween(box.minY(), box.maxY(), grid.height);
        if (columns.isEmpty() || rows.isEmpty()) {
            continue;
        }
        const std::size_t top = static_cast<std::size_t>(rows.first) * stride;
        const std::size_t below = static_cast<std::size_t>(rows.last + 1) * stride;
        depth[top + static_cast<std::size_t>(columns.first)] += 1;
        depth[top + static_cast<std::size_t>(columns.last + 1)] -= 1;
        depth[below + static_cast<std::size_t>(columns.first)] -= 1;
        depth[below + static_cast<std::size_t>(columns.last + 1)] += 1;
    }
    for (std::size_t index = stride; index < depth.size(); ++index) {
        depth[index] += depth[index - stride];
    }
    std::vector<std::uint8_t> mask;
    mask.reserve(static_cast<std::size_t>(grid.width) * static_cast<std::size_t>(grid.height));
    for (int row = 0; row < grid.height; ++row) {
        int covering = 0;
        for (int column = 0; column < grid.width; ++column) {
            covering +=
                depth[static_cast<std::size_t>(row) * stride + static_cast<std::size_t>(column)];
            mask.push_back(covering > 0 ? 1 : 0);
        }
    }
    return mask;
}

InkMetrics measureInk(const QImage& grey, const std::vector<std::uint8_t>& mask) {
    std::int64_t nonTextEdges = 0;
    std::size_t cell = 0;
    for (int row = 0; row < grey.height(); ++row) {
        for (int column = 0; column < grey.width(); ++column, ++cell) {
            if (mask[cell] == 0 &&
                gradientAt(grey, column, row) > ScreenImageReducer::inkGradientThreshold) {
                ++nonTextEdges;
            }
        }
    }
    const auto cells = static_cast<double>(mask.size());
    const auto textCells = static_cast<double>(std::accumulate(mask.begin(), mask.end(), 0));
    return {static_cast<double>(nonTextEdges) / cells, textCells / cells};
}

} // namespace lumivane
