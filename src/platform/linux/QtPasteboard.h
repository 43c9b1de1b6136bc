#pragma once

#include "platform/LumivanePasteboard.h"

#include <QObject>
#include <QPointer>

class QClipboard;
class QMimeData;

namespace lumivane {

/// The desktop's clipboard through the toolkit.
///
/// The transient mark goes out under two names: the one that clipboard managers agreed on, and
/// the older one that Linux desktops honour for passwords.
class QtPasteboard final : public QObject, public LumivanePasteboard {
public:
    /// `clipboard` outlives the pasteboard.
    explicit QtPasteboard(QClipboard& clipboard);

    std::int64_t changeCount() const override { return m_changeCount; }

    void clear() override;
    void setString(const QString& text, PasteboardType type) override;

private:
    QMimeData& ownContents();

    QClipboard& m_clipboard;
    QPointer<QMimeData> m_contents; ///< what the last `clear` began; the clipboard owns it
    std::int64_t m_changeCount = 0;
};

} // namespace lumivane
