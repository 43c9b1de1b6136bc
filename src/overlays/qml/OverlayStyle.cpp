#include "overlays/qml/OverlayStyle.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>

#include <algorithm>
#include <cmath>

namespace lumivane {

namespace {

constexpr int finestDetail = 8;

QFont sized(QFont font, double size, int weight, int detail) {
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(size * detail))));
    font.setWeight(static_cast<QFont::Weight>(weight));
    return font;
}

/// Walks down from `size`, so that the first one that fits is the largest.
template <typename Fits>
double largest(double size, double minimumScale, Fits&& fits) {
    const double minimum = size * minimumScale;
    for (double candidate = size; candidate > minimum; candidate -= 1.0 / finestDetail) {
        if (fits(candidate)) {
            return candidate;
        }
    }
    return minimum;
}

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

QFont OverlayStyle::fixedFont(double size, int weight) const {
    return sized(QFontDatabase::systemFont(QFontDatabase::FixedFont), size, weight, detail(size));
}

double OverlayStyle::sizeInLine(const QString& text, const QFont& font, double size,
                                double minimumScale, double width) const {
    return largest(size, minimumScale, [&](double candidate) {
        const int factor = detail(candidate);
        const QFontMetricsF metrics(sized(font, candidate, font.weight(), factor));
        return metrics.horizontalAdvance(text.section(u'\n', 0, 0)) <= width * factor;
    });
}

double OverlayStyle::sizeInBox(const QString& text, const QFont& font, double size,
                               double minimumScale, double width, double height) const {
    return largest(size, minimumScale, [&](double candidate) {
        const int factor = detail(candidate);
        const QFontMetricsF metrics(sized(font, candidate, font.weight(), factor));
        const QRectF box(0, 0, width * factor, height * factor);
        return metrics.boundingRect(box, Qt::TextWordWrap, text).height() <= box.height();
    });
}

double OverlayStyle::lineHeight(const QFont& font, double size) const {
    return QFontMetricsF(font).height() / detail(size);
}

QColor OverlayStyle::faded(QColor color, double opacity) const {
    color.setAlphaF(color.alphaF() * static_cast<float>(opacity));
    return color;
}

} // namespace lumivane
