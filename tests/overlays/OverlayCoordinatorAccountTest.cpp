#include "overlays/AccountPanelModel.h"
#include "overlays/OverlayCoordinatorFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class OverlayCoordinatorAccountTest : public OverlayCoordinatorTest {
protected:
    void requireLogin(std::uint32_t displayID = mainDisplay) {
        coordinator->showAuthenticationRequired(displayID, settings,
                                                [this] { journal.add(u"login"_qs); });
    }

    void evict(DeviceEvictedOrigin origin = DeviceEvictedOrigin::beforeCapture,
               std::uint32_t displayID = mainDisplay) {
        coordinator->showDeviceEvicted(displayID, origin, settings,
                                       [this] { journal.add(u"openAccount"_qs); });
    }
};

TEST_F(OverlayCoordinatorAccountTest, TheLoginPanelTakesTheKeyboardAndHasNoClock) {
    requireLogin(sideDisplay);
    ASSERT_EQ(host.opened().size(), 1U);
    EXPECT_EQ(host.opened()[0].request,
              OverlayPlacement::authenticationRequired({sideDisplay, sideVisible}, settings));
    EXPECT_TRUE(host.opened()[0].request.acceptsKeyboard);
    EXPECT_EQ(host.opened()[0].view, OverlayViews::account());
    EXPECT_EQ(host.model<AccountPanelModel>()->identifier(), u"authenticationRequiredPopup"_qs);
    EXPECT_EQ(spoken(), QStringList{u"Log in to Lumivane to analyze this screen."_qs});
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_TRUE(log.texts("overlay").empty());
}

TEST_F(OverlayCoordinatorAccountTest, TwoLoginRequestsAreOnePanelAndOneAnnouncement) {
    requireLogin();
    requireLogin(sideDisplay);
    EXPECT_EQ(host.opened().size(), 1U);
    EXPECT_EQ(host.opened()[0].request.displayID, mainDisplay);
    EXPECT_EQ(spoken().size(), 1);
}

TEST_F(OverlayCoordinatorAccountTest, LoggingInClosesThePanelBeforeItIsPassedOn) {
    requireLogin();
    journal.clear();
    EXPECT_TRUE(host.act());
    EXPECT_EQ(journal.entries(), (QStringList{u"close 0"_qs, u"login"_qs}));
}

TEST_F(OverlayCoordinatorAccountTest, LoginIsPassedOnOnceAtMost) {
    requireLogin();
    const auto model = host.model<AccountPanelModel>();
    model->act();
    model->act();
    EXPECT_EQ(journal.count(u"login"_qs), 1);
    requireLogin();
    model->act();
    model->dismiss();
    EXPECT_EQ(journal.count(u"login"_qs), 1) << "the old view does not answer for the new panel";
    EXPECT_EQ(host.up(), Numbers{1});
}

TEST_F(OverlayCoordinatorAccountTest, NotNowClosesWithoutPassingAnythingOn) {
    requireLogin();
    const auto model = host.model<AccountPanelModel>();
    EXPECT_TRUE(host.dismiss());
    expectNothingIsLeft();
    model->act();
    EXPECT_EQ(journal.count(u"login"_qs), 0);
}

TEST_F(OverlayCoordinatorAccountTest, TheAnswerMayAskAgain) {
    coordinator->showAuthenticationRequired(mainDisplay, settings, [this] { requireLogin(); });
    EXPECT_TRUE(host.act());
    EXPECT_EQ(host.up(), Numbers{1});
    EXPECT_EQ(spoken().size(), 2);
}

TEST_F(OverlayCoordinatorAccountTest, TheAnswerMayClearAll) {
    coordinator->showAuthenticationRequired(mainDisplay, settings,
                                            [this] { coordinator->clearAll(); });
    EXPECT_TRUE(host.act());
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorAccountTest, ALoginPanelMayBeAskedForAgainOnceItWasCleared) {
    requireLogin();
    coordinator->clearAuthenticationRequired();
    coordinator->clearAuthenticationRequired();
    requireLogin();
    EXPECT_EQ(host.closed(), Numbers{0});
    EXPECT_EQ(host.up(), Numbers{1});
}

TEST_F(OverlayCoordinatorAccountTest, BothFallBackOnTheMainDisplay) {
    requireLogin(unknownDisplay);
    evict(DeviceEvictedOrigin::beforeCapture, unknownDisplay);
    const OverlayScreen screen{mainDisplay, mainVisible};
    EXPECT_EQ(host.opened()[0].request, OverlayPlacement::authenticationRequired(screen, settings));
    EXPECT_EQ(host.opened()[1].request, OverlayPlacement::deviceEvicted(screen, settings));
}

TEST_F(OverlayCoordinatorAccountTest, WithoutADisplayOnlyTheWordsAreSpoken) {
    displays.setDisplays({});
    requireLogin();
    evict();
    EXPECT_TRUE(host.opened().empty());
    EXPECT_EQ(spoken(), (QStringList{u"Log in to Lumivane to analyze this screen."_qs,
                                     u"Lumivane is signed in on another Mac."_qs}));
    EXPECT_TRUE(log.texts("overlay").empty());
}

TEST_F(OverlayCoordinatorAccountTest, TheWordsComeBeforeThePanel) {
    requireLogin();
    evict();
    EXPECT_EQ(journal.entries(), (QStringList{u"announce behind 0 lines"_qs, u"open 0"_qs,
                                              u"announce behind 0 lines"_qs, u"open 1"_qs}));
}

TEST_F(OverlayCoordinatorAccountTest, TheEvictedPanelSaysWhatBecameOfTheFrame) {
    evict(DeviceEvictedOrigin::afterUpload);
    EXPECT_EQ(host.opened()[0].request,
              OverlayPlacement::deviceEvicted({mainDisplay, mainVisible}, settings));
    EXPECT_EQ(host.opened()[0].view, OverlayViews::account());
    const auto model = host.model<AccountPanelModel>();
    EXPECT_EQ(model->identifier(), u"deviceEvictedPopup"_qs);
    EXPECT_TRUE(model->body().endsWith(reassurance(DeviceEvictedOrigin::afterUpload)));
    coordinator->clearDeviceEvicted();
    evict(DeviceEvictedOrigin::beforeCapture);
    EXPECT_TRUE(host.model<AccountPanelModel>()->body().endsWith(
        reassurance(DeviceEvictedOrigin::beforeCapture)));
}

TEST_F(OverlayCoordinatorAccountTest, TwoEvictionsAreOnePanelAndOneAnnouncement) {
    evict();
    evict(DeviceEvictedOrigin::afterUpload, sideDisplay);
    EXPECT_EQ(host.opened().size(), 1U);
    EXPECT_EQ(spoken(), QStringList{u"Lumivane is signed in on another Mac."_qs});
}

TEST_F(OverlayCoordinatorAccountTest, LoggingInAgainClosesThePanelBeforeItIsPassedOnOnce) {
    evict();
    const auto model = host.model<AccountPanelModel>();
    journal.clear();
    model->act();
    model->act();
    EXPECT_EQ(journal.entries(), (QStringList{u"close 0"_qs, u"openAccount"_qs}));
}

TEST_F(OverlayCoordinatorAccountTest, NotNowClosesTheEvictedPanel) {
    evict();
    EXPECT_TRUE(host.dismiss());
    EXPECT_FALSE(journal.holds(u"openAccount"_qs));
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorAccountTest, TheTwoPanelsStandBesideAResultAndEachOther) {
    show();
    requireLogin();
    evict();
    EXPECT_EQ(host.up(), (Numbers{0, 1, 2}));
    clock.advance(1h);
    EXPECT_EQ(host.up(), (Numbers{1, 2})) << "they stay until they are answered";
}

} // namespace lumivane::test
