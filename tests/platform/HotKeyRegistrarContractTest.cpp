#include "platform/KeyboardDisplay.h"
#include "platform/linux/XcbHotKeyRegistrar.h"
#include "support/EventLoop.h"
#include "support/FakeHotKeyRegistrar.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace lumivane {

namespace {

constexpr std::uint32_t letterS = 1;
constexpr std::uint32_t letterE = 14;
constexpr std::uint32_t commandOption = hotKeyModifier::command | hotKeyModifier::option;
constexpr HotKeyIdentifier first{0x46495253, 1};
constexpr HotKeyIdentifier second{0x5345434F, 1};

/// A registrar and a finger on its keys.
class Desktop {
public:
    virtual ~Desktop() = default;

    virtual HotKeyRegistrar& registrar() = 0;

    /// Presses S or E with Super and Alt, and ends when whoever hears of it has heard.
    virtual void press(std::uint32_t keyCode) = 0;

    virtual void destroyRegistrar() = 0;
};

class FakeDesktop final : public Desktop {
public:
    HotKeyRegistrar& registrar() override { return *m_registrar; }

    void press(std::uint32_t keyCode) override { m_registrar->pressKey(keyCode, commandOption); }

    void destroyRegistrar() override { m_registrar.reset(); }

private:
    std::unique_ptr<test::FakeHotKeyRegistrar> m_registrar =
        std::make_unique<test::FakeHotKeyRegistrar>();
};

class X11Desktop final : public Desktop {
public:
    X11Desktop()
        : m_registrar(std::make_unique<XcbHotKeyRegistrar>(m_display.name()))
        , m_markHandler(
              m_registrar->installHandler(mark.signature, [this](HotKeyIdentifier) { ++m_marks; }))
        , m_markKey(m_registrar->registerHotKey(50, 0, mark)) {}

    HotKeyRegistrar& registrar() override { return *m_registrar; }

    void press(std::uint32_t keyCode) override {
        m_display.press(m_display.keycodeOf(keyCode == letterS ? XK_s : XK_e),
                        {XK_Super_L, XK_Alt_L});
        if (m_registrar) {
            // Presses arrive in order: after this one, nothing of the first is under way.
            const int expected = m_marks + 1;
            m_display.press(m_display.keycodeOf(XK_grave));
            EXPECT_TRUE(test::waitUntil([&] { return m_marks == expected || !m_registrar; }));
        }
    }

    void destroyRegistrar() override { m_registrar.reset(); }

private:
    static constexpr HotKeyIdentifier mark{0x4D41524B, 9};

    test::KeyboardDisplay m_display;
    std::unique_ptr<XcbHotKeyRegistrar> m_registrar;
    int m_marks = 0;
    HotKeyRegistrar::Result m_markHandler;
    HotKeyRegistrar::Result m_markKey;
};

struct DesktopKind {
    const char* name;
    std::function<std::unique_ptr<Desktop>()> make;
};

} // namespace

class HotKeyRegistrarContractTest : public testing::TestWithParam<DesktopKind> {
protected:
    HotKeyRegistrar::Result listen(std::uint32_t signature, const std::string& who = {}) {
        return registrar().installHandler(signature, [this, who](HotKeyIdentifier identifier) {
            heard.push_back(who + std::to_string(identifier.id));
        });
    }

    HotKeyRegistrar::Result add(std::uint32_t keyCode, HotKeyIdentifier identifier) {
        return registrar().registerHotKey(keyCode, commandOption, identifier);
    }

    HotKeyRegistrar& registrar() { return desktop->registrar(); }

    std::unique_ptr<Desktop> desktop = GetParam().make();
    std::vector<std::string> heard;
};

TEST_P(HotKeyRegistrarContractTest, RegistrationComesExactlyWithSuccess) {
    const auto handler = listen(first.signature);
    EXPECT_EQ(handler.status, 0);
    EXPECT_NE(handler.registration, nullptr);
    const auto key = add(letterS, first);
    EXPECT_EQ(key.status, 0);
    EXPECT_NE(key.registration, nullptr);
    const auto refused = add(letterS, second);
    EXPECT_NE(refused.status, 0);
    EXPECT_EQ(refused.registration, nullptr);
}

TEST_P(HotKeyRegistrarContractTest, PressReachesTheHandlerWithTheIdentifier) {
    const auto handler = listen(first.signature);
    const auto key = add(letterS, {first.signature, 42});
    desktop->press(letterS);
    desktop->press(letterS);
    EXPECT_EQ(heard, (std::vector<std::string>{"42", "42"}));
}

TEST_P(HotKeyRegistrarContractTest, OtherKeysAreNotHeard) {
    const auto handler = listen(first.signature);
    const auto key = add(letterS, first);
    desktop->press(letterE);
    EXPECT_TRUE(heard.empty());
}

TEST_P(HotKeyRegistrarContractTest, HandlersHearTheirOwnSignatureOnly) {
    const auto one = listen(first.signature, "one ");
    const auto two = listen(second.signature, "two ");
    const auto oneKey = add(letterS, first);
    const auto twoKey = add(letterE, second);
    desktop->press(letterE);
    desktop->press(letterS);
    EXPECT_EQ(heard, (std::vector<std::string>{"two 1", "one 1"}));
}

TEST_P(HotKeyRegistrarContractTest, HandlersOfOneSignatureAllHearInOrder) {
    const auto one = listen(first.signature, "one ");
    const auto two = listen(first.signature, "two ");
    const auto key = add(letterS, first);
    desktop->press(letterS);
    EXPECT_EQ(heard, (std::vector<std::string>{"one 1", "two 1"}));
}

TEST_P(HotKeyRegistrarContractTest, CombinationIsExclusiveUntilReleased) {
    const auto handler = listen(second.signature);
    auto key = add(letterS, first);
    EXPECT_EQ(add(letterS, second).status, 10);
    key.registration.reset();
    const auto again = add(letterS, second);
    EXPECT_EQ(again.status, 0);
    desktop->press(letterS);
    EXPECT_EQ(heard.size(), 1U);
}

TEST_P(HotKeyRegistrarContractTest, RefusalDoesNotDisturbTheHolder) {
    const auto handler = listen(first.signature);
    const auto key = add(letterS, first);
    add(letterS, second);
    desktop->press(letterS);
    EXPECT_EQ(heard.size(), 1U);
}

TEST_P(HotKeyRegistrarContractTest, ReleasedKeyAndRemovedHandlerAreSilent) {
    auto handler = listen(first.signature);
    auto key = add(letterS, first);
    key.registration.reset();
    desktop->press(letterS);
    EXPECT_TRUE(heard.empty());
    key = add(letterS, first);
    handler.registration.reset();
    desktop->press(letterS);
    EXPECT_TRUE(heard.empty());
}

TEST_P(HotKeyRegistrarContractTest, HandlerMayReleaseAndRegisterFromInside) {
    HotKeyRegistrar::Result key;
    const auto handler = registrar().installHandler(first.signature, [&](HotKeyIdentifier) {
        heard.emplace_back("press");
        key.registration.reset();
        key = add(letterS, first);
        EXPECT_EQ(key.status, 0);
    });
    key = add(letterS, first);
    desktop->press(letterS);
    desktop->press(letterS);
    EXPECT_EQ(heard.size(), 2U);
}

TEST_P(HotKeyRegistrarContractTest, HandlerMayRemoveItselfAndTheNextOne) {
    HotKeyRegistrar::Result one;
    HotKeyRegistrar::Result two;
    one = registrar().installHandler(first.signature, [&](HotKeyIdentifier) {
        one.registration.reset();
        two.registration.reset();
        heard.emplace_back("one"); // the callback itself lives on
    });
    two = listen(first.signature, "two ");
    const auto key = add(letterS, first);
    desktop->press(letterS);
    desktop->press(letterS);
    EXPECT_EQ(heard, std::vector<std::string>{"one"});
}

TEST_P(HotKeyRegistrarContractTest, RegistrationsMayOutliveTheRegistrar) {
    auto handler = listen(first.signature);
    auto key = add(letterS, first);
    desktop->destroyRegistrar();
    handler.registration.reset();
    key.registration.reset();
    EXPECT_TRUE(heard.empty());
}

INSTANTIATE_TEST_SUITE_P(
    , HotKeyRegistrarContractTest,
    testing::Values(DesktopKind{"Fake", [] { return std::make_unique<FakeDesktop>(); }},
                    DesktopKind{"X11", [] { return std::make_unique<X11Desktop>(); }}),
    [](const testing::TestParamInfo<DesktopKind>& info) { return info.param.name; });

} // namespace lumivane
