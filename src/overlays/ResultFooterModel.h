#pragma once

#include "overlays/OverlayPasteboard.h"
#include "overlays/ResultOverlayCopy.h"
#include "platform/Announcer.h"

#include <QObject>

namespace lumivane {

/// The line at the foot of a result panel: how to close it, and the copy button. Main thread only.
class ResultFooterModel final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString hint READ hint CONSTANT)
    Q_PROPERTY(bool offersCopy READ offersCopy CONSTANT)
    Q_PROPERTY(QString copiedText READ copiedText CONSTANT)
    Q_PROPERTY(bool didCopy READ didCopy NOTIFY didCopyChanged)
    Q_PROPERTY(QString buttonSymbol READ buttonSymbol NOTIFY didCopyChanged)
    Q_PROPERTY(QString buttonLabel READ buttonLabel NOTIFY didCopyChanged)
    Q_PROPERTY(QString buttonHelp READ buttonHelp NOTIFY didCopyChanged)

public:
    /// Pasteboard and announcer outlive it.
    ResultFooterModel(QString hint, ResultCopyState copyState, QString answer, AppSettings settings,
                      OverlayPasteboard& pasteboard, Announcer& announcer);

    const QString& hint() const { return m_hint; }

    bool offersCopy() const { return m_copyState == ResultCopyState::offersCopy; }

    const QString& copiedText() const { return ResultOverlayCopy::copiedToClipboard; }

    /// Stays so until the panel closes.
    bool didCopy() const { return m_didCopy; }

    QString buttonSymbol() const { return m_didCopy ? u"checkmark"_qs : u"doc.on.doc"_qs; }

    const QString& buttonLabel() const {
        return m_didCopy ? ResultOverlayCopy::copied : ResultOverlayCopy::copy;
    }

    QString buttonHelp() const;

    /// Copies the whole answer, code included.
    Q_INVOKABLE void copy();

Q_SIGNALS:
    void didCopyChanged();

private:
    QString m_hint;
    ResultCopyState m_copyState;
    QString m_answer;
    AppSettings m_settings;
    OverlayPasteboard& m_pasteboard;
    Announcer& m_announcer;
    bool m_didCopy = false;
};

} // namespace lumivane
