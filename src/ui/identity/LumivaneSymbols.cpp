#include "ui/identity/LumivaneSymbols.h"

#include <QLineF>
#include <QPen>
#include <QTransform>

#include <array>
#include <string_view>

namespace lumivane {

namespace {

/// Width of lines: one pixel at 12 pixels, where edges on multiples of it are sharp.
constexpr double unit = LumivaneSymbols::gridSize / 12;

/// Clear space round whatever lies in front of something else.
constexpr double gap = 7;

/// The toolkit cuts paths as polygons whose edges keep to a quarter of a unit, which shows on small
/// curves; so they are cut at a size at which it does not.
const QTransform enlarged = QTransform::fromScale(8, 8);

QPainterPath difference(const QPainterPath& path, const QPainterPath& cutOut) {
    return enlarged.inverted().map(enlarged.map(path).subtracted(enlarged.map(cutOut)));
}

QPainterPath unionOf(const QPainterPath& path, const QPainterPath& other) {
    return enlarged.inverted().map(enlarged.map(path).united(enlarged.map(other)));
}

QPainterPath disc(QPointF center, double radius) {
    QPainterPath path;
    path.addEllipse(center, radius, radius);
    return path;
}

QPainterPath roundedRect(const QRectF& rect, double radius) {
    QPainterPath path;
    path.addRoundedRect(rect, radius, radius);
    return path;
}

/// A frame of the line's width inside `rect`.
QPainterPath frame(const QRectF& rect, double radius) {
    QPainterPath path = roundedRect(rect, radius);
    path.addPath(roundedRect(rect.adjusted(unit, unit, -unit, -unit), radius - unit * 0.75));
    return path;
}

/// A straight line with round ends, which reach half its width past its points.
QPainterPath bar(QPointF begin, QPointF end, double width = unit) {
    const QLineF line(begin, end);
    QTransform placed;
    placed.translate(begin.x(), begin.y());
    placed.rotate(-line.angle());
    return placed.map(
        roundedRect(QRectF(-width / 2, -width / 2, line.length() + width, width), width / 2));
}

/// The outline of an open line, with round ends and joins.
QPainterPath stroked(const QPainterPath& line) {
    QPainterPathStroker stroker(QPen(Qt::black, unit, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    stroker.setCurveThreshold(0.01);
    return stroker.createStroke(line);
}

QPainterPath cross(QPointF center, double reach, double width) {
    const QPointF rising(reach, -reach);
    const QPointF falling(reach, reach);
    return unionOf(bar(center - falling, center + falling, width),
                   bar(center - rising, center + rising, width));
}

/// The mark of a warning: a stroke from `top` to `bottom` and a dot on `dotCenter`.
QPainterPath exclamationMark(double x, double top, double bottom, double dotCenter, double width) {
    const double dotRadius = width * 0.56;
    QPainterPath mark = bar({x, top + width / 2}, {x, bottom - width / 2}, width);
    mark.addPath(disc({x, dotCenter}, dotRadius));
    return mark;
}

QPainterPath exclamationmarkTriangleFill() {
    constexpr double radius = 9;
    const QPolygonF core(
        {{50, 16.5}, {89, unit * 11 - radius}, {11, unit * 11 - radius}, {50, 16.5}});
    QPainterPath triangle;
    triangle.addPolygon(core);
    for (int side = 0; side < 3; ++side) {
        triangle = unionOf(triangle, bar(core[side], core[side + 1], 2 * radius));
    }
    // Holes that lie wholly inside need no cutting.
    triangle.addPath(exclamationMark(50, unit * 3.9, unit * 7, 74, 12));
    return triangle;
}

QPainterPath xmarkCircleFill() {
    QPainterPath circle = disc({50, 50}, 46);
    circle.addPath(cross({50, 50}, 16, 9.5));
    return circle;
}

QPainterPath docOnDoc() {
    constexpr double turn = unit * 2.2;
    QPainterPath back({unit * 7, unit * 1.5});
    back.lineTo(unit * 1.5 + turn / 2, unit * 1.5);
    back.arcTo(QRectF(unit * 1.5, unit * 1.5, turn, turn), 90, 90);
    back.lineTo(unit * 1.5, unit * 8.5 - turn / 2);
    back.arcTo(QRectF(unit * 1.5, unit * 8.5 - turn, turn, turn), 180, 90);
    back.lineTo(unit * 2.75, unit * 8.5);
    QPainterPath sheets = stroked(back);
    sheets.addPath(frame(QRectF(unit * 4, unit * 3, unit * 7, unit * 8), unit * 1.6));
    return sheets;
}

QPainterPath checkmark() {
    constexpr double width = 11;
    return unionOf(bar({14, 55}, {38, 79}, width), bar({38, 79}, {86, 23}, width));
}

constexpr QPointF badgeCenter{unit * 9.5, unit * 9.5};
constexpr double badgeRadius = unit * 2.5;

/// `ground` with a badge in front of its lower right corner; `glyph` is cut out of the badge.
QPainterPath badged(const QPainterPath& ground, const QPainterPath& glyph) {
    QPainterPath both = difference(ground, disc(badgeCenter, badgeRadius + gap));
    both.addPath(disc(badgeCenter, badgeRadius));
    both.addPath(glyph);
    return both;
}

QPainterPath noteTextBadgePlus() {
    QPainterPath note = frame(QRectF(unit, unit, unit * 9, unit * 9), unit * 2);
    note.addPath(bar({unit * 3.5, unit * 3.5}, {unit * 7.5, unit * 3.5}));
    note.addPath(bar({unit * 3.5, unit * 5.5}, {unit * 7.5, unit * 5.5}));
    note.addPath(bar({unit * 3.5, unit * 7.5}, {unit * 4.7, unit * 7.5}));
    constexpr double width = unit * 0.9;
    const QPointF across(unit, 0);
    const QPointF down(0, unit);
    return badged(note, unionOf(bar(badgeCenter - across, badgeCenter + across, width),
                                bar(badgeCenter - down, badgeCenter + down, width)));
}

QPainterPath personCropCircleBadgeExclamationmark() {
    const QPointF center(unit * 5.5, unit * 5.5);
    constexpr double radius = unit * 5.25;
    QPainterPath shoulders;
    shoulders.addEllipse(QPointF(center.x(), unit * 9.9), unit * 3.25, unit * 3.1);
    const QPainterPath inside = difference(disc(center, radius - unit), shoulders);
    QPainterPath person = disc(center, radius);
    person.addPath(inside);
    person.addPath(disc({center.x(), unit * 4.5}, unit * 1.65));
    return badged(person, exclamationMark(badgeCenter.x(), unit * 7.75, unit * 9.5, unit * 10.75,
                                          unit * 0.95));
}

QPainterPath laptopcomputerSlash() {
    QPainterPath laptop = frame(QRectF(unit * 2, unit * 2, unit * 8, unit * 6), unit * 1.5);
    laptop.addPath(bar({unit, unit * 9.5}, {unit * 11, unit * 9.5}));
    const QPointF begin(21, 7);
    const QPointF end(77, 93);
    QPainterPath crossedOut = difference(laptop, bar(begin, end, unit + 2 * gap));
    crossedOut.addPath(bar(begin, end));
    return crossedOut;
}

/// Built once, at first use: cutting takes up to a millisecond.
template <QPainterPath (*build)()>
const QPainterPath& outlineOf() {
    static const QPainterPath outline = [] {
        QPainterPath path = build();
        path.setFillRule(Qt::OddEvenFill);
        return path;
    }();
    return outline;
}

struct Symbol {
    std::string_view name;
    const QPainterPath& (*outline)();
};

constexpr std::array symbols{
    Symbol{"exclamationmark.triangle.fill", outlineOf<exclamationmarkTriangleFill>},
    Symbol{"xmark.circle.fill", outlineOf<xmarkCircleFill>},
    Symbol{"doc.on.doc", outlineOf<docOnDoc>},
    Symbol{"checkmark", outlineOf<checkmark>},
    Symbol{"note.text.badge.plus", outlineOf<noteTextBadgePlus>},
    Symbol{"person.crop.circle.badge.exclamationmark",
           outlineOf<personCropCircleBadgeExclamationmark>},
    Symbol{"laptopcomputer.slash", outlineOf<laptopcomputerSlash>},
};

QLatin1String nameOf(const Symbol& symbol) {
    return QLatin1String(symbol.name.data(), qsizetype(symbol.name.size()));
}

} // namespace

QPainterPath LumivaneSymbols::path(QStringView name) {
    for (const Symbol& symbol : symbols) {
        if (name == nameOf(symbol)) {
            return symbol.outline();
        }
    }
    return {};
}

QStringList LumivaneSymbols::names() {
    QStringList names;
    for (const Symbol& symbol : symbols) {
        names.append(nameOf(symbol));
    }
    return names;
}

} // namespace lumivane
