#include "IconDrawing.h"

#include "ui/identity/LumivaneIdentityGeometry.h"
#include "ui/identity/LumivaneMark.h"
#include "ui/identity/LumivaneTheme.h"
#include "ui/identity/PaintColor.h"

#include <QPainter>
#include <QString>

namespace lumivane {

namespace {

// In units of the mark's grid, which is the icon's as well.
constexpr double grid = LumivaneIdentityGeometry::gridSize;
constexpr double tileInset = 1;
constexpr double tileRadius = 9;
constexpr double borderWidth = 0.5;
constexpr double markInset = 7;

constexpr QRectF tile{tileInset, tileInset, grid - 2 * tileInset, grid - 2 * tileInset};
constexpr QRectF markPlace{markInset, markInset, grid - 2 * markInset, grid - 2 * markInset};

QString number(double value) { return QString::number(value, 'g', 9); }

QString name(const ThemeColor& color) {
    return paintColor(color.resolved(Appearance::light)).name();
}

/// A path in the words of SVG. Curves come as three elements each.
QString pathData(const QPainterPath& path) {
    QString data;
    for (int index = 0; index < path.elementCount(); ++index) {
        const QPainterPath::Element element = path.elementAt(index);
        if (element.isMoveTo()) {
            data += u'M';
        } else if (element.isLineTo()) {
            data += u'L';
        } else if (element.isCurveTo()) {
            data += u'C';
        } else {
            data += u' ';
        }
        data += number(element.x) + u' ' + number(element.y);
    }
    return data;
}

QString tileElement() {
    return uR"(<rect x="%1" y="%1" width="%2" height="%2" rx="%3" fill="%4" stroke="%5" )"
           R"(stroke-width="%6"/>)"_qs.arg(number(tile.x()), number(tile.width()),
                                           number(tileRadius), name(LumivaneTheme::surfaceCard),
                                           name(LumivaneTheme::surfaceCardBorder),
                                           number(borderWidth));
}

QString ringElement() {
    return uR"(<path d="%1" fill="none" stroke="%2" stroke-width="%3" stroke-linecap="round" )"
           R"(stroke-linejoin="round"/>)"_qs.arg(
               pathData(LumivaneIdentityGeometry::ringPath(LumivaneMarkCut::standard)),
               name(LumivaneTheme::markStem), number(LumivaneMonochromeMark::lineWidth));
}

QString pupilElement() {
    return uR"(<circle cx="%1" cy="%1" r="%2" fill="%3"/>)"_qs.arg(
        number(grid / 2), number(LumivaneMonochromeMark::pupilDiameter / 2),
        name(LumivaneTheme::markPupil));
}

} // namespace

QByteArray IconDrawing::svg() {
    const QString text =
        uR"svg(<svg xmlns="http://www.w3.org/2000/svg" width="%1" height="%1" viewBox="0 0 %1 %1">
  %2
  <g transform="translate(%3 %3) scale(%4)">
    %5
    %6
  </g>
</svg>
)svg"_qs.arg(number(grid), tileElement(), number(markInset), number(markPlace.width() / grid),
             ringElement(), pupilElement());
    return text.toUtf8();
}

QImage IconDrawing::image(int edge) {
    QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(edge / grid, edge / grid);
    painter.setPen(QPen(paintColor(LumivaneTheme::surfaceCardBorder.resolved(Appearance::light)),
                        borderWidth));
    painter.setBrush(paintColor(LumivaneTheme::surfaceCard.resolved(Appearance::light)));
    painter.drawRoundedRect(tile, tileRadius, tileRadius);
    LumivaneMark::draw(painter, markPlace, Appearance::light);
    return image;
}

} // namespace lumivane
