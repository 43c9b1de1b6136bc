#include "platform/linux/XcbHotKeyRegistrar.h"

#include "platform/KeyboardDisplay.h"
#include "support/EventLoop.h"
#include "triggers/KeyCodes.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane {

using namespace std::chrono_literals;

namespace {

constexpr std::uint32_t letterS = 1;
constexpr std::uint32_t letterD = 2;
constexpr std::uint32_t escape = 53;
constexpr std::uint32_t commandOption = hotKeyModifier::command | hotKeyModifier::option;
constexpr HotKeyIdentifier shortcut{0x4C554D56, 1};
constexpr HotKeyIdentifier mark{0x4D41524B, 1};

// X masks of the server's standard keyboard.
constexpr std::uint16_t superAlt = XCB_MOD_MASK_4 | XCB_MOD_MASK_1;
constexpr std::uint16_t capsLock = XCB_MOD_MASK_LOCK;
constexpr std::uint16_t numLock = XCB_MOD_MASK_2;
constexpr std::array<std::uint16_t, 4> lockStates{0, capsLock, numLock, capsLock | numLock};

} // namespace

class XcbHotKeyRegistrarTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_FALSE(display.name().isEmpty()) << "no X server"; }

    HotKeyRegistrar::Result add(std::uint32_t keyCode, std::uint32_t modifiers = commandOption) {
        return registrar->registerHotKey(keyCode, modifiers, shortcut);
    }

    HotKeyRegistrar::Result countPresses() {
        return registrar->installHandler(shortcut.signature,
                                         [this](HotKeyIdentifier) { ++presses; });
    }

    void pressWithSuperAlt(xcb_keycode_t keycode) {
        display.press(keycode, {XK_Super_L, XK_Alt_L});
    }

    /// Events arrive in order: once a press that is sure to come is here, so is all before it.
    void settle() {
        bool hasArrived = false;
        const auto handler = registrar->installHandler(
            mark.signature, [&hasArrived](HotKeyIdentifier) { hasArrived = true; });
        const auto key = registrar->registerHotKey(escape, hotKeyModifier::control, mark);
        ASSERT_EQ(key.status, 0);
        display.press(display.keycodeOf(XK_Escape), {XK_Control_L});
        ASSERT_TRUE(test::waitUntil([&hasArrived] { return hasArrived; }));
    }

    /// What has fired since the last call.
    int takeFired() {
        settle();
        return std::exchange(presses, 0);
    }

    bool anotherClientCanGrab(xcb_keycode_t keycode, std::uint16_t modifiers) {
        bool hasGrabbed = true;
        for (const std::uint16_t locks : lockStates) {
            const auto state = static_cast<std::uint16_t>(modifiers | locks);
            hasGrabbed = display.grab(keycode, state) == 0 && hasGrabbed;
            display.ungrab(keycode, state);
        }
        return hasGrabbed;
    }

    test::KeyboardDisplay display;
    std::optional<XcbHotKeyRegistrar> registrar{std::in_place, display.name()};
    int presses = 0;
};

TEST_F(XcbHotKeyRegistrarTest, EveryLockStateFiresOnce) {
    const auto handler = countPresses();
    const auto key = add(letterS);
    ASSERT_EQ(key.status, 0);
    std::uint16_t expected = 0;
    for (const std::uint16_t toggled : {capsLock, numLock, capsLock, numLock}) {
        ASSERT_EQ(display.modifierState(), expected);
        pressWithSuperAlt(display.keycodeOf(XK_s));
        EXPECT_EQ(takeFired(), 1) << "modifiers " << expected;
        display.press(display.keycodeOf(toggled == capsLock ? XK_Caps_Lock : XK_Num_Lock));
        expected ^= toggled;
    }
    EXPECT_EQ(display.modifierState(), 0);
}

TEST_F(XcbHotKeyRegistrarTest, OtherModifiersDoNotFire) {
    const auto handler = countPresses();
    const auto key = add(letterS);
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    display.press(keycode);
    display.press(keycode, {XK_Super_L});
    display.press(keycode, {XK_Alt_L});
    display.press(keycode, {XK_Super_L, XK_Alt_L, XK_Shift_L});
    display.press(keycode, {XK_Super_L, XK_Alt_L, XK_Control_L});
    EXPECT_EQ(takeFired(), 0);
}

TEST_F(XcbHotKeyRegistrarTest, EachModifierIsItsOwnKey) {
    const auto handler = countPresses();
    const std::vector<std::pair<std::uint32_t, xcb_keysym_t>> modifiers{
        {hotKeyModifier::command, XK_Super_L},
        {hotKeyModifier::shift, XK_Shift_L},
        {hotKeyModifier::option, XK_Alt_L},
        {hotKeyModifier::control, XK_Control_L},
    };
    for (const auto& [modifier, keysym] : modifiers) {
        const auto key = add(letterS, modifier);
        for (const auto& other : modifiers) {
            display.press(display.keycodeOf(XK_s), {other.second});
        }
        EXPECT_EQ(takeFired(), 1) << modifier;
        display.press(display.keycodeOf(XK_s), {keysym});
        EXPECT_EQ(takeFired(), 1) << modifier;
    }
}

TEST_F(XcbHotKeyRegistrarTest, EveryKeyOfTheTableAndEscapeFires) {
    const auto handler = countPresses();
    for (const KeyCodeRow& row : keyCodes) {
        const auto key = add(row.code);
        ASSERT_EQ(key.status, 0) << row.code;
        const bool isLetter = row.key >= u'A' && row.key <= u'Z';
        pressWithSuperAlt(display.keycodeOf(isLetter ? row.key - u'A' + u'a' : row.key));
        ASSERT_TRUE(test::waitUntil([this] { return presses > 0; })) << row.code;
        EXPECT_EQ(std::exchange(presses, 0), 1) << row.code;
    }
    const auto key = add(escape, 0);
    ASSERT_EQ(key.status, 0);
    display.press(display.keycodeOf(XK_Escape));
    EXPECT_EQ(takeFired(), 1);
}

TEST_F(XcbHotKeyRegistrarTest, CodesThatNoKeyHasAreRefused) {
    for (const std::uint32_t code : {10U, 36U, 49U, 51U, 54U, 96U, 0xFFFFFFFFU}) {
        const auto result = add(code);
        EXPECT_EQ(result.status, XcbHotKeyRegistrar::noSuchKey) << code;
        EXPECT_EQ(result.registration, nullptr);
    }
}

TEST_F(XcbHotKeyRegistrarTest, HeldKeyFiresOnce) {
    const auto handler = countPresses();
    const auto key = add(letterS, 0);
    const xcb_keycode_t control = display.keycodeOf(XK_f);
    ASSERT_EQ(display.grab(control, 0), 0);
    display.keyDown(control);
    display.keyUpAfter(control, 400ms);
    ASSERT_GT(display.takePresses(), 2) << "this server does not repeat held keys";

    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    display.keyDown(keycode);
    display.keyUpAfter(keycode, 400ms);
    EXPECT_EQ(takeFired(), 1);
    display.keyDown(keycode);
    display.keyUpAfter(keycode, 400ms);
    EXPECT_EQ(takeFired(), 1);
}

TEST_F(XcbHotKeyRegistrarTest, HeldKeyThatIsRegisteredAnewByItsHandlerFiresOnce) {
    HotKeyRegistrar::Result key;
    const auto handler = registrar->installHandler(shortcut.signature, [&](HotKeyIdentifier) {
        ++presses;
        key.registration.reset();
        key = add(letterS, 0);
    });
    key = add(letterS, 0);
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    display.keyDown(keycode);
    ASSERT_TRUE(test::waitUntil([this] { return presses > 0; }));
    display.keyUpAfter(keycode, 400ms);
    EXPECT_EQ(takeFired(), 1);
}

TEST_F(XcbHotKeyRegistrarTest, AnotherClientsGrabIsReportedAndNothingStaysGrabbed) {
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    for (const std::uint16_t locks : lockStates) {
        const auto state = static_cast<std::uint16_t>(superAlt | locks);
        ASSERT_EQ(display.grab(keycode, state), 0);
        const auto result = add(letterS);
        EXPECT_EQ(result.status, XcbHotKeyRegistrar::accessDenied);
        EXPECT_EQ(result.registration, nullptr);
        display.ungrab(keycode, state);
        EXPECT_TRUE(anotherClientCanGrab(keycode, superAlt));
    }
    EXPECT_EQ(add(letterS).status, 0);
}

TEST_F(XcbHotKeyRegistrarTest, RefusalLeavesTheOtherClientItsGrab) {
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    ASSERT_EQ(display.grab(keycode, superAlt), 0);
    add(letterS);
    pressWithSuperAlt(keycode);
    EXPECT_EQ(display.takePresses(), 1);
}

TEST_F(XcbHotKeyRegistrarTest, ReleaseFreesTheCombinationForOthers) {
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    auto key = add(letterS);
    for (const std::uint16_t locks : lockStates) {
        EXPECT_EQ(display.grab(keycode, static_cast<std::uint16_t>(superAlt | locks)), 10);
    }
    key.registration.reset();
    EXPECT_TRUE(anotherClientCanGrab(keycode, superAlt));
}

TEST_F(XcbHotKeyRegistrarTest, DestroyedRegistrarReleasesItsKeysWhateverOutlivesIt) {
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    auto handler = countPresses();
    auto key = add(letterS);
    registrar.reset();
    EXPECT_TRUE(test::waitUntil([&] { return anotherClientCanGrab(keycode, superAlt); }));
    key.registration.reset();
    handler.registration.reset();
}

TEST_F(XcbHotKeyRegistrarTest, HandlerMayDestroyTheRegistrar) {
    const auto handler = registrar->installHandler(shortcut.signature, [this](HotKeyIdentifier) {
        registrar.reset();
        ++presses;
    });
    const auto key = add(letterS);
    pressWithSuperAlt(display.keycodeOf(XK_s));
    pressWithSuperAlt(display.keycodeOf(XK_s));
    EXPECT_TRUE(test::waitUntil([this] { return presses > 0; }));
    EXPECT_EQ(presses, 1);
}

TEST_F(XcbHotKeyRegistrarTest, SwappedKeysAreFollowed) {
    const auto handler = countPresses();
    const auto key = add(letterS);
    const xcb_keycode_t wasS = display.keycodeOf(XK_s);
    const xcb_keycode_t wasD = display.keycodeOf(XK_d);
    display.remap(wasS, XK_d);
    display.remap(wasD, XK_s);
    settle();
    pressWithSuperAlt(wasS);
    EXPECT_EQ(takeFired(), 0);
    pressWithSuperAlt(wasD);
    EXPECT_EQ(takeFired(), 1);
    EXPECT_TRUE(anotherClientCanGrab(wasS, superAlt));
}

TEST_F(XcbHotKeyRegistrarTest, TwoRegistrationsMaySwapTheirKeys) {
    std::vector<std::uint32_t> fired;
    const auto handler =
        registrar->installHandler(shortcut.signature, [&fired](HotKeyIdentifier identifier) {
            fired.push_back(identifier.id);
        });
    const auto one = registrar->registerHotKey(letterS, commandOption, {shortcut.signature, 1});
    const auto two = registrar->registerHotKey(letterD, commandOption, {shortcut.signature, 2});
    const xcb_keycode_t wasS = display.keycodeOf(XK_s);
    const xcb_keycode_t wasD = display.keycodeOf(XK_d);
    display.remap(wasS, XK_d);
    display.remap(wasD, XK_s);
    settle();
    pressWithSuperAlt(wasS);
    pressWithSuperAlt(wasD);
    settle();
    EXPECT_EQ(fired, (std::vector<std::uint32_t>{2, 1}));
}

TEST_F(XcbHotKeyRegistrarTest, EveryKeyWithTheSymbolFires) {
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    const xcb_keycode_t extra = display.unusedKeycode();
    ASSERT_NE(extra, 0);
    display.remap(extra, XK_s);
    const auto handler = countPresses();
    settle();
    const auto key = add(letterS);
    pressWithSuperAlt(keycode);
    pressWithSuperAlt(extra);
    EXPECT_EQ(takeFired(), 2);
}

TEST_F(XcbHotKeyRegistrarTest, SymbolThatGoesAndComesBackFiresAgain) {
    const auto handler = countPresses();
    const auto key = add(letterS);
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    display.remap(keycode, XK_F20);
    settle();
    pressWithSuperAlt(keycode);
    EXPECT_EQ(takeFired(), 0);
    const auto refused = registrar->registerHotKey(letterS, 0, shortcut);
    EXPECT_EQ(refused.status, XcbHotKeyRegistrar::noSuchKey);
    display.remap(keycode, XK_s);
    settle();
    pressWithSuperAlt(keycode);
    EXPECT_EQ(takeFired(), 1);
}

TEST_F(XcbHotKeyRegistrarTest, KeyTakenByAnotherClientMeanwhileStaysWithIt) {
    const auto handler = countPresses();
    const auto key = add(letterS);
    const xcb_keycode_t wasS = display.keycodeOf(XK_s);
    const xcb_keycode_t wasD = display.keycodeOf(XK_d);
    ASSERT_EQ(display.grab(wasD, superAlt), 0);
    display.remap(wasS, XK_F20);
    display.remap(wasD, XK_s);
    settle();
    display.takePresses();
    pressWithSuperAlt(wasD);
    EXPECT_EQ(takeFired(), 0);
    EXPECT_EQ(display.takePresses(), 1);
    display.ungrab(wasD, superAlt);
    EXPECT_TRUE(anotherClientCanGrab(wasD, superAlt));
}

TEST_F(XcbHotKeyRegistrarTest, SecondLayoutServesWhereTheFirstLacksTheSymbol) {
    const xcb_keycode_t keycode = display.keycodeOf(XK_s);
    display.remap(keycode, {XK_Cyrillic_yeru, XK_Cyrillic_YERU, XK_s, XK_S});
    const auto handler = countPresses();
    settle();
    const auto key = add(letterS);
    ASSERT_EQ(key.status, 0);
    pressWithSuperAlt(keycode);
    EXPECT_EQ(takeFired(), 1);
}

TEST_F(XcbHotKeyRegistrarTest, ChosenLayoutIsFollowed) {
    const auto handler = countPresses();
    const auto key = add(0); // A, which stands where Q was in the French layout
    const xcb_keycode_t wasA = display.keycodeOf(XK_a);
    const xcb_keycode_t wasQ = display.keycodeOf(XK_q);
    display.chooseLayouts("fr");
    ASSERT_EQ(display.keycodeOf(XK_a), wasQ);
    settle();
    pressWithSuperAlt(wasA);
    EXPECT_EQ(takeFired(), 0);
    pressWithSuperAlt(wasQ);
    EXPECT_EQ(takeFired(), 1);

    display.chooseLayouts("ru,us");
    ASSERT_EQ(display.keycodeOf(XK_a), 0);
    settle();
    pressWithSuperAlt(wasA);
    EXPECT_EQ(takeFired(), 1);
}

TEST_F(XcbHotKeyRegistrarTest, UnreachableServerIsAStatus) {
    XcbHotKeyRegistrar nowhere(":59999");
    const auto handler = nowhere.installHandler(shortcut.signature, [](HotKeyIdentifier) {});
    EXPECT_EQ(handler.status, XcbHotKeyRegistrar::serverLost);
    EXPECT_EQ(handler.registration, nullptr);
    const auto key = nowhere.registerHotKey(letterS, commandOption, shortcut);
    EXPECT_EQ(key.status, XcbHotKeyRegistrar::serverLost);
    EXPECT_EQ(key.registration, nullptr);
    test::drainEvents();
}

TEST_F(XcbHotKeyRegistrarTest, KilledServerIsAStatusAtTheNextRequest) {
    std::signal(SIGPIPE, SIG_DFL); // the process must not live by a signal that is ignored
    auto handler = countPresses();
    auto key = add(letterS);
    display.kill();
    EXPECT_EQ(registrar->installHandler(mark.signature, [](HotKeyIdentifier) {}).status,
              XcbHotKeyRegistrar::serverLost);
    EXPECT_EQ(add(letterD).status, XcbHotKeyRegistrar::serverLost);
    key.registration.reset();
    handler.registration.reset();
    test::drainEvents();
    EXPECT_EQ(add(letterD).status, XcbHotKeyRegistrar::serverLost);
}

TEST_F(XcbHotKeyRegistrarTest, KilledServerIsNoticedByTheEventLoop) {
    std::signal(SIGPIPE, SIG_DFL);
    auto handler = countPresses();
    auto key = add(letterS);
    display.kill();
    // A socket at its end that is still looked at would keep the loop busy for ever.
    EXPECT_TRUE(test::waitUntil(
        [] { return !QCoreApplication::eventDispatcher()->processEvents(QEventLoop::AllEvents); }));
    EXPECT_EQ(add(letterD).status, XcbHotKeyRegistrar::serverLost);
    key.registration.reset();
    registrar.reset();
    EXPECT_EQ(presses, 0);
}

} // namespace lumivane
