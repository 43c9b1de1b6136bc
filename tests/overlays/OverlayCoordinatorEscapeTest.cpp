#include "overlays/OverlayCoordinatorFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

class OverlayCoordinatorEscapeTest : public OverlayCoordinatorTest {
protected:
    using Request = FakeHotKeyRegistrar::Request;
};

TEST_F(OverlayCoordinatorEscapeTest, TheHandlerIsInstalledOnceUnderItsOwnSignature) {
    EXPECT_EQ(hotKeys.requests(),
              (std::vector<Request>{{Request::Kind::installHandler, {0x4C564F56, 0}, 0, 0}}));
    show();
    showError();
    coordinator->clearAll();
    EXPECT_EQ(hotKeys.handlerCount(), 1U);
}

TEST_F(OverlayCoordinatorEscapeTest, EscapeIsHeldWhileAResultIsUpAndClosesIt) {
    EXPECT_FALSE(isEscapeHeld());
    show();
    EXPECT_EQ(hotKeys.hotKeys(),
              (std::vector<FakeHotKeyRegistrar::HotKey>{{53, 0, {0x4C564F56, 1}}}));
    pressEscape();
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorEscapeTest, EveryEndOfAResultGivesEscapeBack) {
    show();
    host.tap();
    EXPECT_FALSE(isEscapeHeld());
    show();
    clock.advance(6s);
    EXPECT_FALSE(isEscapeHeld());
    show(u"code"_qs, ResultKind::leetCode);
    host.dismiss();
    EXPECT_FALSE(isEscapeHeld());
    showError();
    coordinator->clearAll();
    EXPECT_FALSE(isEscapeHeld());
}

TEST_F(OverlayCoordinatorEscapeTest, OtherPanelsDoNotHoldEscape) {
    coordinator->showWorking(mainDisplay, settings);
    coordinator->showNotesStatus(u"no"_qs, mainDisplay, settings);
    coordinator->showAuthenticationRequired(mainDisplay, settings, [] {});
    coordinator->showDeviceEvicted(mainDisplay, DeviceEvictedOrigin::beforeCapture, settings,
                                   [] {});
    EXPECT_FALSE(isEscapeHeld());
    EXPECT_EQ(host.up().size(), 4U);
}

TEST_F(OverlayCoordinatorEscapeTest, EscapeClosesTheResultAndNothingElse) {
    coordinator->showWorking(mainDisplay, settings);
    show();
    coordinator->showNotesStatus(u"no"_qs, mainDisplay, settings);
    pressEscape();
    EXPECT_EQ(host.up(), (Numbers{0, 2}));
}

TEST_F(OverlayCoordinatorEscapeTest, WhereTheSettingIsOffAnOrdinaryResultLeavesEscapeAlone) {
    settings.dismissWithEscape = false;
    for (const ResultKind kind : allCases<ResultKind>()) {
        show(u"a"_qs, kind);
        EXPECT_FALSE(isEscapeHeld());
        pressEscape();
        EXPECT_EQ(host.up().size(), 1U);
    }
    EXPECT_EQ(hotKeys.requests().size(), 1U) << "not even asked for";
    showError();
    EXPECT_TRUE(isEscapeHeld());
    pressEscape();
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorEscapeTest, ASecondResultRegistersAnew) {
    show();
    hotKeys.forgetRequests();
    show();
    EXPECT_EQ(hotKeys.requests(),
              (std::vector<Request>{{Request::Kind::unregisterHotKey, escape, 53, 0},
                                    {Request::Kind::registerHotKey, escape, 53, 0}}));
}

TEST_F(OverlayCoordinatorEscapeTest, ARefusedKeyIsLoggedAndLeavesThePanelUsable) {
    hotKeys.refuseHotKeys(-9878);
    show();
    EXPECT_EQ(logged(LogLevel::error, "Could not register result dismissal shortcut; status=-9878"),
              1);
    EXPECT_EQ(host.up(), Numbers{0});
    EXPECT_EQ(remaining(), u"6s"_qs);
    host.tap();
    expectNothingIsLeft();
    show();
    clock.advance(6s);
    expectNothingIsLeft();
    hotKeys.refuseHotKeys(0);
    show();
    EXPECT_TRUE(isEscapeHeld()) << "the next panel tries again";
}

TEST_F(OverlayCoordinatorEscapeTest, AKeyThatSomebodyElseHoldsIsRefusedWithItsStatus) {
    const auto other = hotKeys.registerHotKey(53, 0, {1, 1});
    showError();
    EXPECT_EQ(logged(LogLevel::error, "Could not register result dismissal shortcut; status=10"),
              1);
    EXPECT_EQ(host.up(), Numbers{0});
}

TEST_F(OverlayCoordinatorEscapeTest, EveryKeyOfTheSignatureIsEscapeAndNoOther) {
    show();
    hotKeys.press({0x4C554D56, 1});
    EXPECT_EQ(host.up(), Numbers{0}) << "the global shortcut is not ours";
    hotKeys.press({OverlayCoordinator::signature, 99});
    EXPECT_TRUE(host.up().empty()) << "the number is not read";
}

TEST_F(OverlayCoordinatorEscapeTest, WithoutAHandlerEscapeIsNotTakenFromAnybody) {
    coordinator.reset();
    hotKeys.refuseHandlers(-50);
    create();
    EXPECT_EQ(logged(LogLevel::error, "Could not install result dismissal handler; status=-50"), 1);
    show();
    EXPECT_EQ(host.up(), Numbers{0});
    EXPECT_FALSE(isEscapeHeld());
    host.tap();
    expectNothingIsLeft();
}

TEST_F(OverlayCoordinatorEscapeTest, APressWithoutAResultIsHarmless) {
    coordinator->showWorking(mainDisplay, settings);
    hotKeys.press(escape);
    EXPECT_EQ(host.up(), Numbers{0});
}

TEST_F(OverlayCoordinatorEscapeTest, InvalidatingClearsAllAndThenRemovesTheHandler) {
    show();
    hotKeys.forgetRequests();
    coordinator->invalidate();
    EXPECT_EQ(hotKeys.requests(),
              (std::vector<Request>{
                  {Request::Kind::unregisterHotKey, escape, 53, 0},
                  {Request::Kind::removeHandler, {OverlayCoordinator::signature, 0}, 0, 0}}));
    EXPECT_EQ(hotKeys.handlerCount(), 0U);
    expectNothingIsLeft();
    coordinator->invalidate();
    EXPECT_EQ(hotKeys.requests().size(), 2U);
}

TEST_F(OverlayCoordinatorEscapeTest, ACoordinatorThatGoesTakesItsHandlerAlong) {
    show();
    coordinator.reset();
    EXPECT_EQ(hotKeys.handlerCount(), 0U);
    expectNothingIsLeft();
}

} // namespace lumivane::test
