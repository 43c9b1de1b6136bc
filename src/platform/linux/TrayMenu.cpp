#include "platform/linux/TrayMenu.h"

#include <QGuiApplication>
#include <QScreen>

#include <utility>

namespace lumivane {

namespace {

/// What the toolkit would take for the mark of an access key is a character of the title.
QString actionText(QString title) { return title.replace(u'&', u"&&"_qs); }

} // namespace

TrayMenu::TrayMenu(TrayEvents events)
    : m_events(std::move(events)) {}

void TrayMenu::open(const QRect& icon) {
    m_events.menuWillOpen();
    rebuild();
    if (isEmpty()) {
        return;
    }
    const QPoint below(icon.x(), icon.y() + icon.height());
    const int height = sizeHint().height();
    const QScreen* screen = QGuiApplication::screenAt(icon.topLeft());
    const bool fitsBelow =
        screen == nullptr || below.y() + height <= screen->geometry().bottom() + 1;
    popup(fitsBelow ? below : QPoint(icon.x(), icon.y() - height));
}

void TrayMenu::rebuild() {
    clear();
    for (const StatusMenuItem& item : m_events.menuItems()) {
        if (item.title.isEmpty()) {
            addSeparator();
            continue;
        }
        QAction* line = addAction(actionText(item.title));
        line->setEnabled(item.enabled);
        if (item.action) {
            connect(line, &QAction::triggered, this, item.action);
        }
    }
}

} // namespace lumivane
