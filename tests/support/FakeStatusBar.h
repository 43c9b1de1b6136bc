#pragma once

#include "platform/StatusBar.h"

#include <memory>
#include <vector>

namespace lumivane::test {

/// A tray in memory: keeps what each icon was told, and is clicked by the test. It may go before
/// its items.
class FakeStatusBar final : public StatusBar {
public:
    /// What is known of the icon that is up, or of the last one.
    struct Icon {
        std::vector<std::vector<QImage>> pictures; ///< each setImages, in order
        std::vector<QString> toolTips;             ///< each setToolTip, in order
        QString label;
        QString value;
        std::vector<StatusMenuItem> offeredMenu; ///< what a tray that keeps a copy has
        std::vector<StatusMenuItem> openedMenu;  ///< what the last opening showed
        int refreshes = 0;
        int menuOpenings = 0;
    };

    FakeStatusBar();

    std::unique_ptr<StatusItem> statusItem() override;

    bool hasIcon() const;

    /// How many icons were ever made.
    int iconsMade() const;

    const Icon& icon() const;

    const std::vector<QImage>& picture() const { return icon().pictures.back(); }

    // What a hand and the desktop do.

    void click(ClickModifier modifier = ClickModifier::none);
    void secondaryClick();

    /// Chooses a line of the menu as it was opened last.
    void choose(const QString& title);
    void setGeometry(const QRect& geometry);
    void setAppearance(Appearance appearance);

private:
    struct State;
    class Item;

    std::shared_ptr<State> m_state;
};

} // namespace lumivane::test
