#include "screen/TextLines.h"

#include "domain/Characters.h"
#include "screen/ScreenTextLayout.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <optional>
#include <utility>

namespace lumivane::ScreenTextLayout {

namespace {

/// An integer that orders as the coordinate does. Equal coordinates have equal ones, and what is
/// no number comes last, so that the order is total whatever the boxes hold.
std::uint64_t orderOf(double coordinate) {
    constexpr std::uint64_t sign = 1ULL << 63;
    if (std::isnan(coordinate)) {
        return ~0ULL;
    }
    const double withoutMinusZero = coordinate == 0 ? 0.0 : coordinate;
    const auto bits = std::bit_cast<std::uint64_t>(withoutMinusZero);
    return (bits & sign) != 0 ? ~bits : bits | sign;
}

/// The sort keys of one fragment. What is sorted is small, and the fragments move once.
struct Keys {
    std::uint64_t first;
    std::uint64_t second;
    std::size_t index;

    bool operator<(const Keys& other) const {
        return first != other.first ? first < other.first : second < other.second;
    }
};

/// Follows each cycle of the permutation, so that large pages need no second list of fragments.
void moveIntoOrder(std::vector<Keys>& keys, std::vector<PlacedText>& fragments) {
    for (std::size_t start = 0; start < keys.size(); ++start) {
        const PlacedText first = fragments[start];
        std::size_t place = start;
        while (keys[place].index != start) {
            const std::size_t source = std::exchange(keys[place].index, place);
            fragments[place] = fragments[source];
            place = source;
        }
        keys[place].index = place;
        fragments[place] = first;
    }
}

template <typename FirstKey, typename SecondKey>
void sortBy(FirstKey firstKey, SecondKey secondKey, std::vector<PlacedText>& fragments) {
    std::vector<Keys> keys(fragments.size());
    for (std::size_t index = 0; index < fragments.size(); ++index) {
        const Rect& box = fragments[index].box;
        keys[index] = {orderOf(firstKey(box)), orderOf(secondKey(box)), index};
    }
    if (std::is_sorted(keys.begin(), keys.end())) {
        return;
    }
    std::stable_sort(keys.begin(), keys.end());
    moveIntoOrder(keys, fragments);
}

double lowX(const Rect& box) { return box.minX(); }

double lowY(const Rect& box) { return box.minY(); }

double noKey(const Rect&) { return 0; }

qsizetype joinedSize(const std::vector<PlacedText>& row) {
    qsizetype size = 0;
    for (const PlacedText& fragment : row) {
        size += fragment.text.size() + wideGap.size();
    }
    return size;
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) {
        return *middle;
    }
    return (*std::max_element(values.begin(), middle) + *middle) / 2;
}

} // namespace

PlacedText::PlacedText(QStringView placedText, const Rect& placedBox)
    : text(placedText)
    , characters(characterCount(placedText))
    , box(placedBox) {}

void sortFromTopToBottom(std::vector<PlacedText>& fragments) { sortBy(lowY, noKey, fragments); }

bool sharesLine(const Rect& first, const Rect& second) {
    if (std::isnan(first.maxY()) || std::isnan(second.maxY())) {
        return false; // the lesser of a number and none is no answer
    }
    const double overlap =
        std::min(first.maxY(), second.maxY()) - std::max(first.minY(), second.minY());
    const double shorter = std::min(first.height, second.height);
    return overlap > 0 && shorter > 0 && lineOverlapFraction * shorter < overlap;
}

std::vector<LayoutLine> groupIntoLines(std::vector<PlacedText> fragments) {
    sortBy(lowY, lowX, fragments);
    std::vector<LayoutLine> lines;
    std::vector<PlacedText> row;
    Rect rowBox;
    const auto closeRow = [&] {
        if (!row.empty()) {
            lines.push_back({join(std::exchange(row, {})), rowBox});
        }
    };
    for (const PlacedText& fragment : fragments) {
        if (!row.empty() && sharesLine(rowBox, fragment.box)) {
            rowBox = rowBox.united(fragment.box);
        } else {
            closeRow();
            rowBox = fragment.box;
        }
        row.push_back(fragment);
    }
    closeRow();
    return lines;
}

QString join(std::vector<PlacedText> row) {
    if (row.empty()) {
        return {};
    }
    sortBy(lowX, noKey, row);
    const double charWidth = medianCharacterWidth(row);
    QString text;
    text.reserve(joinedSize(row));
    text += row.front().text;
    for (std::size_t index = 1; index < row.size(); ++index) {
        const double gap = row[index].box.minX() - row[index - 1].box.maxX();
        const bool isWide = charWidth > 0 && gap > wideGapCharWidths * charWidth;
        text += isWide ? wideGap : QStringView(u" ");
        text += row[index].text;
    }
    return text;
}

double medianCharacterWidth(const std::vector<PlacedText>& fragments) {
    std::vector<double> widths;
    widths.reserve(fragments.size());
    for (const PlacedText& fragment : fragments) {
        if (fragment.characters > 0 && fragment.box.width > 0) {
            widths.push_back(fragment.box.width / static_cast<double>(fragment.characters));
        }
    }
    return median(std::move(widths));
}

double medianLineHeight(const std::vector<LayoutLine>& lines) {
    std::vector<double> heights;
    heights.reserve(lines.size());
    for (const LayoutLine& line : lines) {
        if (line.box.height > 0) {
            heights.push_back(line.box.height);
        }
    }
    return median(std::move(heights));
}

QString renderBlocks(const std::vector<LayoutLine>& lines) {
    if (lines.empty()) {
        return {};
    }
    const double median = medianLineHeight(lines);
    const double threshold = median * blockGapLineHeights;
    QString text = lines.front().text;
    for (std::size_t index = 1; index < lines.size(); ++index) {
        const double gap = lines[index].box.minY() - lines[index - 1].box.maxY();
        text += median > 0 && gap > threshold ? QStringView(u"\n\n") : QStringView(u"\n");
        text += lines[index].text;
    }
    return text;
}

int distinctRowCount(const std::vector<PlacedText>& sortedFragments) {
    int count = 0;
    std::optional<Rect> rowBox;
    for (const PlacedText& fragment : sortedFragments) {
        if (rowBox && sharesLine(*rowBox, fragment.box)) {
            rowBox = rowBox->united(fragment.box);
        } else {
            ++count;
            rowBox = fragment.box;
        }
    }
    return count;
}

} // namespace lumivane::ScreenTextLayout
