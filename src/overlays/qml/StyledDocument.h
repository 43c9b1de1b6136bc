#pragma once

#include "overlays/StyledText.h"

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QQmlParserStatus>
#include <QQuickTextDocument>
#include <QtQml/qqml.h>

namespace lumivane {

/// Writes a text into the document of a text field, paragraph by paragraph, so that each is
/// aligned by the direction of its own script. Nothing passes through markup: no answer can
/// smuggle any in.
class StyledDocument : public QObject, public QQmlParserStatus {
    Q_OBJECT
    QML_ELEMENT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(QQuickTextDocument* document READ document WRITE setDocument NOTIFY changed)
    Q_PROPERTY(lumivane::StyledText text READ text WRITE setText NOTIFY changed)
    Q_PROPERTY(QString plainText READ plainText WRITE setPlainText NOTIFY changed)
    Q_PROPERTY(double lineSpacing READ lineSpacing WRITE setLineSpacing NOTIFY changed)
    Q_PROPERTY(int detail READ detail WRITE setDetail NOTIFY changed)
    Q_PROPERTY(QColor codeBackground READ codeBackground WRITE setCodeBackground NOTIFY changed)

public:
    using QObject::QObject;

    QQuickTextDocument* document() const { return m_document; }

    void setDocument(QQuickTextDocument* document);

    const StyledText& text() const { return m_text; }

    void setText(const StyledText& text);

    QString plainText() const { return m_text.plainText(); }

    void setPlainText(const QString& text);

    /// The extra space between two lines, in points.
    double lineSpacing() const { return m_lineSpacing; }

    void setLineSpacing(double lineSpacing);

    /// How many pixels of the field a point takes.
    int detail() const { return m_detail; }

    void setDetail(int detail);

    /// Painted behind code; nothing where it is transparent.
    const QColor& codeBackground() const { return m_codeBackground; }

    void setCodeBackground(const QColor& codeBackground);

    void classBegin() override {}

    void componentComplete() override;

Q_SIGNALS:
    void changed();
    /// The document holds the text.
    void written();

private:
    void change();
    void write();

    QPointer<QQuickTextDocument> m_document;
    StyledText m_text;
    double m_lineSpacing = 0;
    int m_detail = 1;
    QColor m_codeBackground{Qt::transparent};
    bool m_isComplete = false;
};

} // namespace lumivane
