#include "screen/TextLines.h"

#include "domain/Characters.h"
#include "screen/ScreenTextLayout.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace lumivane::ScreenTextLayout {

namespace {

/// A fragment with its sort keys beside it: following the pointer in every comparison costs more
/// than the sort itself once the fragments outgrow the cache.
struct Keyed {
    double first;
    double second;
    const TextFragment* fragment;
};

bool comesBefore(const Keyed& left, const Keyed& right) {
    if (ScreenTextLayout::comesBefore(left.first, right.first)) {
        return true;
    }
    return !ScreenTextLayout::comesBefore(right.first, left.first) &&
           ScreenTextLayout::comesBefore(left.second, right.second);
}

template <typename MakeKeys>
std::vector<Keyed> sorted(const FragmentRefs& fragments, MakeKeys makeKeys) {
    std::vector<Keyed> result;
    result.reserve(fragments.size());
    for (const TextFragment* fragment : fragments) {
        result.push_back(makeKeys(fragment));
    }
    std::stable_sort(result.begin(), result.end(), [](const Keyed& left, const Keyed& right) {
        return comesBefore(left, right);
    });
    return result;
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

FragmentRefs references(const std::vector<TextFragment>& fragments) {
    FragmentRefs result;
    result.reserve(fragments.size());
    for (const TextFragment& fragment : fragments) {
        result.push_back(&fragment);
    }
    return result;
}

bool comesBefore(double left, double right) {
    return left < right || (std::isnan(right) && !std::isnan(left));
}

bool sharesLine(const Rect& first, const Rect& second) {
    const double overlap =
        std::min(first.maxY(), second.maxY()) - std::max(first.minY(), second.minY());
    const double shorter = std::min(first.height, second.height);
    // Written so that a value that is no number is false throughout.
    return overlap > 0 && shorter > 0 && lineOverlapFraction * shorter < overlap;
}

std::vector<LayoutLine> groupIntoLines(const FragmentRefs& fragments) {
    std::vector<LayoutLine> lines;
    FragmentRefs row;
    Rect rowBox;
    const auto closeRow = [&] {
        if (!row.empty()) {
            lines.push_back({join(row), rowBox});
            row.clear();
        }
    };
    for (const Keyed& keyed : sorted(fragments, [](const TextFragment* fragment) {
             return Keyed{fragment->box.minY(), fragment->box.minX(), fragment};
         })) {
        const Rect& box = keyed.fragment->box;
        if (!row.empty() && sharesLine(rowBox, box)) {
            rowBox = rowBox.united(box);
        } else {
            closeRow();
            rowBox = box;
        }
        row.push_back(keyed.fragment);
    }
    closeRow();
    return lines;
}

QString join(FragmentRefs row) {
    if (row.empty()) {
        return {};
    }
    std::stable_sort(row.begin(), row.end(),
                     [](const TextFragment* left, const TextFragment* right) {
                         return comesBefore(left->box.minX(), right->box.minX());
                     });
    const double charWidth = medianCharacterWidth(row);
    QString text = row.front()->text;
    for (std::size_t index = 1; index < row.size(); ++index) {
        const double gap = row[index]->box.minX() - row[index - 1]->box.maxX();
        const bool isWide = charWidth > 0 && gap > wideGapCharWidths * charWidth;
        text += isWide ? wideGap : QStringView(u" ");
        text += row[index]->text;
    }
    return text;
}

double medianCharacterWidth(const FragmentRefs& fragments) {
    std::vector<double> widths;
    widths.reserve(fragments.size());
    for (const TextFragment* fragment : fragments) {
        const auto characters = static_cast<double>(characterCount(fragment->text));
        if (characters > 0 && fragment->box.width > 0) {
            widths.push_back(fragment->box.width / characters);
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

int distinctRowCount(const FragmentRefs& fragments) {
    int count = 0;
    std::optional<Rect> rowBox;
    for (const Keyed& keyed : sorted(fragments, [](const TextFragment* fragment) {
             return Keyed{fragment->box.minY(), 0, fragment};
         })) {
        const Rect& box = keyed.fragment->box;
        if (rowBox && sharesLine(*rowBox, box)) {
            rowBox = rowBox->united(box);
        } else {
            ++count;
            rowBox = box;
        }
    }
    return count;
}

} // namespace lumivane::ScreenTextLayout
