#include "overlays/OverlayPasteboard.h"

namespace lumivane {

void OverlayPasteboard::copy(const QString& answer, const AppSettings& settings) {
    const QString value = settings.clipboardValue(answer);
    m_pasteboard.clear();
    m_pasteboard.setString(value, PasteboardType::string);
    m_pasteboard.setString(QString(), PasteboardType::transient);
    Q_EMIT didWrite(m_pasteboard.changeCount());
}

} // namespace lumivane
