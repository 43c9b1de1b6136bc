#include "ContactSheet.h"

#include "domain/Vocabulary.h"

#include <QPainter>

#include <algorithm>
#include <stdexcept>

namespace lumivane::tools {

namespace {

constexpr int sheetWidth = 2460;
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

struct Section {
    QString heading;
    QStringList names;
};

const QString scaledPanel = u"panels/text-offers-copy-dark"_qs;

QStringList prefixed(const QString& prefix, QStringList names) {
    for (QString& name : names) {
        name.prepend(prefix);
    }
    return names;
}

/// Every background with every text colour.
QStringList styles(const QString& pattern) {
    QStringList names;
    for (const auto& style : tables::overlayBackgroundStyle) {
        for (const auto& color : tables::overlayTextColor) {
            names += pattern.arg(QString::fromUtf8(style.rawValue.data()),
                                 QString::fromUtf8(color.rawValue.data()));
        }
    }
    return names;
}

std::vector<Section> sections() {
    return {
        {u"Panels"_qs,
         prefixed(u"panels/"_qs,
                  {u"working-dark"_qs, u"working-slow-dark"_qs, u"choice-dark"_qs,
                   u"answers-dark"_qs, u"text-dark"_qs, u"text-offers-copy-dark"_qs,
                   u"text-just-copied-dark"_qs, u"error-dark"_qs, u"notes-status-dark"_qs,
                   u"login-required-dark"_qs, u"signed-out-before-capture-dark"_qs,
                   u"signed-out-after-upload-dark"_qs})},
        {u"Worked answers"_qs,
         prefixed(u"panels/"_qs, {u"leetcode-checked-dark"_qs, u"leetcode-unvalidated-dark"_qs})},
        {u"On a light desktop"_qs,
         prefixed(u"panels/"_qs,
                  {u"working-light"_qs, u"choice-light"_qs, u"text-offers-copy-light"_qs,
                   u"error-light"_qs, u"notes-status-light"_qs, u"login-required-light"_qs,
                   u"leetcode-unvalidated-light"_qs})},
        {u"Without transparency"_qs,
         prefixed(u"solid/"_qs, {u"working-light"_qs, u"text-offers-copy-light"_qs,
                                 u"error-light"_qs, u"login-required-light"_qs})},
        {u"Difficult texts"_qs,
         prefixed(u"texts/"_qs,
                  {u"choice-20-characters"_qs, u"choice-20-wide"_qs, u"choice-letters"_qs,
                   u"text-empty"_qs, u"text-long-word"_qs, u"text-hebrew"_qs, u"text-arabic"_qs,
                   u"text-chinese"_qs, u"text-emoji"_qs, u"answers-5000-characters"_qs,
                   u"error-300-characters-large"_qs, u"notes-status-long"_qs})},
        {u"Long worked answers"_qs, prefixed(u"texts/"_qs, {u"leetcode-title-300-characters"_qs,
                                                            u"leetcode-40000-characters"_qs})},
        {u"Backgrounds and text colours"_qs, styles(u"styles/text-%1-%2-dark-medium"_qs)},
        {u"On a light desktop"_qs, styles(u"styles/working-%1-%2-light"_qs)},
    };
}

struct Tile {
    QRect area; ///< of the picture; the caption stands under it
    QString caption;
    QString file; ///< empty: a heading
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
            if (tile.file.isEmpty()) {
                continue;
            }
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

/// Leaves out what nobody sees on a sheet; it is a fifth smaller then.
void coarsen(QImage& image) {
    constexpr QRgb kept = 0xFFFCFCFC;
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = line[x] & kept;
            line[x] = pixel | ((pixel >> 6) & ~kept);
        }
    }
}

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

QImage contactSheet(const QString& folder, const QStringList& names,
                    const std::vector<double>& scales) {
    Layout layout;
    for (Section section : sections()) {
        section.names.removeIf([&names](const QString& name) { return !names.contains(name); });
        if (!section.names.isEmpty()) {
            layout.addHeading(section.heading);
        }
        for (const QString& name : section.names) {
            layout.addPicture(name, picturePath(folder, name, scales.front()));
        }
    }
    if (names.contains(scaledPanel) && scales.size() > 1) {
        layout.addHeading(u"Pixels per point"_qs);
        for (const double scale : scales) {
            layout.addPicture(QString::number(scale), picturePath(folder, scaledPanel, scale));
        }
    }
    QImage sheet(layout.finish(), QImage::Format_RGB32);
    sheet.fill(paper);
    QPainter painter(&sheet);
    for (const Tile& tile : layout.tiles()) {
        draw(painter, tile);
    }
    painter.end();
    coarsen(sheet);
    return sheet;
}

} // namespace lumivane::tools
