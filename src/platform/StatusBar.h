#pragma once

#include "domain/Appearance.h"

#include <QImage>
#include <QRect>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace lumivane {

/// One line of a status item's menu. An item without a title is a separator.
struct StatusMenuItem {
    QString title;
    bool enabled = true;
    std::function<void()> action; ///< none for a line that only informs
};

/// The key that was held at a click.
enum class ClickModifier { none, control };

/// The program's icon in the desktop's tray, for as long as the object lives. Any of its callbacks
/// may let it go.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    /// The icon in its own colours: square, one image for each size that a tray may want, smallest
    /// first, one pixel to a point.
    virtual void setImages(const std::vector<QImage>& images) = 0;
    virtual void setToolTip(const QString& text) = 0;

    /// What assistive technology reads: a name and a value.
    virtual void setAccessibility(const QString& label, const QString& value) = 0;

    /// The menu of the secondary click. It is asked for each time it is about to open, so that it
    /// is never stale; `refreshMenu` offers a tray that keeps a copy the present one.
    virtual void setMenu(std::function<std::vector<StatusMenuItem>()> makeItems) = 0;
    virtual void refreshMenu() = 0;

    /// Opens the menu at the icon, as a secondary click does.
    virtual void showMenu() = 0;

    /// Where the icon stands in points of the desktop, or the pointer's place, without a size,
    /// where the tray does not say.
    virtual QRect geometry() const = 0;

    /// The dress of the tray that the icon stands on, as far as the desktop says.
    virtual Appearance appearance() const = 0;

    // Each is set once, after the item is made.

    std::function<void(ClickModifier)> onPrimaryClick;

    /// The menu is about to open, whoever opens it.
    std::function<void()> onMenuWillOpen;

    /// `appearance` answers something else from now on.
    std::function<void()> onAppearanceChange;
};

/// The desktop's tray: mechanism only. Main thread only.
class StatusBar {
public:
    virtual ~StatusBar() = default;

    /// Never fails: where the session has no tray now, the icon appears when one comes.
    virtual std::unique_ptr<StatusItem> statusItem() = 0;
};

} // namespace lumivane
