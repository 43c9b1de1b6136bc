#include "ContactSheet.h"

#include <QPainter>

#include <algorithm>
#include <stdexcept>

namespace lumivane::tools {

namespace {

constexpr int sheetWidth = 2440;
constexpr int gap = 20;
constexpr int captionHeight = 22;
constexpr int headingHeight = 56;
constexpr QColor paper(0xEC, 0xEE, 0xF0);
constexpr QColor ink(0x22, 0x26, 0x2B);

QFont font(int pixelSize, QFont::Weight weight) {
    QFont font(u"DejaVu Sans"_qs);
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

struct Tile {
    QRect area; ///< of the picture; the caption stands under it
    QString caption;
    QString file; ///< empty: a heading

    QSize size() const { return area.size(); }
};

QImage read(const QString& file) {
    QImage image(file);
    if (image.isNull()) {
        throw std::runtime_error(u"cannot read %1"_qs.arg(file).toStdString());
    }
    image.setDevicePixelRatio(1);
    return image;
}

/// Puts pictures into rows from the top left, row under row.
class Layout {
public:
    void addHeading(const QString& words) {
        endRow();
        m_tiles.push_back({QRect(gap, m_y, sheetWidth - 2 * gap, headingHeight), words, {}});
        m_y += headingHeight;
    }

    void addPicture(const QString& caption, const QString& file) {
        const QSize size = read(file).size();
        if (m_x > gap && m_x + size.width() + gap > sheetWidth) {
            endRow();
        }
        m_tiles.push_back({QRect(QPoint(m_x, m_y), size), caption, file});
        m_x += size.width() + gap;
        m_rowHeight = std::max(m_rowHeight, size.height() + captionHeight + gap);
    }

    QSize finish() {
        endRow();
        int width = 0;
        for (const Tile& tile : m_tiles) {
            width = std::max(width, tile.area.right() + 1 + gap);
        }
        return {width, m_y};
    }

    const std::vector<Tile>& tiles() const { return m_tiles; }

private:
    void endRow() {
        m_x = gap;
        m_y += m_rowHeight;
        m_rowHeight = 0;
    }

    std::vector<Tile> m_tiles;
    int m_x = gap;
    int m_y = gap;
    int m_rowHeight = 0;
};

void draw(QPainter& painter, const Tile& tile) {
    painter.setPen(ink);
    if (tile.file.isEmpty()) {
        painter.setFont(font(26, QFont::DemiBold));
        painter.drawText(tile.area, Qt::AlignLeft | Qt::AlignVCenter, tile.caption);
        return;
    }
    painter.drawImage(tile.area.topLeft(), read(tile.file));
    painter.setFont(font(13, QFont::Normal));
    const QRect below(tile.area.left(), tile.area.bottom() + 1, tile.area.width(), captionHeight);
    painter.drawText(below, Qt::AlignLeft | Qt::AlignVCenter, tile.caption);
}

} // namespace

QString picturePath(const QString& folder, const QString& specimenName, double scale) {
    return u"%1/%2x/%3.png"_qs.arg(folder, QString::number(scale), specimenName);
}

QImage contactSheet(const QString& folder, const std::vector<Specimen>& specimens,
                    const std::vector<double>& scales) {
    Layout layout;
    QString group;
    for (const Specimen& specimen : specimens) {
        if (!specimen.isOnSheet) {
            continue;
        }
        const QString its = specimen.name.section(u'/', 0, 0);
        if (its != group) {
            group = its;
            layout.addHeading(group);
        }
        layout.addPicture(specimen.name.section(u'/', 1),
                          picturePath(folder, specimen.name, scales.front()));
    }
    layout.addHeading(u"scales"_qs);
    for (const double scale : scales) {
        layout.addPicture(u"%1 pixels per point"_qs.arg(scale),
                          picturePath(folder, scaledSpecimen, scale));
    }
    QImage sheet(layout.finish(), QImage::Format_RGB32);
    sheet.fill(paper);
    QPainter painter(&sheet);
    for (const Tile& tile : layout.tiles()) {
        draw(painter, tile);
    }
    return sheet;
}

} // namespace lumivane::tools
