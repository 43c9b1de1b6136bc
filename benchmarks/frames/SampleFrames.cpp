#include "frames/SampleFrames.h"

#include "frames/SampleText.h"

#include <QColor>
#include <QFont>
#include <QFontMetricsF>
#include <QPainter>

namespace lumivane::bench {

namespace {

constexpr int widthInPoints = 1440;
constexpr int heightInPoints = 900;
constexpr int lowestBaseline = 885;

struct Palette {
    QColor page;
    QColor panel;
    QColor text;
    QColor faint;
    QColor accent;
};

Palette paletteFor(FrameTheme theme) {
    if (theme == FrameTheme::dark) {
        return {QColor(30, 30, 30), QColor(43, 45, 48), QColor(212, 212, 212),
                QColor(160, 160, 160), QColor(120, 170, 240)};
    }
    return {QColor(255, 255, 255), QColor(243, 244, 246), QColor(28, 28, 30), QColor(96, 98, 104),
            QColor(20, 80, 180)};
}

QFont fontOf(const char* family, int pixelSize, QFont::Weight weight = QFont::Normal) {
    QFont font{QString::fromLatin1(family)};
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

/// Paints lines and notes each one down.
class FramePainter {
public:
    FramePainter(SampleFrame& frame, const Palette& colors)
        : colors(colors)
        , m_frame(frame)
        , m_painter(&frame.image) {
        m_painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        m_painter.scale(frame.scale, frame.scale);
    }

    void line(QPointF baseline, const QString& text, const QFont& font, const QColor& color) {
        if (text.trimmed().isEmpty() || baseline.y() > lowestBaseline) {
            return;
        }
        m_painter.setFont(font);
        m_painter.setPen(color);
        m_painter.drawText(baseline, text);
        m_frame.knownText.append(text.trimmed());
    }

    void fill(const QRectF& area, const QColor& color) { m_painter.fillRect(area, color); }

    /// A paragraph broken at blanks; returns the baseline of the line after it.
    double paragraph(QPointF baseline, double width, const QString& text, const QFont& font) {
        const QFontMetricsF metrics(font);
        QString current;
        for (const QString& word : text.split(u' ')) {
            const QString longer = current.isEmpty() ? word : current + u' ' + word;
            if (metrics.horizontalAdvance(longer) > width) {
                line(baseline, current, font, colors.text);
                baseline.ry() += metrics.height() * 1.25;
                current = word;
            } else {
                current = longer;
            }
        }
        line(baseline, current, font, colors.text);
        return baseline.y() + metrics.height() * 1.25;
    }

    const Palette colors;

private:
    SampleFrame& m_frame;
    QPainter m_painter;
};

void windowBar(FramePainter& painter, const QString& title) {
    painter.fill({0, 0, widthInPoints, 40}, painter.colors.panel);
    painter.line({24, 26}, title, fontOf("DejaVu Sans", 14, QFont::Bold), painter.colors.text);
}

void paintDocument(FramePainter& painter) {
    windowBar(painter, u"Annual survey of the estuary"_qs);
    const QFont heading = fontOf("Liberation Serif", 26, QFont::Bold);
    const QFont body = fontOf("Liberation Serif", 18);
    double y = 100;
    for (int section = 0; section < 3; ++section) {
        const QString title = u"%1. Findings of group %2"_qs.arg(section + 1).arg(section + 4);
        painter.line({270, y}, title, heading, painter.colors.text);
        y = painter.paragraph({270, y + 36}, 900, prose(section, 6), body) + 30;
    }
}

void paintColumns(FramePainter& painter, int count, int pixelSize) {
    windowBar(painter, u"The Valley Courier, morning edition"_qs);
    const QFont heading = fontOf("Liberation Sans", pixelSize + 6, QFont::Bold);
    const QFont body = fontOf("Liberation Sans", pixelSize);
    const double gutter = 60;
    const double width = (widthInPoints - gutter * (count + 1)) / count;
    for (int column = 0; column < count; ++column) {
        const double x = gutter + column * (width + gutter);
        double y = 84;
        for (int item = 0; y < 720; ++item) {
            const int start = column * 7 + item;
            painter.line({x, y}, u"Report %1 from ward %2"_qs.arg(start + 11).arg(item + 3),
                         heading, painter.colors.text);
            y = painter.paragraph({x, y + pixelSize * 2}, width, prose(start, 5), body) + 24;
        }
    }
}

void paintLines(FramePainter& painter, const QString& title, const QStringList& lines, double x,
                double pitch) {
    windowBar(painter, title);
    double y = 70;
    for (const QString& line : lines) {
        const qsizetype indent = line.size() - line.trimmed().size();
        const QFont font = fontOf("DejaVu Sans Mono", 14);
        const double left = x + QFontMetricsF(font).horizontalAdvance(u' ') * indent;
        painter.line({left, y}, line.trimmed(), font, painter.colors.text);
        y += pitch;
    }
}

void paintCards(FramePainter& painter) {
    const std::array<std::array<QStringView, 3>, 4> cards{{
        {u"Active meters", u"18,452", u"312 more than last week"},
        {u"Median response", u"184 ms", u"target below 250 ms"},
        {u"Open incidents", u"7", u"two need an answer today"},
        {u"Storage in use", u"63.8%", u"grows by 1.2% a month"},
    }};
    double x = 40;
    for (const auto& card : cards) {
        painter.fill({x, 70, 325, 140}, painter.colors.panel);
        painter.line({x + 20, 102}, card[0].toString(), fontOf("DejaVu Sans", 14),
                     painter.colors.faint);
        painter.line({x + 20, 152}, card[1].toString(), fontOf("DejaVu Sans", 34, QFont::Bold),
                     painter.colors.text);
        painter.line({x + 20, 188}, card[2].toString(), fontOf("DejaVu Sans", 13),
                     painter.colors.accent);
        x += 345;
    }
}

void paintTable(FramePainter& painter) {
    const std::array columns{40, 330, 560, 760, 1010, 1220};
    const std::array<std::array<QStringView, 6>, 13> rows{{
        {u"Station", u"Region", u"Status", u"Last reading", u"Level", u"Operator"},
        {u"Northgate lock", u"Upper valley", u"Normal", u"12 March, 08:40", u"3.42 m", u"Ferreira"},
        {u"Mill pond", u"Upper valley", u"Normal", u"12 March, 08:41", u"1.07 m", u"Lindqvist"},
        {u"Old weir", u"Upper valley", u"Warning", u"12 March, 08:39", u"4.95 m", u"Ferreira"},
        {u"Quarry basin", u"Lower valley", u"Normal", u"12 March, 08:40", u"2.18 m", u"Okonkwo"},
        {u"Chapel bridge", u"Lower valley", u"Offline", u"10 March, 23:15", u"none", u"Okonkwo"},
        {u"Saltmarsh gate", u"Coast", u"Normal", u"12 March, 08:42", u"0.63 m", u"Takahashi"},
        {u"Pilot house", u"Coast", u"Warning", u"12 March, 08:42", u"5.21 m", u"Takahashi"},
        {u"East mole", u"Coast", u"Normal", u"12 March, 08:41", u"2.77 m", u"Lindqvist"},
        {u"Ferry stairs", u"Harbour", u"Normal", u"12 March, 08:38", u"2.75 m", u"Marchetti"},
        {u"Customs quay", u"Harbour", u"Normal", u"12 March, 08:40", u"2.74 m", u"Marchetti"},
        {u"Drydock sump", u"Harbour", u"Service", u"11 March, 16:05", u"0.12 m", u"Okonkwo"},
        {u"Lantern rock", u"Open water", u"Normal", u"12 March, 08:42", u"6.08 m", u"Takahashi"},
    }};
    double y = 270;
    for (const auto& row : rows) {
        const bool isHeader = &row == rows.data();
        painter.fill({40, y + 14, 1360, 1}, painter.colors.panel);
        for (std::size_t i = 0; i < row.size(); ++i) {
            painter.line({columns[i] + 10.0, y}, row[i].toString(),
                         fontOf("DejaVu Sans", 14, isHeader ? QFont::Bold : QFont::Normal),
                         isHeader ? painter.colors.faint : painter.colors.text);
        }
        y += 42;
    }
}

QString nameOf(FrameKind kind, FrameTheme theme, int scale) {
    constexpr std::array names{"document", "two-columns", "three-columns",
                               "code",     "terminal",    "dashboard"};
    return u"%1-%2-%3x"_qs
        .arg(QLatin1String(names[static_cast<std::size_t>(kind)]),
             theme == FrameTheme::dark ? u"dark"_qs : u"light"_qs)
        .arg(scale);
}

} // namespace

SampleFrame paintSampleFrame(FrameKind kind, FrameTheme theme, int scale) {
    SampleFrame frame{nameOf(kind, theme, scale),
                      QImage(widthInPoints * scale, heightInPoints * scale, QImage::Format_RGB32),
                      scale,
                      {}};
    const Palette colors = paletteFor(theme);
    frame.image.fill(colors.page);
    FramePainter painter(frame, colors);
    switch (kind) {
    case FrameKind::document:
        paintDocument(painter);
        break;
    case FrameKind::twoColumns:
        paintColumns(painter, 2, 15);
        break;
    case FrameKind::threeColumns:
        paintColumns(painter, 3, 13);
        break;
    case FrameKind::code:
        paintLines(painter, u"account.cpp - ledger"_qs, sourceCode(), 60, 19);
        break;
    case FrameKind::terminal:
        paintLines(painter, u"Terminal"_qs, shellSession(), 20, 24);
        break;
    case FrameKind::dashboard:
        windowBar(painter, u"Water board overview"_qs);
        paintCards(painter);
        paintTable(painter);
        break;
    }
    return frame;
}

} // namespace lumivane::bench
