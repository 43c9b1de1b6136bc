#include "overlays/qml/SolutionDocument.h"

#include <QFontDatabase>
#include <QTextCursor>
#include <QTextDocument>

namespace lumivane {

namespace {

QFont::Weight fontWeight(const StyledRun& run) {
    switch (run.weight) {
    case StyledRun::Weight::heavy:
        return QFont::ExtraBold;
    case StyledRun::Weight::bold:
        return QFont::Bold;
    case StyledRun::Weight::regular:
        break;
    }
    return run.isStrong ? QFont::Bold : QFont::Medium;
}

QTextCharFormat charFormat(const StyledRun& run, int detail) {
    QTextCharFormat format;
    format.setFontWeight(fontWeight(run));
    format.setFontItalic(run.isEmphasized);
    format.setFontStrikeOut(run.isStruckThrough);
    if (run.isCode) {
        format.setFontFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
    }
    if (run.pointSize > 0) {
        format.setProperty(QTextFormat::FontPixelSize, qRound(run.pointSize * detail));
    }
    return format;
}

} // namespace

void SolutionDocument::setDocument(QQuickTextDocument* document) {
    m_document = document;
    write();
    Q_EMIT changed();
}

void SolutionDocument::setText(const StyledText& text) {
    m_text = text;
    write();
    Q_EMIT changed();
}

void SolutionDocument::setDetail(int detail) {
    m_detail = detail;
    write();
    Q_EMIT changed();
}

void SolutionDocument::write() {
    if (!m_document || m_text.runs.empty()) {
        return;
    }
    QTextDocument* document = m_document->textDocument();
    document->setUndoRedoEnabled(false);
    QTextCursor cursor(document);
    cursor.beginEditBlock();
    cursor.select(QTextCursor::Document);
    cursor.removeSelectedText();
    for (const StyledRun& run : m_text.runs) {
        cursor.insertText(run.text, charFormat(run, m_detail));
    }
    cursor.endEditBlock();
}

} // namespace lumivane
