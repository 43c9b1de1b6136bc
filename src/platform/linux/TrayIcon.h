#pragma once

#include "platform/StatusBar.h"

#include <QImage>
#include <QRect>
#include <QString>

#include <functional>
#include <vector>

namespace lumivane {

/// What an icon shows, whatever the kind of its tray.
struct TrayContents {
    std::vector<QImage> images;
    QString toolTip;
    QString label;
    QString value;
};

/// What an icon hears. All of it outlives the icon, and may let it go.
struct TrayEvents {
    std::function<void(ClickModifier)> clicked;
    std::function<void()> menuWillOpen;
    std::function<std::vector<StatusMenuItem>()> menuItems;
    std::function<void()> menuWanted; ///< the tray leaves the showing to the program
};

/// The icon in a tray of one kind, until the object goes. Main thread only.
class TrayIcon {
public:
    virtual ~TrayIcon() = default;

    virtual void show(const TrayContents& contents) = 0;
    virtual void refreshMenu() = 0;

    /// Empty where the tray does not say.
    virtual QRect geometry() const = 0;
};

} // namespace lumivane
