#include "platform/TrayFixture.h"
#include "platform/linux/NotifierRecords.h"

namespace lumivane::test {

using namespace std::chrono_literals;

/// On trays over the bus.
class TrayNotifierTest : public TrayTest {
protected:
    static QStringList titles(const std::vector<NotifierTray::Line>& lines) {
        QStringList found;
        for (const NotifierTray::Line& line : lines) {
            found << line.title;
        }
        return found;
    }
};

TEST_F(TrayNotifierTest, IconAnnouncesItselfOnceUnderANameOfItsOwn) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_EQ(tray.items(), QStringList{u"org.kde.StatusNotifierItem-%1-1"_qs.arg(
                                QCoreApplication::applicationPid())});
    item->setToolTip(u"other"_qs);
    item->setImages(iconOf(LumivaneDisplayState::capturing));
    EXPECT_EQ(tray.toolTip(), u"other"_qs);
    EXPECT_EQ(tray.announcements(), 1);
}

TEST_F(TrayNotifierTest, PicturesArriveInEverySizeAsTheyWereDrawn) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    const auto pictures = tray.pictures();
    const auto drawn = iconOf(LumivaneDisplayState::resting);
    ASSERT_EQ(pictures.size(), drawn.size());
    for (std::size_t index = 0; index < drawn.size(); ++index) {
        EXPECT_EQ(pictures[index], drawn[index].convertToFormat(QImage::Format_ARGB32)) << index;
    }
}

TEST_F(TrayNotifierTest, TrayHearsOfEachNewPictureAndOfNoOther) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    tray.pictures();
    const int before = tray.newPictures();
    item->setImages(iconOf(LumivaneDisplayState::resting));
    item->setToolTip(u"same picture"_qs);
    EXPECT_EQ(tray.toolTip(), u"same picture"_qs);
    EXPECT_EQ(tray.newPictures(), before);
    item->setImages(iconOf(LumivaneDisplayState::capturing));
    EXPECT_TRUE(waitUntil([&] { return tray.newPictures() == before + 1; }));
    EXPECT_EQ(tray.pictures().at(0),
              iconOf(LumivaneDisplayState::capturing)[0].convertToFormat(QImage::Format_ARGB32));
}

TEST_F(TrayNotifierTest, TrayReadsWhatTheIconIs) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_EQ(tray.toolTip(), u"Lumivane — Resting"_qs);
    EXPECT_EQ(tray.property(u"Title"_qs), u"Lumivane"_qs);
    EXPECT_EQ(tray.property(u"IconAccessibleDesc"_qs), u"Lumivane — Resting"_qs);
    EXPECT_EQ(tray.property(u"Category"_qs), u"ApplicationStatus"_qs);
    EXPECT_EQ(tray.property(u"Status"_qs), u"Active"_qs);
    EXPECT_EQ(tray.property(u"ItemIsMenu"_qs), false);
    EXPECT_EQ(tray.property(u"Id"_qs), QCoreApplication::applicationName());
}

TEST_F(TrayNotifierTest, APrimaryClickIsHeard) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    tray.primaryClick();
    EXPECT_EQ(clicks, std::vector{ClickModifier::none});
    EXPECT_EQ(openings, 0);
}

TEST_F(TrayNotifierTest, AControlClickIsToldApart) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    desktop.holdKey(XK_Control_L);
    tray.primaryClick();
    desktop.releaseKey(XK_Control_L);
    tray.primaryClick();
    EXPECT_EQ(clicks, (std::vector{ClickModifier::control, ClickModifier::none}));
}

TEST_F(TrayNotifierTest, ThePointerIsThePlace) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    desktop.movePointer({700, 12});
    EXPECT_TRUE(waitUntil([this] { return item->geometry() == QRect(700, 12, 0, 0); }));
}

TEST_F(TrayNotifierTest, MenuIsAskedForAsItOpens) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    pauseTitle = u"Resume_it"_qs; // nobody tells of it
    canCopy = true;
    const auto menu = tray.openMenu();
    EXPECT_EQ(titles(menu), (QStringList{u"Resume__it"_qs, u""_qs, u"Copy"_qs}));
    EXPECT_TRUE(menu.at(2).enabled);
    EXPECT_EQ(openings, 1);
}

TEST_F(TrayNotifierTest, ATrayThatKeepsACopyHearsOfChangesAndOfNothingElse) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_FALSE(tray.menu().at(2).enabled);
    const int before = tray.newMenus();
    item->refreshMenu();
    item->setToolTip(u"no news of the menu"_qs);
    tray.toolTip();
    EXPECT_EQ(tray.newMenus(), before);
    canCopy = true;
    item->refreshMenu();
    EXPECT_TRUE(waitUntil([&] { return tray.newMenus() == before + 1; }));
    EXPECT_TRUE(tray.menu().at(2).enabled);
    EXPECT_EQ(openings, 0) << "a refresh opens nothing";
}

TEST_F(TrayNotifierTest, AChosenLineDoesWhatItSaysAlsoAfterItsWordsHaveChanged) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    const auto menu = tray.openMenu();
    tray.choose(menu.at(0).id);
    EXPECT_EQ(chosen, QStringList{u"Pause"_qs});
    pauseTitle = u"Resume"_qs;
    item->refreshMenu();
    tray.choose(menu.at(0).id);
    EXPECT_EQ(chosen, (QStringList{u"Pause"_qs, u"Resume"_qs}));
}

TEST_F(TrayNotifierTest, LinesThatAreGreyOrSeparateDoNothing) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    for (const NotifierTray::Line& line : tray.openMenu()) {
        if (line.title != pauseTitle) {
            tray.choose(line.id);
        }
    }
    tray.choose(0);
    tray.choose(99);
    EXPECT_TRUE(chosen.isEmpty());
}

TEST_F(TrayNotifierTest, NumbersOfLinesThatAreGoneAreNotUsedAgain) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    const auto before = tray.openMenu();
    item->setMenu([this] {
        return std::vector<StatusMenuItem>{{u"Only"_qs, true, [this] { chosen << u"Only"_qs; }}};
    });
    for (const NotifierTray::Line& line : before) {
        tray.choose(line.id);
    }
    EXPECT_TRUE(chosen.isEmpty());
    const auto after = tray.menu();
    ASSERT_EQ(titles(after), QStringList{u"Only"_qs});
    tray.choose(after.at(0).id);
    EXPECT_EQ(chosen, QStringList{u"Only"_qs});
}

TEST_F(TrayNotifierTest, LinesCanBeReadOneByOne) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    const int first = tray.menu().at(0).id;
    const auto read = [&](int id, const QString& name) {
        return tray.callMenu(u"GetProperty"_qs, {id, name}).at(0).value<QDBusVariant>().variant();
    };
    EXPECT_EQ(read(first, u"label"_qs), u"Pause"_qs);
    EXPECT_EQ(read(first + 1, u"type"_qs), u"separator"_qs);
    EXPECT_EQ(read(first + 2, u"enabled"_qs), false);
    EXPECT_EQ(read(99, u"label"_qs), QString());
    const QVariant ids = QVariant::fromValue(QList<int>{first + 2, 99});
    const auto lines = qdbus_cast<QList<NotifierMenuLine>>(
        tray.callMenu(u"GetGroupProperties"_qs, {ids, QStringList()}).at(0));
    ASSERT_EQ(lines.size(), 1);
    EXPECT_EQ(lines[0].id, first + 2);
    EXPECT_EQ(lines[0].properties.value(u"label"_qs), u"Copy"_qs);
}

TEST_F(TrayNotifierTest, EventsMayComeInGroups) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    const int first = tray.menu().at(0).id;
    const QDBusVariant nothing{QVariant(0)};
    const QList<NotifierMenuEvent> events{{0, u"opened"_qs, nothing, 0},
                                          {first, u"hovered"_qs, nothing, 0},
                                          {first, u"clicked"_qs, nothing, 0},
                                          {99, u"clicked"_qs, nothing, 0}};
    const auto unknown = tray.callMenu(u"EventGroup"_qs, {QVariant::fromValue(events)}).at(0);
    EXPECT_EQ(qdbus_cast<QList<int>>(unknown), QList<int>{99});
    EXPECT_EQ(openings, 1);
    EXPECT_EQ(chosen, QStringList{u"Pause"_qs});
}

TEST_F(TrayNotifierTest, ATrayHearsWhetherAnOpeningChangedTheMenu) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_EQ(tray.callMenu(u"AboutToShow"_qs, {0}).at(0), false);
    canCopy = true;
    EXPECT_EQ(tray.callMenu(u"AboutToShow"_qs, {0}).at(0), true);
    canCopy = false;
    const QVariant ids = QVariant::fromValue(QList<int>{0, 99});
    const auto answer = tray.callMenu(u"AboutToShowGroup"_qs, {ids});
    EXPECT_EQ(qdbus_cast<QList<int>>(answer.at(0)), QList<int>{0});
    EXPECT_EQ(qdbus_cast<QList<int>>(answer.at(1)), QList<int>{99});
}

TEST_F(TrayNotifierTest, ATrayWithoutMenusLeavesTheShowingToTheProgram) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    desktop.movePointer({400, 20});
    tray.askForMenu({400, 20});
    QMenu* menu = shownMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->pos(), QPoint(400, 20));
    EXPECT_EQ(openings, 1);
}

TEST_F(TrayNotifierTest, ATrayThatComesLaterGetsTheIcon) {
    makeItem();
    drainEvents();
    NotifierTray tray;
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_EQ(tray.toolTip(), u"Lumivane — Resting"_qs);
    EXPECT_EQ(tray.pictures().size(), 6U);
}

TEST_F(TrayNotifierTest, ATrayThatRestartsGetsTheIconBack) {
    auto tray = std::make_unique<NotifierTray>();
    makeItem();
    ASSERT_TRUE(tray->waitForItem());
    for (int round = 0; round < 3; ++round) {
        tray.reset();
        item->setToolTip(u"round %1"_qs.arg(round));
        tray = std::make_unique<NotifierTray>();
        ASSERT_TRUE(tray->waitForItem());
        EXPECT_EQ(tray->toolTip(), u"round %1"_qs.arg(round));
        EXPECT_EQ(tray->announcements(), 1);
    }
    tray->primaryClick();
    EXPECT_EQ(clicks.size(), 1U);
}

TEST_F(TrayNotifierTest, AWatcherWithoutATrayBehindItLeavesTheIconEmbedded) {
    const EmbeddingTray embedding(desktop, 24);
    NotifierTray tray(NotifierTray::Host::absent);
    makeItem();
    ASSERT_TRUE(waitForColor(desktop, restingColor));
    EXPECT_EQ(tray.announcements(), 0);
    tray.setHost(NotifierTray::Host::present);
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_TRUE(waitUntil([this] {
        return !areaOfColor(desktop.screen(QRect(0, 0, 200, 60)), restingColor);
    })) << "two icons at once";
}

TEST_F(TrayNotifierTest, IconMovesToAnEmbeddingTrayWhenTheOtherGoes) {
    const EmbeddingTray embedding(desktop, 24);
    auto tray = std::make_unique<NotifierTray>();
    makeItem();
    ASSERT_TRUE(tray->waitForItem());
    EXPECT_FALSE(areaOfColor(desktop.screen(QRect(0, 0, 200, 60)), restingColor));
    tray.reset();
    ASSERT_TRUE(waitForColor(desktop, restingColor));
    EXPECT_EQ(item->geometry().size(), QSize(22, 22));
}

TEST_F(TrayNotifierTest, IconThatIsLetGoLeavesTheTray) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    item.reset();
    EXPECT_TRUE(waitUntil([&] { return tray.items().isEmpty(); }));
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_EQ(tray.toolTip(), u"Lumivane — Resting"_qs);
}

TEST_F(TrayNotifierTest, AMenuLineMayLetTheIconGo) {
    NotifierTray tray;
    makeItem();
    item->setMenu([this] {
        return std::vector<StatusMenuItem>{{u"Quit"_qs, true, [this] { item.reset(); }}};
    });
    ASSERT_TRUE(tray.waitForItem());
    tray.choose(tray.openMenu().at(0).id);
    EXPECT_FALSE(item);
}

TEST_F(TrayNotifierTest, AnOpeningMenuMayLetTheIconGo) {
    NotifierTray tray;
    makeItem();
    ASSERT_TRUE(tray.waitForItem());
    item->onMenuWillOpen = [this] { item.reset(); };
    EXPECT_NO_THROW(tray.announceOpening());
    EXPECT_FALSE(item);
}

// Nobody is waited for

TEST_F(TrayNotifierTest, AWatcherThatHangsHoldsNothingUp) {
    NotifierTray tray(NotifierTray::Host::present, NotifierTray::Manner::staysSilent);
    const Stopwatch watch;
    makeItem();
    item->refreshMenu();
    item->setToolTip(u"later"_qs);
    drainEvents();
    EXPECT_TRUE(watch.isBelow(100ms));
    EXPECT_EQ(tray.announcements(), 0);
    // It has been asked, and the icon is there when it wakes up.
    ASSERT_TRUE(waitUntil([&] { return tray.unansweredCount() > 0; }));
    tray.wakeUp();
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_EQ(tray.toolTip(), u"later"_qs);
}

TEST_F(TrayNotifierTest, ABusThatHangsHoldsNothingUp) {
    NotifierTray tray;
    {
        const HeldProcess held(qEnvironmentVariable("LUMIVANE_TEST_BUS_PROCESS").toLongLong());
        const Stopwatch watch;
        makeItem();
        item->setImages(iconOf(LumivaneDisplayState::capturing));
        item->refreshMenu();
        item->geometry();
        drainEvents();
        item.reset();
        makeItem();
        drainEvents();
        EXPECT_TRUE(watch.isBelow(100ms));
    }
    ASSERT_TRUE(tray.waitForItem());
    EXPECT_EQ(tray.toolTip(), u"Lumivane — Resting"_qs);
}

} // namespace lumivane::test
