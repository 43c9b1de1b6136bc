#include "platform/linux/QtPasteboard.h"

#include <QClipboard>
#include <QMimeData>

namespace lumivane {

QtPasteboard::QtPasteboard(QClipboard& clipboard)
    : m_clipboard(clipboard) {
    connect(&m_clipboard, &QClipboard::dataChanged, this, [this] { ++m_changeCount; });
}

void QtPasteboard::clear() {
    auto* contents = new QMimeData;
    m_contents = contents;
    m_clipboard.setMimeData(contents);
}

void QtPasteboard::setString(const QString& text, PasteboardType type) {
    // Other clients are served from the event loop, so forms added to the contents in place are
    // all there before anyone asks: no copy is ever seen without its mark.
    QMimeData& contents = ownContents();
    if (type == PasteboardType::string) {
        contents.setText(text);
        return;
    }
    contents.setData(u"org.nspasteboard.TransientType"_qs, text.toUtf8());
    contents.setData(u"x-kde-passwordManagerHint"_qs, QByteArrayLiteral("secret"));
}

QMimeData& QtPasteboard::ownContents() {
    if (!m_contents) { // never begun, or taken over by another program since
        clear();
    }
    return *m_contents;
}

} // namespace lumivane
