#include "overlays/qml/StyledDocument.h"

#include <QFontDatabase>
#include <QQuickItem>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <cmath>

namespace lumivane {

namespace {

void setWeight(QTextCharFormat& format, const StyledRun& run) {
    if (run.weight == StyledRun::Weight::heavy) {
        format.setFontWeight(QFont::ExtraBold);
    } else if (run.weight == StyledRun::Weight::bold || run.isStrong) {
        format.setFontWeight(QFont::Bold);
    }
}

QTextCharFormat charFormat(const StyledRun& run, int detail, const QColor& codeBackground) {
    QTextCharFormat format;
    setWeight(format, run);
    if (run.isEmphasized) {
        format.setFontItalic(true);
    }
    if (run.isStruckThrough) {
        format.setFontStrikeOut(true);
    }
    if (run.isCode) {
        format.setFontFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
        format.setFontFixedPitch(true);
        if (codeBackground.alpha() > 0) {
            format.setBackground(codeBackground);
        }
    }
    if (run.pointSize > 0) {
        format.setProperty(QTextFormat::FontPixelSize,
                           static_cast<int>(std::lround(run.pointSize * detail)));
    }
    return format;
}

/// The field would give all paragraphs the direction of the first one.
void formatParagraphs(QTextDocument& document, double lineSpacing) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QTextBlockFormat format;
        format.setLineHeight(lineSpacing, QTextBlockFormat::LineDistanceHeight);
        format.setLayoutDirection(block.text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
        format.setAlignment(Qt::AlignLeft); // of a text from right to left, this is its right
        QTextCursor(block).setBlockFormat(format);
    }
}

} // namespace

void StyledDocument::setDocument(QQuickTextDocument* document) {
    m_document = document;
    change();
}

void StyledDocument::setText(const StyledText& text) {
    m_text = text;
    change();
}

void StyledDocument::setPlainText(const QString& text) {
    setText(StyledText{{StyledRun{.text = text}}});
}

void StyledDocument::setLineSpacing(double lineSpacing) {
    m_lineSpacing = lineSpacing;
    change();
}

void StyledDocument::setDetail(int detail) {
    m_detail = detail;
    change();
}

void StyledDocument::setCodeBackground(const QColor& codeBackground) {
    m_codeBackground = codeBackground;
    change();
}

void StyledDocument::componentComplete() {
    m_isComplete = true;
    write();
}

void StyledDocument::change() {
    if (m_isComplete) {
        write();
    }
    Q_EMIT changed();
}

void StyledDocument::write() {
    if (!m_document) {
        return;
    }
    QTextDocument* document = m_document->textDocument();
    document->setUndoRedoEnabled(false);
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.select(QTextCursor::Document);
    cursor.removeSelectedText();
    for (const StyledRun& run : m_text.runs) {
        cursor.insertText(run.text, charFormat(run, m_detail, m_codeBackground));
    }
    formatParagraphs(*document, m_lineSpacing * m_detail);
    cursor.endEditBlock();
    // Only what is seen of it is made into drawing, and the rest as it is scrolled to.
    if (auto* field = qobject_cast<QQuickItem*>(m_document->parent())) {
        field->setFlag(QQuickItem::ItemObservesViewport);
    }
    Q_EMIT written();
}

} // namespace lumivane
