#include "overlays/AccountPanelModel.h"
#include "overlays/NotesStatusModel.h"
#include "overlays/OverlayCoordinatorFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class OverlayCoordinatorLifetimeTest : public OverlayCoordinatorTest {
protected:
    /// One of each kind; the order of opening is not that of clearing.
    void showAll() {
        coordinator->showDeviceEvicted(mainDisplay, DeviceEvictedOrigin::beforeCapture, settings,
                                       [this] { journal.add(u"openAccount"_qs); });
        coordinator->showAuthenticationRequired(mainDisplay, settings,
                                                [this] { journal.add(u"login"_qs); });
        coordinator->showNotesStatus(u"no"_qs, mainDisplay, settings);
        show();
        coordinator->showWorking(mainDisplay, settings);
    }
};

TEST_F(OverlayCoordinatorLifetimeTest, OneOfEachKindStandsBesideTheOthers) {
    showAll();
    EXPECT_EQ(host.up(), (Numbers{0, 1, 2, 3, 4}));
    EXPECT_EQ(clock.timerCount(), 2U) << "one for the result, one for the notes";
}

TEST_F(OverlayCoordinatorLifetimeTest, ClearingAllKeepsItsOrder) {
    showAll();
    journal.clear();
    coordinator->clearAll();
    EXPECT_EQ(journal.entries(),
              (QStringList{u"close 4"_qs, u"unregisterHotKey 53"_qs, u"close 3"_qs, u"close 2"_qs,
                           u"close 1"_qs, u"close 0"_qs}));
    expectNothingIsLeft();
    coordinator->clearAll();
    EXPECT_EQ(host.closed().size(), 5U);
}

TEST_F(OverlayCoordinatorLifetimeTest, ACoordinatorThatGoesClosesAll) {
    showAll();
    coordinator.reset();
    EXPECT_EQ(host.closed(), (Numbers{4, 3, 2, 1, 0}));
    expectNothingIsLeft();
    EXPECT_EQ(hotKeys.handlerCount(), 0U);
}

TEST_F(OverlayCoordinatorLifetimeTest, ViewsThatOutliveTheCoordinatorCallNobody) {
    showAll();
    const auto evicted = host.model<AccountPanelModel>(0);
    const auto login = host.model<AccountPanelModel>(1);
    const auto notes = host.model<NotesStatusModel>(2);
    const auto result = host.model<ResultOverlayModel>(3);
    coordinator.reset();
    journal.clear();
    evicted->act();
    evicted->dismiss();
    login->act();
    login->dismiss();
    notes->dismiss();
    result->tap();
    result->hover(true);
    result->countdown()->place({18, 200, 464, 2}, Qt::black);
    EXPECT_TRUE(journal.entries().isEmpty());
}

TEST_F(OverlayCoordinatorLifetimeTest, AViewThatIsLeftByItsPointerWhileItClosesIsHarmless) {
    show();
    const auto model = result();
    host.onClose = [model](std::size_t) {
        model->hover(false);
        model->dismiss();
        model->hover(true);
    };
    coordinator->clearResult();
    host.onClose = nullptr;
    show();
    clock.advance(6s);
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorLifetimeTest, AfterInvalidatingNoKeyIsTaken) {
    coordinator->invalidate();
    showError();
    EXPECT_FALSE(isEscapeHeld());
    coordinator->clearAll();
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorLifetimeTest, AThousandShowsAndClearsLeaveNothing) {
    std::vector<std::weak_ptr<QObject>> models;
    host.onOpen = [&](std::size_t number) { models.push_back(host.opened()[number].model); };
    for (int turn = 0; turn < 1000; ++turn) {
        showAll();
        coordinator->markWorkingSlow();
        if (turn % 2 == 0) {
            coordinator->clearAll();
        } else {
            clock.advance(20s);
            coordinator->clearWorking();
            EXPECT_TRUE(host.act());
            EXPECT_TRUE(host.dismiss());
        }
        ASSERT_TRUE(host.up().empty());
        ASSERT_EQ(clock.timerCount(), 0U);
        ASSERT_TRUE(hotKeys.hotKeys().empty());
    }
    EXPECT_EQ(models.size(), 5000U);
    EXPECT_TRUE(std::all_of(models.begin(), models.end(),
                            [](const auto& model) { return model.expired(); }));
    EXPECT_EQ(hotKeys.handlerCount(), 1U);
}

TEST_F(OverlayCoordinatorLifetimeTest, TheCopyButtonReportsTheChangeCount) {
    settings.deliveryMode = DeliveryMode::screen;
    std::vector<qint64> counts;
    QObject::connect(&pasteboard, &OverlayPasteboard::didWrite,
                     [&counts](qint64 count) { counts.push_back(count); });
    show();
    result()->footer()->copy();
    EXPECT_EQ(counts, std::vector<qint64>{systemPasteboard.changeCount()});
    EXPECT_EQ(systemPasteboard.contents.at(PasteboardType::string), u"the answer"_qs);
}

} // namespace lumivane::test
