#include "screen/TextColumns.h"

#include "screen/ScreenTextLayout.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace lumivane::ScreenTextLayout {

namespace {

using Coverage = std::array<double, projectionBins>;

/// A run of bins with next to nothing in them, both ends included.
struct Valley {
    int first;
    int last;

    int binCount() const { return last - first + 1; }
};

bool isFinite(const Rect& box) {
    return std::isfinite(box.minX()) && std::isfinite(box.maxX()) && std::isfinite(box.minY()) &&
           std::isfinite(box.maxY());
}

/// Leaves the boxes that can be projected, from top to bottom.
void makeProjectable(std::vector<Rect>& boxes) {
    std::erase_if(boxes, [](const Rect& box) { return !isFinite(box); });
    const auto isAbove = [](const Rect& left, const Rect& right) {
        return left.minY() < right.minY();
    };
    // Fragments come in order already, and a look is cheaper than another sort.
    if (!std::is_sorted(boxes.begin(), boxes.end(), isAbove)) {
        std::stable_sort(boxes.begin(), boxes.end(), isAbove);
    }
}

Rect unionOf(const std::vector<Rect>& boxes) {
    Rect result = boxes.front();
    for (const Rect& box : boxes) {
        result = result.united(box);
    }
    return result;
}

/// The boxes come from top to bottom, so that each bin needs one running union and no list.
Coverage coverageOf(const std::vector<Rect>& boxes, const Rect& content, double binWidth) {
    std::array<IntervalUnion, projectionBins> bins;
    for (const Rect& box : boxes) {
        const int first = binIndex(box.minX(), content, binWidth);
        const int last = binIndex(box.maxX(), content, binWidth);
        for (int bin = first; bin <= last; ++bin) {
            bins[static_cast<std::size_t>(bin)].add(box.minY(), box.maxY());
        }
    }
    Coverage coverage{};
    std::transform(bins.begin(), bins.end(), coverage.begin(),
                   [](const IntervalUnion& bin) { return bin.length(); });
    return coverage;
}

std::vector<Valley> valleysOf(const Coverage& coverage, double ceiling) {
    std::vector<Valley> valleys;
    for (int bin = 0; bin < projectionBins; ++bin) {
        if (coverage[static_cast<std::size_t>(bin)] > ceiling) {
            continue;
        }
        if (!valleys.empty() && valleys.back().last == bin - 1) {
            valleys.back().last = bin;
        } else {
            valleys.push_back({bin, bin});
        }
    }
    return valleys;
}

/// Wide enough, and no margin of the page.
bool isGutter(const Valley& valley) {
    const double minimumBins = std::ceil(projectionBins * valleyMinimumWidthFraction);
    return valley.first > 0 && valley.last < projectionBins - 1 && valley.binCount() > minimumBins;
}

template <typename Item>
std::vector<std::vector<Item>> oneColumn(std::vector<Item> items) {
    std::vector<std::vector<Item>> columns;
    columns.push_back(std::move(items));
    return columns;
}

template <typename Item>
std::vector<std::vector<Item>> partAtGutters(std::vector<Item> items) {
    std::vector<Rect> boxes;
    boxes.reserve(items.size());
    for (const Item& item : items) {
        boxes.push_back(item.box);
    }
    const std::vector<double> cuts = columnCuts(std::move(boxes));
    if (cuts.empty()) {
        return oneColumn(std::move(items));
    }
    std::vector<std::size_t> sizes(cuts.size() + 1);
    for (const Item& item : items) {
        ++sizes[columnIndex(item.box.midX(), cuts)];
    }
    std::vector<std::vector<Item>> columns(sizes.size());
    for (std::size_t column = 0; column < sizes.size(); ++column) {
        columns[column].reserve(sizes[column]);
    }
    for (Item& item : items) {
        columns[columnIndex(item.box.midX(), cuts)].push_back(std::move(item));
    }
    std::erase_if(columns, [](const auto& column) { return column.empty(); });
    return columns;
}

} // namespace

void IntervalUnion::add(double low, double high) {
    if (high < low) {
        return;
    }
    if (m_isEmpty || low > m_high) {
        m_closed += m_high - m_low;
        m_low = low;
        m_high = high;
        m_isEmpty = false;
    } else {
        m_high = std::max(m_high, high);
    }
}

int binIndex(double x, const Rect& content, double binWidth) {
    const double bin = std::floor((x - content.minX()) / binWidth);
    // Held before the cast: far out, or with bins too narrow for division, it is no integer.
    return bin > 0 ? static_cast<int>(std::min<double>(bin, projectionBins - 1)) : 0;
}

std::vector<double> columnCuts(std::vector<Rect> boxes) {
    makeProjectable(boxes);
    if (boxes.empty()) {
        return {};
    }
    const Rect content = unionOf(boxes);
    const double binWidth = content.width / projectionBins;
    if (content.isEmpty() || !(binWidth > 0) || !isFinite(content)) {
        return {};
    }
    const double ceiling = content.height * valleyCoverageCeiling;
    std::vector<Valley> valleys = valleysOf(coverageOf(boxes, content, binWidth), ceiling);
    std::erase_if(valleys, [](const Valley& valley) { return !isGutter(valley); });
    if (valleys.size() > maximumSplittableValleys) {
        return {};
    }
    std::vector<double> cuts;
    for (const Valley& valley : valleys) {
        cuts.push_back(content.minX() + (valley.first + valley.last + 1) / 2.0 * binWidth);
    }
    return cuts;
}

std::size_t columnIndex(double midX, const std::vector<double>& cuts) {
    const auto cut =
        std::find_if(cuts.begin(), cuts.end(), [midX](double x) { return !(midX > x); });
    return static_cast<std::size_t>(cut - cuts.begin());
}

std::vector<std::vector<PlacedText>> splitFragmentsIntoColumns(std::vector<PlacedText> fragments) {
    sortFromTopToBottom(fragments);
    if (distinctRowCount(fragments) < minimumRowsForFragmentColumnSplit) {
        return oneColumn(std::move(fragments));
    }
    return partAtGutters(std::move(fragments));
}

std::vector<std::vector<LayoutLine>> splitIntoColumns(std::vector<LayoutLine> lines) {
    if (lines.size() < minimumLinesForColumnSplit) {
        return oneColumn(std::move(lines));
    }
    return partAtGutters(std::move(lines));
}

} // namespace lumivane::ScreenTextLayout
