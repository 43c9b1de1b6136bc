#pragma once

#include "platform/linux/TrayIcon.h"

#include <QObject>
#include <QSystemTrayIcon>

#include <memory>

namespace lumivane {

/// The icon in a tray that embeds windows. The toolkit follows such trays as they come and go.
///
/// It must not be made while a watcher of status notifiers may hang: before its first icon the
/// toolkit asks that watcher, and waits for the answer.
class EmbeddedIcon final : public QObject, public TrayIcon {
    Q_OBJECT

public:
    explicit EmbeddedIcon(TrayEvents events);
    ~EmbeddedIcon() override;

    void show(const TrayContents& contents) override;

    void refreshMenu() override {}

    QRect geometry() const override { return m_icon->geometry(); }

private:
    void activated(QSystemTrayIcon::ActivationReason reason);

    TrayEvents m_events;
    QSystemTrayIcon* m_icon; ///< goes later: it may be in the middle of a call to us
};

} // namespace lumivane
