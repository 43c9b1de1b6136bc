#include "support/FakeStatusBar.h"

#include <stdexcept>
#include <utility>

namespace lumivane::test {

struct FakeStatusBar::State {
    Item& item() const {
        if (current == nullptr) {
            throw std::logic_error("there is no icon");
        }
        return *current;
    }

    Item* current = nullptr;
    Icon icon;
    int made = 0;
    QRect geometry{1200, 0, 24, 24};
    Appearance appearance = Appearance::dark;
};

class FakeStatusBar::Item final : public StatusItem {
public:
    explicit Item(std::shared_ptr<State> state)
        : m_state(std::move(state)) {
        if (m_state->current != nullptr) {
            throw std::logic_error("two icons at once");
        }
        m_state->current = this;
        m_state->icon = {};
        ++m_state->made;
    }

    ~Item() override { m_state->current = nullptr; }

    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    void setImages(const std::vector<QImage>& images) override {
        m_state->icon.pictures.push_back(images);
    }

    void setToolTip(const QString& text) override { m_state->icon.toolTips.push_back(text); }

    void setAccessibility(const QString& label, const QString& value) override {
        m_state->icon.label = label;
        m_state->icon.value = value;
    }

    void setMenu(std::function<std::vector<StatusMenuItem>()> makeItems) override {
        m_makeItems = std::move(makeItems);
        refreshMenu();
        m_state->icon.refreshes = 0;
    }

    void refreshMenu() override {
        ++m_state->icon.refreshes;
        m_state->icon.offeredMenu = makeItems();
    }

    void showMenu() override {
        if (onMenuWillOpen) {
            onMenuWillOpen();
        }
        ++m_state->icon.menuOpenings;
        m_state->icon.openedMenu = makeItems();
    }

    QRect geometry() const override { return m_state->geometry; }

    Appearance appearance() const override { return m_state->appearance; }

private:
    std::vector<StatusMenuItem> makeItems() const {
        return m_makeItems ? m_makeItems() : std::vector<StatusMenuItem>();
    }

    std::shared_ptr<State> m_state;
    std::function<std::vector<StatusMenuItem>()> m_makeItems;
};

FakeStatusBar::FakeStatusBar()
    : m_state(std::make_shared<State>()) {}

std::unique_ptr<StatusItem> FakeStatusBar::statusItem() { return std::make_unique<Item>(m_state); }

bool FakeStatusBar::hasIcon() const { return m_state->current != nullptr; }

int FakeStatusBar::iconsMade() const { return m_state->made; }

const FakeStatusBar::Icon& FakeStatusBar::icon() const { return m_state->icon; }

void FakeStatusBar::click(ClickModifier modifier) {
    const auto onPrimaryClick = m_state->item().onPrimaryClick;
    if (onPrimaryClick) {
        onPrimaryClick(modifier);
    }
}

void FakeStatusBar::secondaryClick() { m_state->item().showMenu(); }

void FakeStatusBar::choose(const QString& title) {
    const auto items = m_state->icon.openedMenu;
    for (const StatusMenuItem& item : items) {
        if (item.title == title && item.enabled && item.action) {
            item.action();
            return;
        }
    }
    throw std::logic_error("no such line to choose: " + title.toStdString());
}

void FakeStatusBar::setGeometry(const QRect& geometry) { m_state->geometry = geometry; }

void FakeStatusBar::setAppearance(Appearance appearance) {
    if (std::exchange(m_state->appearance, appearance) == appearance) {
        return;
    }
    const auto onAppearanceChange = m_state->item().onAppearanceChange;
    if (onAppearanceChange) {
        onAppearanceChange();
    }
}

} // namespace lumivane::test
