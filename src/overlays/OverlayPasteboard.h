#pragma once

#include "domain/AppSettings.h"
#include "platform/LumivanePasteboard.h"

#include <QObject>
#include <QString>

namespace lumivane {

/// Copies that the user asks for at a panel. Main thread only.
class OverlayPasteboard final : public QObject {
    Q_OBJECT

public:
    /// `pasteboard` outlives it.
    explicit OverlayPasteboard(LumivanePasteboard& pasteboard)
        : m_pasteboard(pasteboard) {}

    /// Copies what the settings make of the answer, marked as transient for clipboard managers.
    void copy(const QString& answer, const AppSettings& settings);

Q_SIGNALS:
    /// Tells the pasteboard's change count after the writes.
    void didWrite(qint64 changeCount);

private:
    LumivanePasteboard& m_pasteboard;
};

} // namespace lumivane
