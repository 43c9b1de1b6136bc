#include "platform/linux/EmbeddedIcon.h"

#include <QApplication>
#include <QIcon>
#include <QPixmap>
#include <QWidget>

#include <utility>

namespace lumivane {

namespace {

/// The toolkit keeps the window in the tray to itself, so assistive technology would find it
/// without a name.
void nameWindows(const QString& label, const QString& value) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->inherits("QSystemTrayIconSys")) {
            window->setAccessibleName(label);
            window->setAccessibleDescription(value);
        }
    }
}

} // namespace

EmbeddedIcon::EmbeddedIcon(TrayEvents events)
    : m_events(std::move(events))
    , m_icon(new QSystemTrayIcon) {
    connect(m_icon, &QSystemTrayIcon::activated, this, &EmbeddedIcon::activated);
}

EmbeddedIcon::~EmbeddedIcon() {
    m_icon->disconnect(this);
    m_icon->hide();
    m_icon->deleteLater();
}

void EmbeddedIcon::show(const TrayContents& contents) {
    QIcon picture;
    for (const QImage& image : contents.images) {
        picture.addPixmap(QPixmap::fromImage(image));
    }
    m_icon->setIcon(picture);
    m_icon->setToolTip(contents.toolTip);
    m_icon->show();
    nameWindows(contents.label, contents.value);
}

void EmbeddedIcon::activated(QSystemTrayIcon::ActivationReason reason) {
    // Called by copies: what they reach may let this icon go.
    const TrayEvents events = m_events;
    switch (reason) {
    case QSystemTrayIcon::Trigger:
    case QSystemTrayIcon::DoubleClick: // the second of two quick clicks
        events.clicked(QApplication::keyboardModifiers().testFlag(Qt::ControlModifier)
                           ? ClickModifier::control
                           : ClickModifier::none);
        break;
    case QSystemTrayIcon::Context:
        events.menuWanted();
        break;
    default:
        break;
    }
}

} // namespace lumivane
