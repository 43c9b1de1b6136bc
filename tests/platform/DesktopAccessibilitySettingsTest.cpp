#include "async/SystemClock.h"
#include "platform/DesktopAccessibilitySettingsFixture.h"
#include "support/XTestProcess.h"

#include <QDBusVariant>
#include <QFile>

#include <stdexcept>

namespace lumivane::test {
namespace {

TEST_F(DesktopNeeds, APortalThatSaysNothingAsksForNothing) {
    SettingsPortal portal(bus, PortalSettings{});
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(portal));
    settle(portal, subject);

    EXPECT_FALSE(subject.settings.reduceMotion());
    EXPECT_FALSE(subject.settings.reduceTransparency());
    EXPECT_EQ(subject.changes, 0);
}

TEST_F(DesktopNeeds, OnlyTheGroupsThatMatterAreAskedFor) {
    SettingsPortal portal(bus, PortalSettings{});
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(portal));

    EXPECT_EQ(portal.questions().first(),
              (QStringList{appearance, gnome, kde, gnomeAccessibility}));
}

TEST_F(DesktopNeeds, OneSettingThatAsksIsEnough) {
    SettingsPortal portal(bus, PortalSettings{{appearance, {{u"reduced-motion"_qs, uint(0)}}},
                                              {gnome, {{u"enable-animations"_qs, false}}}});
    Subject subject(bus.connect());

    EXPECT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
}

TEST_F(DesktopNeeds, AWishThatIsTakenBackEnds) {
    SettingsPortal portal(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}});
    Subject subject(bus.connect());
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
    portal.change(gnome, u"enable-animations"_qs, true);

    EXPECT_TRUE(waitUntil([&] { return !subject.settings.reduceMotion(); }));
    EXPECT_EQ(subject.changes, 2);
}

TEST_F(DesktopNeeds, AChangeThatCannotBeReadChangesNothing) {
    SettingsPortal portal(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}});
    Subject subject(bus.connect());
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
    portal.change(gnome, u"enable-animations"_qs, u"yes"_qs);
    portal.tell({});
    portal.tell({gnome, u"enable-animations"_qs});
    portal.tell({gnome, u"enable-animations"_qs, true});
    portal.tell({1, 2, 3});
    settle(portal, subject);

    EXPECT_TRUE(subject.settings.reduceMotion());
    EXPECT_EQ(subject.changes, 1);
}

TEST_F(DesktopNeeds, AChangeFromSomebodyElseIsNotBelieved) {
    SettingsPortal portal(bus, PortalSettings{});
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(portal));
    settle(portal, subject);
    auto stranger = bus.connect();
    auto signal =
        QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_qs,
                                   u"org.freedesktop.portal.Settings"_qs, u"SettingChanged"_qs);
    signal << gnome << u"enable-animations"_qs << QVariant::fromValue(QDBusVariant(false));
    stranger.send(signal);
    // Its next call is answered only after the bus has passed the signal on.
    stranger.call(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs, u"/"_qs,
                                                 u"org.freedesktop.DBus.Peer"_qs, u"Ping"_qs));
    settle(portal, subject);

    EXPECT_FALSE(subject.settings.reduceMotion());
}

TEST_F(DesktopNeeds, AnAnswerOfAnotherKindIsNoAnswer) {
    for (const auto& answer : {QVariant(u"garbage"_qs), QVariant(1), QVariant(QVariantMap()),
                               QVariant(QStringList{u"a"_qs})}) {
        SettingsPortal portal(bus, answer);
        QApplication::setStyle(new StyleWithDuration(0));
        Subject subject(bus.connect());
        ASSERT_TRUE(isRead(portal));
        drainEvents();

        EXPECT_TRUE(subject.settings.reduceMotion()) << "the toolkit's setting holds";
        EXPECT_EQ(subject.changes, 0);
    }
}

TEST_F(DesktopNeeds, UntilThePortalAnswersTheToolkitsSettingHolds) {
    QApplication::setStyle(new StyleWithDuration(0));
    SettingsPortal portal(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, true}}}},
                          Manner::staysSilent);
    Subject subject(bus.connect());
    EXPECT_TRUE(subject.settings.reduceMotion());
    ASSERT_TRUE(isRead(portal));
    EXPECT_TRUE(subject.settings.reduceMotion());
    portal.answerNow();

    EXPECT_TRUE(waitUntil([&] { return !subject.settings.reduceMotion(); }));
    EXPECT_EQ(subject.changes, 1);
}

TEST_F(DesktopNeeds, WhereThePortalFailsTheToolkitsSettingIsFollowed) {
    SettingsPortal portal(bus, PortalSettings{}, Manner::fails);
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(portal));
    EXPECT_FALSE(subject.settings.reduceMotion());
    QApplication::setStyle(new StyleWithDuration(0));
    EXPECT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
    QApplication::setStyle(new StyleWithDuration(200));

    EXPECT_TRUE(waitUntil([&] { return !subject.settings.reduceMotion(); }));
    EXPECT_EQ(subject.changes, 2);
}

TEST_F(DesktopNeeds, APortalThatComesLateIsRead) {
    Subject subject(bus.connect());
    EXPECT_FALSE(subject.settings.reduceMotion());
    SettingsPortal portal(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}});

    EXPECT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
}

TEST_F(DesktopNeeds, APortalThatEndsLeavesItsLastWordAndTheNextOneIsRead) {
    auto portal = std::make_unique<SettingsPortal>(
        bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}});
    Subject subject(bus.connect());
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
    portal.reset();
    portal = std::make_unique<SettingsPortal>(
        bus, PortalSettings{{appearance, {{u"contrast"_qs, uint(1)}}}}, Manner::staysSilent);
    ASSERT_TRUE(isRead(*portal));
    EXPECT_TRUE(subject.settings.reduceMotion());
    EXPECT_EQ(subject.changes, 1);
    portal->answerNow();
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceTransparency(); }));

    EXPECT_FALSE(subject.settings.reduceMotion()) << "the new one does not speak of motion";
    portal->change(gnome, u"enable-animations"_qs, false);
    EXPECT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
}

TEST_F(DesktopNeeds, OfTwoPortalsInARowOnlyTheSecondIsBelieved) {
    SettingsPortal first(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}},
                         Manner::staysSilent);
    Subject subject(bus.connect());
    ASSERT_TRUE(isRead(first));
    first.stepDown();
    SettingsPortal second(bus, PortalSettings{{appearance, {{u"contrast"_qs, uint(1)}}}});
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceTransparency(); }));
    first.answerNow();
    first.change(appearance, u"contrast"_qs, uint(0));
    settle(second, subject);

    EXPECT_FALSE(subject.settings.reduceMotion());
    EXPECT_TRUE(subject.settings.reduceTransparency());
}

TEST_F(DesktopNeeds, APortalThatAnswersInAnotherWayLeavesTheLastWord) {
    SettingsPortal first(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}});
    Subject subject(bus.connect());
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
    first.stepDown();
    SettingsPortal second(bus, QVariant(u"garbage"_qs));
    ASSERT_TRUE(isRead(second));
    second.stepDown();
    SettingsPortal third(bus, PortalSettings{}, Manner::staysSilent);
    ASSERT_TRUE(isRead(third)) << "by now the answer of the second has come";

    EXPECT_TRUE(subject.settings.reduceMotion());
    EXPECT_EQ(subject.changes, 1);
}

/// The real portal, with the test as the desktop behind it.
class RealPortal {
public:
    explicit RealPortal(const PrivateBus& bus) {
        QFile description(bus.folder() + u"/test.portal"_qs);
        if (!description.open(QIODevice::WriteOnly)) {
            throw std::runtime_error("cannot describe the desktop to the portal");
        }
        description.write("[portal]\nDBusName=" + SettingsPortal::desktopName().toUtf8() +
                          "\nInterfaces=org.freedesktop.impl.portal.Settings;\nUseIn=test\n");
        auto environment = bus.environment();
        environment.insert(u"XDG_DESKTOP_PORTAL_DIR"_qs, bus.folder());
        environment.insert(u"XDG_CURRENT_DESKTOP"_qs, u"test"_qs);
        m_process.setProcessEnvironment(environment);
        m_process.setStandardErrorFile(QProcess::nullDevice());
        startInOwnGroup(m_process, u"/usr/libexec/xdg-desktop-portal"_qs, {});
    }

    ~RealPortal() { endGroup(m_process); }

private:
    QProcess m_process;
};

TEST_F(DesktopNeeds, TheRealPortalPassesTheDesktopsWordsOn) {
    SettingsPortal desktop(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}},
                           Manner::answers, SettingsPortal::Seat::desktop);
    Subject subject(bus.connect());
    const RealPortal portal(bus);
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
    EXPECT_FALSE(subject.settings.reduceTransparency());
    desktop.change(appearance, u"contrast"_qs, uint(1));
    EXPECT_TRUE(waitUntil([&] { return subject.settings.reduceTransparency(); }));
    desktop.change(gnome, u"enable-animations"_qs, true);

    EXPECT_TRUE(waitUntil([&] { return !subject.settings.reduceMotion(); }));
}

TEST_F(DesktopNeeds, WhatTheDesktopCannotShowIsReduced) {
    bool canShow = false;
    Subject subject(bus.connect(), [&] { return canShow; });
    EXPECT_TRUE(subject.settings.reduceTransparency());
    canShow = true;
    subject.settings.transparencySupportChanged();
    EXPECT_FALSE(subject.settings.reduceTransparency());
    subject.settings.transparencySupportChanged();

    EXPECT_EQ(subject.changes, 1);
}

TEST_F(DesktopNeeds, ContrastReducesTransparencyThatCouldBeShown) {
    SettingsPortal portal(bus, PortalSettings{{appearance, {{u"contrast"_qs, uint(1)}}}});
    Subject subject(bus.connect(), [] { return true; });

    EXPECT_TRUE(waitUntil([&] { return subject.settings.reduceTransparency(); }));
}

TEST_F(DesktopNeeds, ABusThatHangsDoesNotHoldUpTheStart) {
    const auto connection = bus.connect();
    const HeldProcess hung(bus.processID());
    const SystemClock clock;
    const auto start = clock.now();
    const Subject subject(connection);

    // A call that waits for the bus gives up after 25 seconds.
    EXPECT_LT(clock.now() - start, std::chrono::seconds(5));
    EXPECT_FALSE(subject.settings.reduceMotion());
}

TEST_F(DesktopNeeds, ABusThatGoesLeavesTheLastWord) {
    SettingsPortal portal(bus, PortalSettings{{gnome, {{u"enable-animations"_qs, false}}}});
    auto connection = bus.connect();
    Subject subject(connection);
    ASSERT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
    bus.kill();
    ASSERT_TRUE(waitUntil([&] { return !connection.isConnected(); }));
    drainEvents();

    EXPECT_TRUE(subject.settings.reduceMotion());
    EXPECT_EQ(subject.changes, 1);
}

TEST_F(DesktopNeeds, WithoutABusTheToolkitAlone) {
    const QDBusConnection none(u"nowhere"_qs);
    Subject subject(none);
    drainEvents();
    EXPECT_FALSE(subject.settings.reduceMotion());
    QApplication::setStyle(new StyleWithDuration(0));

    EXPECT_TRUE(waitUntil([&] { return subject.settings.reduceMotion(); }));
}

} // namespace
} // namespace lumivane::test
