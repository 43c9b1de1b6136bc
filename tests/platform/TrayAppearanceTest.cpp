#include "platform/linux/TrayAppearance.h"

#include "support/EventLoop.h"
#include "support/SettingsPortal.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDBusVariant>

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

namespace {

const auto group = u"org.freedesktop.appearance"_qs;
const auto key = u"color-scheme"_qs;

constexpr uint noPreference = 0;
constexpr uint prefersDark = 1;
constexpr uint prefersLight = 2;

PortalSettings saying(const QVariant& scheme) { return {{group, {{key, scheme}}}}; }

} // namespace

class TrayAppearanceTest : public testing::Test {
protected:
    TrayAppearance& watch() {
        m_appearance = std::make_unique<TrayAppearance>(own);
        QObject::connect(m_appearance.get(), &TrayAppearance::changed, m_appearance.get(),
                         [this] { ++changes; });
        return *m_appearance;
    }

    void stopWatching() { m_appearance.reset(); }

    bool waitFor(Appearance appearance) {
        return waitUntil([&] { return m_appearance->appearance() == appearance; });
    }

    /// Asked over the connection on which changes are heard: what came before has come in.
    qsizetype namesOnBus() { return own.interface()->registeredServiceNames().value().size(); }

    PrivateBus bus;
    QDBusConnection own = bus.connect();
    int changes = 0;

private:
    std::unique_ptr<TrayAppearance> m_appearance;
};

TEST_F(TrayAppearanceTest, WithoutAPortalPanelsCountAsLight) {
    EXPECT_EQ(watch().appearance(), Appearance::light);
}

TEST_F(TrayAppearanceTest, AWishForDarkIsTaken) {
    const SettingsPortal portal(bus, saying(prefersDark));
    watch();
    EXPECT_TRUE(waitFor(Appearance::dark));
    EXPECT_EQ(changes, 1);
}

TEST_F(TrayAppearanceTest, EveryOtherWordLeavesItLight) {
    for (const QVariant& scheme : {QVariant(noPreference), QVariant(prefersLight), QVariant(7U),
                                   QVariant(1), QVariant(u"1"_qs), QVariant(true)}) {
        stopWatching(); // the one before would put questions to this portal, too
        SettingsPortal portal(bus, saying(scheme));
        changes = 0;
        watch();
        ASSERT_TRUE(waitUntil([&] { return !portal.questions().isEmpty(); }));
        // What is told after the answer is heard after it.
        portal.change(u"other"_qs, key, prefersDark);
        portal.change(group, u"other"_qs, prefersDark);
        portal.change(group, key, prefersLight);
        portal.change(group, key, prefersDark);
        ASSERT_TRUE(waitFor(Appearance::dark));
        EXPECT_EQ(changes, 1) << scheme.typeName();
    }
}

TEST_F(TrayAppearanceTest, ChangesAreFollowed) {
    SettingsPortal portal(bus, saying(prefersDark));
    watch();
    ASSERT_TRUE(waitFor(Appearance::dark));
    portal.change(group, key, prefersLight);
    ASSERT_TRUE(waitFor(Appearance::light));
    portal.change(group, key, QVariant::fromValue(QDBusVariant(prefersDark)));
    ASSERT_TRUE(waitFor(Appearance::dark));
    portal.change(group, key, noPreference);
    ASSERT_TRUE(waitFor(Appearance::light));
    EXPECT_EQ(changes, 4);
}

TEST_F(TrayAppearanceTest, APortalThatComesLaterIsAsked) {
    watch();
    drainEvents();
    const SettingsPortal portal(bus, saying(prefersDark));
    EXPECT_TRUE(waitFor(Appearance::dark));
}

TEST_F(TrayAppearanceTest, APortalThatGoesLeavesItsLastWord) {
    auto portal = std::make_unique<SettingsPortal>(bus, saying(prefersDark));
    const TrayAppearance& appearance = watch();
    ASSERT_TRUE(waitFor(Appearance::dark));
    portal.reset();
    drainEvents();
    EXPECT_EQ(appearance.appearance(), Appearance::dark);
}

TEST_F(TrayAppearanceTest, OnlyThePortalIsBelieved) {
    auto portal = std::make_unique<SettingsPortal>(bus, saying(prefersDark));
    watch();
    ASSERT_TRUE(waitFor(Appearance::dark));
    portal->stepDown();
    const SettingsPortal successor(bus, saying(prefersLight));
    ASSERT_TRUE(waitFor(Appearance::light));
    changes = 0;
    portal->change(group, key, prefersDark);
    const auto names = namesOnBus();
    portal.reset();
    // What it said has been passed on by the time the bus knows that it is gone.
    ASSERT_TRUE(waitUntil([&] { return namesOnBus() < names; }));
    drainEvents();
    EXPECT_EQ(changes, 0);
}

TEST_F(TrayAppearanceTest, AnswersOfAnotherFormAreNone) {
    for (const QVariant& answer : {QVariant(u"dark"_qs), QVariant(prefersDark)}) {
        const SettingsPortal portal(bus, answer);
        const TrayAppearance& appearance = watch();
        ASSERT_TRUE(waitUntil([&] { return !portal.questions().isEmpty(); }));
        drainEvents();
        EXPECT_EQ(appearance.appearance(), Appearance::light);
    }
}

TEST(TrayAppearance, WithoutABusPanelsCountAsLight) {
    const TrayAppearance appearance{QDBusConnection(u"no such connection"_qs)};
    drainEvents();
    EXPECT_EQ(appearance.appearance(), Appearance::light);
}

} // namespace lumivane::test
