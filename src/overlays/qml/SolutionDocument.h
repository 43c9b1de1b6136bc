#pragma once

#include "overlays/StyledText.h"

#include <QObject>
#include <QPointer>
#include <QQuickTextDocument>
#include <QtQml/qqmlregistration.h>

namespace lumivane {

/// Writes a styled text into the document of a text field. Nothing passes through markup, so that
/// an answer cannot smuggle any in.
class SolutionDocument : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickTextDocument* document MEMBER m_document WRITE setDocument NOTIFY changed)
    Q_PROPERTY(lumivane::StyledText text MEMBER m_text WRITE setText NOTIFY changed)
    Q_PROPERTY(int detail MEMBER m_detail WRITE setDetail NOTIFY changed)

public:
    using QObject::QObject;

    void setDocument(QQuickTextDocument* document);
    void setText(const StyledText& text);

    /// How many pixels of the field a point of the text takes.
    void setDetail(int detail);

Q_SIGNALS:
    void changed();

private:
    void write();

    QPointer<QQuickTextDocument> m_document;
    StyledText m_text;
    int m_detail = 1;
};

} // namespace lumivane
