#include "platform/TrayFixture.h"
#include "support/FakeStatusBar.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace lumivane::test {

namespace {

/// A tray, the hand at it, and what it shows.
class Tray {
public:
    virtual ~Tray() = default;

    virtual StatusBar& bar() = 0;

    /// Waits until the icon is as it was told last.
    virtual bool settles() = 0;
    virtual bool hasIcon() = 0;
    virtual QString toolTip() = 0;
    virtual QImage smallestPicture() = 0;
    virtual void click() = 0;

    /// The titles of the menu as a secondary click opens it, "-" for what is grey.
    virtual QStringList openMenu() = 0;
    virtual void choose(int line) = 0;
};

class FakeTray final : public Tray {
public:
    StatusBar& bar() override { return m_bar; }

    bool settles() override { return true; }

    bool hasIcon() override { return m_bar.hasIcon(); }

    QString toolTip() override { return m_bar.icon().toolTips.back(); }

    QImage smallestPicture() override { return m_bar.picture().front(); }

    void click() override { m_bar.click(); }

    QStringList openMenu() override {
        m_bar.secondaryClick();
        QStringList titles;
        for (const StatusMenuItem& item : m_bar.icon().openedMenu) {
            titles << (item.enabled ? item.title : u"-"_qs);
        }
        return titles;
    }

    void choose(int line) override {
        m_bar.choose(m_bar.icon().openedMenu.at(std::size_t(line)).title);
    }

private:
    FakeStatusBar m_bar;
};

class BusTray final : public Tray {
public:
    StatusBar& bar() override { return m_bar; }

    bool settles() override { return m_tray.waitForItem(); }

    bool hasIcon() override {
        // Whatever was sent before an answer has been worked off by then.
        waitUntil([this, before = m_tray.items()] { return m_tray.items() != before; },
                  std::chrono::milliseconds(50));
        return !m_tray.items().isEmpty();
    }

    QString toolTip() override { return m_tray.toolTip(); }

    QImage smallestPicture() override { return m_tray.pictures().front(); }

    void click() override { m_tray.primaryClick(); }

    QStringList openMenu() override {
        m_lines = m_tray.openMenu();
        QStringList titles;
        for (const NotifierTray::Line& line : m_lines) {
            titles << (line.enabled ? line.title : u"-"_qs);
        }
        return titles;
    }

    void choose(int line) override { m_tray.choose(m_lines.at(std::size_t(line)).id); }

private:
    PanelDesktop m_desktop;
    NotifierTray m_tray;
    TrayStatusBar m_bar{QDBusConnection::sessionBus()};
    std::vector<NotifierTray::Line> m_lines;
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Tray>()> make;
};

} // namespace

class StatusBarContract : public testing::TestWithParam<Kind> {
protected:
    StatusBarContract() {
        item = tray->bar().statusItem();
        item->onMenuWillOpen = [this] { heard << u"opening"_qs; };
        item->onPrimaryClick = [this](ClickModifier) { heard << u"click"_qs; };
        item->setMenu([this] {
            heard << u"asked"_qs;
            return lines;
        });
        item->setToolTip(u"first"_qs);
        item->setImages(iconOf(LumivaneDisplayState::resting));
        EXPECT_TRUE(tray->settles());
        heard.clear();
    }

    ~StatusBarContract() override {
        item.reset();
        drainEvents();
    }

    QStringList heard;
    std::vector<StatusMenuItem> lines{{u"One"_qs, true, [this] { heard << u"one"_qs; }},
                                      {u"Two"_qs, false, {}}};
    std::unique_ptr<Tray> tray = GetParam().make();
    std::unique_ptr<StatusItem> item;
};

TEST_P(StatusBarContract, ShowsWhatItWasToldLast) {
    EXPECT_EQ(tray->toolTip(), u"first"_qs);
    item->setToolTip(u"second"_qs);
    item->setImages(iconOf(LumivaneDisplayState::paused));
    EXPECT_EQ(tray->toolTip(), u"second"_qs);
    EXPECT_EQ(tray->smallestPicture().convertToFormat(QImage::Format_ARGB32),
              iconOf(LumivaneDisplayState::paused)[0].convertToFormat(QImage::Format_ARGB32));
}

TEST_P(StatusBarContract, APrimaryClickOpensNoMenu) {
    tray->click();
    EXPECT_EQ(heard, QStringList{u"click"_qs});
}

TEST_P(StatusBarContract, AnOpeningIsToldOfBeforeTheMenuIsAskedFor) {
    EXPECT_EQ(tray->openMenu(), (QStringList{u"One"_qs, u"-"_qs}));
    EXPECT_EQ(heard, (QStringList{u"opening"_qs, u"asked"_qs}));
}

TEST_P(StatusBarContract, AMenuIsNeverStale) {
    tray->openMenu();
    lines = {{u"Three"_qs, true, [this] { heard << u"three"_qs; }}};
    EXPECT_EQ(tray->openMenu(), QStringList{u"Three"_qs});
    tray->choose(0);
    EXPECT_EQ(heard.last(), u"three"_qs);
}

TEST_P(StatusBarContract, ARefreshAsksAndOpensNothing) {
    item->refreshMenu();
    EXPECT_EQ(heard, QStringList{u"asked"_qs});
}

TEST_P(StatusBarContract, IconLastsAsLongAsItsItem) {
    EXPECT_TRUE(tray->hasIcon());
    item.reset();
    EXPECT_FALSE(tray->hasIcon());
}

TEST_P(StatusBarContract, AClickMayLetTheItemGo) {
    item->onPrimaryClick = [this](ClickModifier) { item.reset(); };
    tray->click();
    EXPECT_FALSE(item);
}

INSTANTIATE_TEST_SUITE_P(All, StatusBarContract,
                         testing::Values(Kind{"Fake", [] { return std::make_unique<FakeTray>(); }},
                                         Kind{"Bus", [] { return std::make_unique<BusTray>(); }}),
                         [](const auto& info) { return info.param.name; });

} // namespace lumivane::test
