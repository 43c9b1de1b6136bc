#include "overlays/qml/OverlayStyle.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>

#include <algorithm>
#include <cmath>

namespace lumivane {

namespace {

constexpr int stepsOfAPoint = 8;

QFont sized(QFont font, double size, int weight, int detail) {
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(size * detail))));
    font.setWeight(static_cast<QFont::Weight>(weight));
    return font;
}

/// Walks down from `size`, so that the first one that fits is the largest.
template <typename Fits>
double largest(double size, double minimum, Fits&& fits) {
    for (double candidate = size; candidate > minimum; candidate -= 1.0 / stepsOfAPoint) {
        if (fits(candidate)) {
            return candidate;
        }
    }
    return minimum;
}

QString firstLine(const QString& text) { return text.section(u'\n', 0, 0); }

} // namespace

int OverlayStyle::detail(double size) const {
    for (int detail = 1; detail < finestDetail; detail *= 2) {
        if (size * detail == std::floor(size * detail)) {
            return detail;
        }
    }
    return finestDetail;
}

QFont OverlayStyle::systemFont(double size, int weight, double tracking) const {
    QFont font = sized(QGuiApplication::font(), size, weight, detail(size));
    if (tracking != 0) {
        font.setLetterSpacing(QFont::AbsoluteSpacing, tracking * detail(size));
    }
    return font;
}

QFont OverlayStyle::systemFontAt(int detail, double size, int weight) const {
    return sized(QGuiApplication::font(), size, weight, detail);
}

QFont OverlayStyle::fixedFont(double size, int weight) const {
    return sized(QFontDatabase::systemFont(QFontDatabase::FixedFont), size, weight, detail(size));
}

double OverlayStyle::sizeInLine(const QString& text, const QFont& font, double size,
                                double minimumScale, double width) const {
    const QString line = firstLine(text);
    // Widths grow nearly in line with sizes: a guess from one of them spares most of the search.
    const double full = lineWidthOf(line, font, size);
    if (full <= width) {
        return size;
    }
    const double guess = std::floor(size * width / full * stepsOfAPoint + 2) / stepsOfAPoint;
    return largest(std::min(size, guess), size * minimumScale, [&](double candidate) {
        const QFont smaller = sized(font, candidate, font.weight(), detail(candidate));
        return QFontMetricsF(smaller).horizontalAdvance(line) <= width * detail(candidate);
    });
}

double OverlayStyle::sizeInBox(const QString& text, const QFont& font, double size,
                               double minimumScale, double width, double height) const {
    return largest(size, size * minimumScale, [&](double candidate) {
        const int factor = detail(candidate);
        const QFontMetricsF metrics(sized(font, candidate, font.weight(), factor));
        const QRectF box(0, 0, width * factor, height * factor);
        return metrics.boundingRect(box, Qt::TextWordWrap, text).height() <= box.height();
    });
}

double OverlayStyle::lineWidthOf(const QString& text, const QFont& font, double size) const {
    return std::ceil(QFontMetricsF(font).horizontalAdvance(firstLine(text)) / detail(size));
}

QColor OverlayStyle::faded(QColor color, double opacity) const {
    color.setAlphaF(color.alphaF() * static_cast<float>(opacity));
    return color;
}

} // namespace lumivane
