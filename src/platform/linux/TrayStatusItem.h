#pragma once

#include "platform/StatusBar.h"
#include "platform/linux/TrayAppearance.h"
#include "platform/linux/TrayIcon.h"
#include "platform/linux/TrayMenu.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <cstdint>
#include <memory>

namespace lumivane {

/// The icon in whatever tray there is: over the bus while a watcher of status notifiers has a tray
/// behind it, embedded otherwise. It moves as trays come and go. No call waits for the bus.
class TrayStatusItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    explicit TrayStatusItem(const QDBusConnection& sessionBus);
    ~TrayStatusItem() override;

    void setImages(const std::vector<QImage>& images) override;
    void setToolTip(const QString& text) override;
    void setAccessibility(const QString& label, const QString& value) override;
    void setMenu(std::function<std::vector<StatusMenuItem>()> makeItems) override;
    void refreshMenu() override;
    void showMenu() override;
    QRect geometry() const override;

    Appearance appearance() const override { return m_appearance.appearance(); }

private:
    enum class Kind { none, notifier, embedded };

    struct Later {
        void operator()(QObject* object) const { object->deleteLater(); }
    };

    Q_SLOT void followWatcher(const QString& name, const QString& before, const QString& now);
    Q_SLOT void followHosts();
    void lookForTray();
    static Kind kindBehind(const QDBusMessage& answer);
    void moveTo(Kind kind);
    TrayEvents events();
    void show();

    QDBusConnection m_bus;
    TrayAppearance m_appearance;
    TrayContents m_contents;
    std::function<std::vector<StatusMenuItem>()> m_makeItems;
    std::unique_ptr<TrayMenu, Later> m_menu; ///< may be in the middle of a call to us as it goes
    Kind m_kind = Kind::none;
    std::unique_ptr<TrayIcon> m_icon; ///< none before the bus has said what there is
    std::uint64_t m_looks = 0;
};

} // namespace lumivane
