#include "platform/linux/TrayStatusItem.h"

#include "platform/linux/EmbeddedIcon.h"
#include "platform/linux/NotifierIcon.h"

#include <QCursor>
#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QPointer>

#include <utility>

namespace lumivane {

namespace {

const auto watcherService = u"org.kde.StatusNotifierWatcher"_qs;
const auto watcherPath = u"/StatusNotifierWatcher"_qs;

bool isSilence(QDBusError::ErrorType error) {
    return error == QDBusError::NoReply || error == QDBusError::TimedOut ||
           error == QDBusError::Timeout;
}

} // namespace

TrayStatusItem::TrayStatusItem(const QDBusConnection& sessionBus)
    : m_bus(sessionBus)
    , m_appearance(sessionBus)
    , m_menu(new TrayMenu(events())) {
    connect(&m_appearance, &TrayAppearance::changed, this, [this] {
        if (const auto onChange = onAppearanceChange) {
            onChange();
        }
    });
    // Without the watcher's name: with it the toolkit would wait for the bus to say who has it.
    for (const auto& signal :
         {u"StatusNotifierHostRegistered"_qs, u"StatusNotifierHostUnregistered"_qs}) {
        m_bus.connect(QString(), watcherPath, watcherService, signal, this, SLOT(followHosts()));
    }
    m_bus.connect(u"org.freedesktop.DBus"_qs, u"/org/freedesktop/DBus"_qs,
                  u"org.freedesktop.DBus"_qs, u"NameOwnerChanged"_qs, {watcherService}, QString(),
                  this, SLOT(followWatcher(QString, QString, QString)));
    lookForTray();
}

TrayStatusItem::~TrayStatusItem() {
    m_menu->disconnect();
    m_menu->close();
}

void TrayStatusItem::followWatcher(const QString&, const QString&, const QString&) {
    // Whoever comes now has not heard of the icon yet.
    moveTo(Kind::none);
    lookForTray();
}

void TrayStatusItem::followHosts() { lookForTray(); }

void TrayStatusItem::lookForTray() {
    if (!m_bus.isConnected()) {
        moveTo(Kind::embedded);
        return;
    }
    auto question = QDBusMessage::createMethodCall(
        watcherService, watcherPath, u"org.freedesktop.DBus.Properties"_qs, u"Get"_qs);
    question << watcherService << u"IsStatusNotifierHostRegistered"_qs;
    question.setAutoStartService(false);
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, look = ++m_looks] {
        watcher->deleteLater();
        if (look == m_looks) {
            moveTo(kindBehind(watcher->reply()));
        }
    });
}

TrayStatusItem::Kind TrayStatusItem::kindBehind(const QDBusMessage& answer) {
    if (answer.type() == QDBusMessage::ErrorMessage) {
        // A watcher that is silent may yet wake up, and finds the icon waiting then.
        return isSilence(QDBusError(answer).type()) ? Kind::notifier : Kind::embedded;
    }
    const auto value = answer.arguments().value(0).value<QDBusVariant>().variant();
    return value.toBool() ? Kind::notifier : Kind::embedded;
}

void TrayStatusItem::moveTo(Kind kind) {
    if (std::exchange(m_kind, kind) == kind) {
        return;
    }
    m_icon.reset();
    if (kind == Kind::notifier) {
        m_icon = std::make_unique<NotifierIcon>(m_bus, events());
    } else if (kind == Kind::embedded) {
        m_icon = std::make_unique<EmbeddedIcon>(events());
    }
    show();
}

TrayEvents TrayStatusItem::events() {
    // One event may let the item go, and the next one of the same call find it gone.
    const QPointer<TrayStatusItem> self(this);
    return {[self](ClickModifier modifier) {
                if (const auto onClick = self ? self->onPrimaryClick : nullptr) {
                    onClick(modifier);
                }
            },
            [self] {
                if (const auto onWillOpen = self ? self->onMenuWillOpen : nullptr) {
                    onWillOpen();
                }
            },
            [self] {
                return self && self->m_makeItems ? self->m_makeItems()
                                                 : std::vector<StatusMenuItem>();
            },
            [self] {
                if (self) {
                    self->showMenu();
                }
            }};
}

void TrayStatusItem::show() {
    if (m_icon && !m_contents.images.empty()) {
        m_icon->show(m_contents);
    }
}

void TrayStatusItem::setImages(const std::vector<QImage>& images) {
    m_contents.images = images;
    show();
}

void TrayStatusItem::setToolTip(const QString& text) {
    m_contents.toolTip = text;
    show();
}

void TrayStatusItem::setAccessibility(const QString& label, const QString& value) {
    m_contents.label = label;
    m_contents.value = value;
    show();
}

void TrayStatusItem::setMenu(std::function<std::vector<StatusMenuItem>()> makeItems) {
    m_makeItems = std::move(makeItems);
    refreshMenu();
}

void TrayStatusItem::refreshMenu() {
    if (m_icon) {
        m_icon->refreshMenu();
    }
}

void TrayStatusItem::showMenu() { m_menu->open(geometry()); }

QRect TrayStatusItem::geometry() const {
    const QRect place = m_icon ? m_icon->geometry() : QRect();
    return place.isEmpty() ? QRect(QCursor::pos(), QSize(0, 0)) : place;
}

} // namespace lumivane
