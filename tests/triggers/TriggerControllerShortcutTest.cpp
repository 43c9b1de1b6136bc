#include "triggers/TriggerControllerFixture.h"
#include "triggers/TriggerError.h"

namespace lumivane {

using Request = test::FakeHotKeyRegistrar::Request;
using Kind = Request::Kind;

namespace {

constexpr std::uint32_t signature = TriggerController::signature;
constexpr HotKeyIdentifier shortcut{signature, 1};
constexpr std::uint32_t commandOptionControl = 0x1900;

} // namespace

class TriggerControllerShortcutTest : public TriggerControllerFixture {
protected:
    void expectRefused(const AppSettings& settings) {
        try {
            controller->configure(settings);
            ADD_FAILURE() << "the shortcut was accepted";
        } catch (const TriggerError& error) {
            EXPECT_EQ(error.errorCase, TriggerError::Case::unavailableHotKey);
        }
    }

    void expectIdle() const {
        EXPECT_TRUE(registrar.hotKeys().empty());
        EXPECT_EQ(clock.timerCount(), 0U);
    }

    static AppSettings onKey(const QString& key) {
        return shortcutSettings({.command = true, .key = key});
    }
};

TEST_F(TriggerControllerShortcutTest, SignatureReadsLumv) {
    EXPECT_EQ(signature, std::uint32_t{'L'} << 24 | std::uint32_t{'U'} << 16 |
                             std::uint32_t{'M'} << 8 | std::uint32_t{'V'});
}

TEST_F(TriggerControllerShortcutTest, ConstructionInstallsOneHandlerAndNothingElse) {
    EXPECT_EQ(registrar.requests(),
              (std::vector<Request>{{Kind::installHandler, {signature, 0}, 0, 0}}));
    EXPECT_EQ(registrar.handlerCount(), 1U);
    expectIdle();
    EXPECT_EQ(log.texts("trigger"),
              std::vector<std::string>{"Installed Carbon hot-key event handler"});
    EXPECT_EQ(logged(LogLevel::debug, "Installed Carbon hot-key event handler"), 1);
}

TEST_F(TriggerControllerShortcutTest, CallbacksAreEmptyAtFirst) {
    const TriggerController fresh(registrar, displayServer, clock);
    EXPECT_FALSE(fresh.onTrigger);
    EXPECT_FALSE(fresh.onError);
    EXPECT_FALSE(fresh.onDwellStart);
}

TEST_F(TriggerControllerShortcutTest, RefusedHandlerIsLoggedAndTheControllerGoesOn) {
    controller.reset();
    registrar.refuseHandlers(-9860);
    EXPECT_NO_THROW(create());
    EXPECT_EQ(logged(LogLevel::error, "Could not install Carbon event handler; status=-9860"), 1);
    EXPECT_EQ(log.countStartingWith("Installed Carbon"), 1); // the first controller's
    controller->configure(shortcutSettings());
    EXPECT_EQ(registrar.hotKeys().size(), 1U);
    controller->configure(cornerSettings());
    EXPECT_EQ(clock.timerCount(), 1U);
    EXPECT_NO_THROW(controller->invalidate());
}

TEST_F(TriggerControllerShortcutTest, ShortcutModeRegistersTheKeyAndLogsItsTextForm) {
    controller->configure(shortcutSettings());
    EXPECT_EQ(registrar.hotKeys(), (std::vector<test::FakeHotKeyRegistrar::HotKey>{
                                       {1, commandOptionControl, shortcut}}));
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_EQ(log.texts("trigger").back(), "Registered global shortcut; shortcut=cmd+alt+ctrl+S");
    EXPECT_EQ(logged(LogLevel::standard, log.texts("trigger").back()), 1);
}

TEST_F(TriggerControllerShortcutTest, KeyIsTakenInUpperCase) {
    controller->configure(onKey(u"s"_qs));
    ASSERT_EQ(registrar.hotKeys().size(), 1U);
    EXPECT_EQ(registrar.hotKeys().front().keyCode, 1U);
}

TEST_F(TriggerControllerShortcutTest, EachModifierHasItsMask) {
    const std::vector<std::pair<HotKey, std::uint32_t>> masks{
        {{.key = u"S"_qs}, 0U},
        {{.command = true, .key = u"S"_qs}, 0x0100U},
        {{.option = true, .key = u"S"_qs}, 0x0800U},
        {{.control = true, .key = u"S"_qs}, 0x1000U},
        {{.shift = true, .key = u"S"_qs}, 0x0200U},
        {{.command = true, .option = true, .control = true, .shift = true, .key = u"S"_qs},
         0x1B00U},
    };
    for (const auto& [hotKey, mask] : masks) {
        controller->configure(shortcutSettings(hotKey));
        ASSERT_EQ(registrar.hotKeys().size(), 1U);
        EXPECT_EQ(registrar.hotKeys().front().modifiers, mask);
    }
}

TEST_F(TriggerControllerShortcutTest, KeysWithoutACodeFailBeforeTheRegistrarIsAsked) {
    registrar.forgetRequests();
    for (const QString& key : {u"F5"_qs, u"Space"_qs, u" "_qs, u"Return"_qs, u"Ж"_qs, u""_qs}) {
        expectRefused(onKey(key));
    }
    EXPECT_TRUE(registrar.requests().empty());
    EXPECT_EQ(log.countStartingWith("Global shortcut registration failed"), 0);
    expectIdle();
}

TEST_F(TriggerControllerShortcutTest, RefusedRegistrationLeavesNothingLive) {
    controller->configure(cornerSettings());
    registrar.refuseHotKeys(-9878);
    expectRefused(shortcutSettings());
    EXPECT_EQ(logged(LogLevel::error, "Global shortcut registration failed; status=-9878"), 1);
    EXPECT_EQ(log.countStartingWith("Registered global shortcut"), 0);
    expectIdle();
    EXPECT_TRUE(calls.empty()); // failures are thrown and not called back
}

TEST_F(TriggerControllerShortcutTest, RefusedRegistrationReleasesTheKeyOfBefore) {
    controller->configure(shortcutSettings());
    expectRefused(onKey(u"F5"_qs));
    expectIdle();
}

TEST_F(TriggerControllerShortcutTest, AFreedShortcutRegistersAtTheNextConfigure) {
    registrar.refuseHotKeys(10);
    expectRefused(shortcutSettings());
    registrar.refuseHotKeys(0);
    controller->configure(shortcutSettings());
    EXPECT_EQ(registrar.hotKeys().size(), 1U);
}

TEST_F(TriggerControllerShortcutTest, SameSettingsTwiceRegisterTheKeyAnew) {
    registrar.forgetRequests();
    controller->configure(shortcutSettings());
    controller->configure(shortcutSettings());
    EXPECT_EQ(registrar.requests(), (std::vector<Request>{
                                        {Kind::registerHotKey, shortcut, 1, commandOptionControl},
                                        {Kind::unregisterHotKey, shortcut, 1, commandOptionControl},
                                        {Kind::registerHotKey, shortcut, 1, commandOptionControl},
                                    }));
}

TEST_F(TriggerControllerShortcutTest, PausedLeavesNeitherKeyNorTimer) {
    controller->configure(shortcutSettings());
    AppSettings paused = shortcutSettings();
    paused.paused = true;
    controller->configure(paused);
    expectIdle();
    paused.activationMode = ActivationMode::corner;
    controller->configure(paused);
    expectIdle();
    EXPECT_EQ(logged(LogLevel::info, "Triggers disabled because Lumivane is paused"), 2);
}

TEST_F(TriggerControllerShortcutTest, IncompleteSetupLeavesNeitherKeyNorTimer) {
    AppSettings settings = shortcutSettings();
    settings.configured = false;
    controller->configure(settings);
    settings.activationMode = ActivationMode::corner;
    controller->configure(settings);
    expectIdle();
    EXPECT_EQ(logged(LogLevel::info, "Triggers disabled because setup is incomplete"), 2);
}

TEST_F(TriggerControllerShortcutTest, IncompleteSetupIsToldBeforePaused) {
    AppSettings settings = shortcutSettings();
    settings.configured = false;
    settings.paused = true;
    controller->configure(settings);
    EXPECT_EQ(log.countStartingWith("Triggers disabled because setup is incomplete"), 1);
    EXPECT_EQ(log.countStartingWith("Triggers disabled because Lumivane is paused"), 0);
}

TEST_F(TriggerControllerShortcutTest, EveryConfigureStopsFirst) {
    controller->configure(shortcutSettings());
    const auto texts = log.texts("trigger");
    ASSERT_EQ(texts.size(), 3U);
    EXPECT_EQ(texts[1], "Stopped active triggers");
    EXPECT_EQ(logged(LogLevel::debug, "Stopped active triggers"), 1);
}

TEST_F(TriggerControllerShortcutTest, ModesReplaceEachOther) {
    controller->configure(shortcutSettings());
    controller->configure(cornerSettings());
    EXPECT_TRUE(registrar.hotKeys().empty());
    EXPECT_EQ(clock.timerCount(), 1U);
    controller->configure(shortcutSettings());
    EXPECT_EQ(registrar.hotKeys().size(), 1U);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(TriggerControllerShortcutTest, StopKeepsTheHandler) {
    controller->configure(shortcutSettings());
    controller->stop();
    expectIdle();
    EXPECT_EQ(registrar.handlerCount(), 1U);
}

TEST_F(TriggerControllerShortcutTest, InvalidateReleasesEverythingInOrder) {
    controller->configure(shortcutSettings());
    registrar.forgetRequests();
    controller->invalidate();
    EXPECT_EQ(registrar.requests(),
              (std::vector<Request>{{Kind::unregisterHotKey, shortcut, 1, commandOptionControl},
                                    {Kind::removeHandler, {signature, 0}, 0, 0}}));
    const auto texts = log.texts("trigger");
    EXPECT_EQ(texts[texts.size() - 2], "Stopped active triggers");
    EXPECT_EQ(texts.back(), "Invalidated trigger controller");
    EXPECT_EQ(logged(LogLevel::debug, "Invalidated trigger controller"), 1);
    controller->invalidate();
    EXPECT_EQ(registrar.requests().size(), 2U);
}

TEST_F(TriggerControllerShortcutTest, DestructionReleasesEverything) {
    controller->configure(shortcutSettings());
    controller.reset();
    EXPECT_TRUE(registrar.hotKeys().empty());
    EXPECT_EQ(registrar.handlerCount(), 0U);
}

TEST_F(TriggerControllerShortcutTest, PressNamesTheDisplayUnderThePointer) {
    displayServer.attached = {
        {.displayID = 7, .frame = {0, 0, 1920, 1080}, .isPrimary = true},
        {.displayID = 9, .frame = {1920, -200, 1280, 1024}},
    };
    displayServer.pointer = Point{2500, -100};
    controller->configure(shortcutSettings());
    registrar.pressKey(1, commandOptionControl);
    EXPECT_EQ(calls, std::vector<std::string>{"trigger 9"});
    EXPECT_EQ(logged(LogLevel::standard, "Global shortcut fired; display=9"), 1);
}

TEST_F(TriggerControllerShortcutTest, EveryPressFires) {
    controller->configure(shortcutSettings());
    registrar.press(shortcut);
    registrar.press(shortcut);
    EXPECT_EQ(triggerCount(), 2);
}

TEST_F(TriggerControllerShortcutTest, OtherIdentifiersAreIgnored) {
    controller->configure(shortcutSettings());
    registrar.press({signature, 0});
    registrar.press({signature, 2});
    registrar.press({0x4C564F56, 1}); // another signature
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(log.countStartingWith("Global shortcut fired"), 0);
    EXPECT_EQ(displayServer.pointerReads, 0);
}

TEST_F(TriggerControllerShortcutTest, PressWithoutADisplayIsLost) {
    controller->configure(shortcutSettings());
    const auto pressLost = [this] {
        registrar.press(shortcut);
        EXPECT_TRUE(calls.empty());
    };
    displayServer.pointer = std::nullopt;
    pressLost();
    displayServer.pointer = Point{5000, 5000};
    pressLost();
    displayServer.pointer = Point{1, 1};
    displayServer.isLost = true;
    pressLost();
    EXPECT_EQ(logged(LogLevel::error, "Global shortcut fired but no display was resolved"), 3);
    EXPECT_EQ(log.countStartingWith("Global shortcut fired; display="), 0);
}

TEST_F(TriggerControllerShortcutTest, PressWithoutACallbackIsHarmless) {
    controller->onTrigger = nullptr;
    controller->configure(shortcutSettings());
    registrar.press(shortcut);
    EXPECT_EQ(logged(LogLevel::standard, "Global shortcut fired; display=7"), 1);
}

TEST_F(TriggerControllerShortcutTest, CallbackMayReconfigure) {
    controller->configure(shortcutSettings());
    controller->onTrigger = [this](std::uint32_t) {
        calls.emplace_back("trigger");
        controller->configure(cornerSettings());
    };
    registrar.press(shortcut);
    EXPECT_EQ(calls.size(), 1U);
    EXPECT_TRUE(registrar.hotKeys().empty());
    EXPECT_EQ(clock.timerCount(), 1U);
}

TEST_F(TriggerControllerShortcutTest, CallbackMayInvalidateOrDestroyTheController) {
    controller->configure(shortcutSettings());
    controller->onTrigger = [this](std::uint32_t) { controller->invalidate(); };
    registrar.press(shortcut);
    EXPECT_EQ(registrar.handlerCount(), 0U);

    create();
    controller->configure(shortcutSettings());
    controller->onTrigger = [this](std::uint32_t displayID) {
        controller.reset();
        calls.push_back("trigger " + std::to_string(displayID)); // the callback itself lives on
    };
    registrar.press(shortcut);
    EXPECT_EQ(calls, std::vector<std::string>{"trigger 7"});
    EXPECT_TRUE(registrar.hotKeys().empty());
}

TEST_F(TriggerControllerShortcutTest, CallbackMayReplaceItself) {
    controller->configure(shortcutSettings());
    controller->onTrigger = [this](std::uint32_t) {
        controller->onTrigger = nullptr;
        calls.emplace_back("once");
    };
    registrar.press(shortcut);
    registrar.press(shortcut);
    EXPECT_EQ(calls, std::vector<std::string>{"once"});
}

} // namespace lumivane
