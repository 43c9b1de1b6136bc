#pragma once

#include "platform/linux/NotifierRecords.h"
#include "platform/linux/TrayIcon.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QObject>

#include <memory>

namespace lumivane {

class NotifierMenu;

/// What a tray over the bus reads of an icon and does to it.
class NotifierItem final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconThemePath READ none)
    Q_PROPERTY(QString IconName READ none)
    Q_PROPERTY(QString IconAccessibleDesc READ iconAccessibleDesc)
    Q_PROPERTY(lumivane::NotifierPictures IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ none)
    Q_PROPERTY(lumivane::NotifierPictures OverlayIconPixmap READ noPicture)
    Q_PROPERTY(QString AttentionIconName READ none)
    Q_PROPERTY(lumivane::NotifierPictures AttentionIconPixmap READ noPicture)
    Q_PROPERTY(QString AttentionMovieName READ none)
    Q_PROPERTY(lumivane::NotifierToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

public:
    /// Belongs to `parent`, which is what is exported.
    NotifierItem(TrayEvents events, QObject* parent);

    /// Tells of what differs from before.
    void show(const TrayContents& contents);

    QString category() const { return QStringLiteral("ApplicationStatus"); }

    QString id() const;

    QString title() const { return m_contents.label; }

    QString status() const { return QStringLiteral("Active"); }

    int windowId() const { return 0; }

    QString none() const { return {}; }

    QString iconAccessibleDesc() const { return m_contents.toolTip; }

    NotifierPictures iconPixmap() const { return m_pictures; }

    NotifierPictures noPicture() const { return {}; }

    NotifierToolTip toolTip() const;

    bool itemIsMenu() const { return false; }

    QDBusObjectPath menu() const;

public Q_SLOTS:
    void Activate(int x, int y);
    void ContextMenu(int x, int y);

    void SecondaryActivate(int, int) {}

    void Scroll(int, const QString&) {}

Q_SIGNALS:
    void NewTitle();
    void NewIcon();
    void NewToolTip();
    void NewStatus(const QString& status);

private:
    TrayEvents m_events;
    TrayContents m_contents;
    NotifierPictures m_pictures;
};

/// The icon in a tray over the bus. The toolkit has such an icon as well, but it decides once per
/// process whether it uses it, and asks the watcher while the main thread waits; here no call waits
/// for anybody.
class NotifierIcon final : public QObject, public TrayIcon {
    Q_OBJECT

public:
    NotifierIcon(const QDBusConnection& sessionBus, const TrayEvents& events);

    /// Gives up the name by which the tray knows the icon.
    ~NotifierIcon() override;

    void show(const TrayContents& contents) override;
    void refreshMenu() override;

    QRect geometry() const override { return {}; }

private:
    void announce();

    QDBusConnection m_bus;
    QString m_name;
    // Exported; they go later, as a call from the tray may be on its way through them.
    QObject* m_exportedItem;
    QObject* m_exportedMenu;
    NotifierItem* m_item;
    NotifierMenu* m_menu;
    bool m_isAnnounced = false;
};

} // namespace lumivane
