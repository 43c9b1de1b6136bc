#include "platform/linux/AtspiAnnouncer.h"

#include "platform/AccessibleWindow.h"
#include "support/AtspiReader.h"
#include "support/EventLoop.h"
#include "support/XServer.h"

#include <gmock/gmock.h>
#include <signal.h>

namespace lumivane::test {
namespace {

using std::chrono::milliseconds;

/// No call may cost the main thread a frame.
constexpr milliseconds frame{16};

class AtspiAnnouncing : public testing::Test {
protected:
    /// Announcements as a screen reader hears them.
    std::vector<AccessibleEvent> heard() const { return reader.events(u"Announcement"_qs); }

    /// What is heard up to and with a last announcement of this text.
    std::vector<AccessibleEvent> heardUpTo(AccessibleWindow& window, const QString& last) {
        window.announce(last);
        waitUntil([&] { return !heard().empty() && heard().back().text == last; });
        return heard();
    }

    XServer display;
    AccessibilityBus bus;
    AtspiReader reader{bus.address()};
};

TEST_F(AtspiAnnouncing, AHighPriorityIsAssertive) {
    AccessibleWindow window{bus.environment(display.displayName())};
    reader.waitForApplication(window.processID());
    window.announce(u"Log in to Lumivane to analyze this screen."_qs, "high");

    ASSERT_TRUE(waitUntil([&] { return !heard().empty(); }));
    EXPECT_EQ(heard().front().text, u"Log in to Lumivane to analyze this screen."_qs);
    EXPECT_EQ(heard().front().first, 2);
    EXPECT_EQ(heard().front().second, 0);
    EXPECT_EQ(heard().front().detail, QString());
}

TEST_F(AtspiAnnouncing, AMediumPriorityIsPolite) {
    AccessibleWindow window{bus.environment(display.displayName())};
    reader.waitForApplication(window.processID());
    window.announce(u"Copied to clipboard"_qs, "medium");

    ASSERT_TRUE(waitUntil([&] { return !heard().empty(); }));
    EXPECT_EQ(heard().front().text, u"Copied to clipboard"_qs);
    EXPECT_EQ(heard().front().first, 1);
}

TEST_F(AtspiAnnouncing, TheSpeakerIsTheProgramThatIsOnTheBus) {
    AccessibleWindow window{bus.environment(display.displayName())};
    const auto program = reader.waitForApplication(window.processID());
    ASSERT_TRUE(program);
    window.announce(u"text"_qs);

    ASSERT_TRUE(waitUntil([&] { return !heard().empty(); }));
    const auto event = heard().front();
    EXPECT_EQ(event.service, program->service);
    EXPECT_EQ(event.path, program->path);
    EXPECT_EQ(reader.read(event.service, event.path).role, u"application"_qs);
}

TEST_F(AtspiAnnouncing, ALongTextIsAnnouncedWhole) {
    AccessibleWindow window{bus.environment(display.displayName())};
    reader.waitForApplication(window.processID());
    const QString text = u"Ein längerer Satz, 文字, 🙂 "_qs.repeated(1600);
    ASSERT_GT(text.size(), 40000);

    EXPECT_EQ(heardUpTo(window, text).front().text, text);
}

TEST_F(AtspiAnnouncing, WhatTheBusCannotCarryCostsNoOtherCharacter) {
    AccessibleWindow window{bus.environment(display.displayName())};
    reader.waitForApplication(window.processID());
    window.announce(u"one"_qs + QChar(u'\0') + u"two"_qs);

    ASSERT_TRUE(waitUntil([&] { return !heard().empty(); }));
    EXPECT_EQ(heard().front().text, u"one\uFFFDtwo"_qs);
}

TEST_F(AtspiAnnouncing, SeveralAreHeardInTheirOrder) {
    AccessibleWindow window{bus.environment(display.displayName())};
    reader.waitForApplication(window.processID());
    window.announce(u"one"_qs);
    window.announce(u"two"_qs, "medium");
    const auto all = heardUpTo(window, u"three"_qs);

    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].text, u"one"_qs);
    EXPECT_EQ(all[1].text, u"two"_qs);
}

TEST_F(AtspiAnnouncing, NothingIsSentWhereTheDesktopSaysThatNobodyListens) {
    AccessibleWindow silent{bus.reservedEnvironment(display.displayName())};
    silent.announce(u"unheard"_qs);
    AccessibleWindow speaking{bus.environment(display.displayName())};
    reader.waitForApplication(speaking.processID());

    EXPECT_EQ(heardUpTo(speaking, u"heard"_qs).size(), 1U);
    EXPECT_EQ(reader.application(silent.processID()), std::nullopt);
}

TEST_F(AtspiAnnouncing, WhereTheDesktopSaysThatSomebodyListensThatIsEnough) {
    bus.setEnabled(true);
    AccessibleWindow window{bus.reservedEnvironment(display.displayName())};
    ASSERT_TRUE(reader.waitForApplication(window.processID()));

    EXPECT_EQ(heardUpTo(window, u"heard"_qs).size(), 1U);
}

TEST_F(AtspiAnnouncing, ABusThatHangsHoldsNobodyUpAndIsGivenNoMoreThanAFew) {
    AccessibleWindow window{bus.environment(display.displayName())};
    reader.waitForApplication(window.processID());
    {
        const HeldProcess hung(bus.processID());
        EXPECT_LT(window.announce(u"x"_qs.repeated(40000), "high", 200), frame);
    }

    ASSERT_TRUE(waitUntil([&] { return heard().size() >= 16; }));
    const auto all = heardUpTo(window, u"again"_qs);
    EXPECT_EQ(all.size(), 17U);
}

TEST_F(AtspiAnnouncing, ABusThatIsGoneCostsNothing) {
    AccessibleWindow window{bus.environment(display.displayName())};
    reader.waitForApplication(window.processID());
    ::kill(static_cast<pid_t>(bus.processID()), SIGKILL);

    EXPECT_LT(window.announce(u"text"_qs, "high", 200), frame);
    EXPECT_EQ(window.pressed(), QString()) << "the program goes on";
}

TEST(AtspiAnnouncer, WithoutAnyBusNothingHappens) {
    const XServer display;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_qs, QString::fromLatin1(display.displayName()));
    environment.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
    environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_qs, u"1"_qs);
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, u"unix:path=/nonexistent/bus"_qs);
    AccessibleWindow window{environment};

    EXPECT_LT(window.announce(u"text"_qs, "high", 200), frame);
    EXPECT_EQ(window.pressed(), QString()) << "the program goes on";
}

} // namespace
} // namespace lumivane::test
