// The panels as assistive technology reads and presses them.

#include "async/SystemClock.h"
#include "integration/OverlayRoad.h"
#include "platform/linux/AtspiAnnouncer.h"
#include "support/AtspiReader.h"
#include "support/EventLoop.h"

#include <QAccessible>
#include <QCoreApplication>
#include <QDBusConnection>

#include <algorithm>

namespace lumivane::test {

class OverlayAccessibilityTest : public testing::Test {
protected:
    /// The toolkit looks for the bus without waiting for it.
    void SetUp() override {
        ASSERT_TRUE(waitUntil([] {
            return QAccessible::isActive() &&
                   QDBusConnection(AtspiAnnouncer::defaultConnectionName()).isConnected();
        }));
    }

    /// The one panel that is up, once something of that name is in it.
    AccessibleNode panelWith(const QString& name) {
        AccessibleNode found;
        const bool isThere = waitUntil([&] {
            const auto program = reader.application(QCoreApplication::applicationPid());
            if (!program || program->children.size() != 1) {
                return false;
            }
            const AccessibleNode& frame = program->children.front();
            EXPECT_EQ(frame.name, u"Lumivane"_qs) << "what is around every panel";
            found = frame.children.at(0);
            return found.outline().contains(u'"' + name + u'"');
        });
        EXPECT_TRUE(isThere) << name.toStdString() << " is not among\n"
                             << found.outline().toStdString();
        return found;
    }

    static std::string outline(const AccessibleNode& panel) {
        return panel.outline().toStdString();
    }

    /// Presses a button of a panel.
    void press(const AccessibleNode& panel, const QString& name) {
        const auto* button = panel.find(u"push button"_qs, name);
        ASSERT_NE(button, nullptr) << outline(panel);
        EXPECT_TRUE(button->is(AccessibleState::enabled));
        EXPECT_TRUE(button->is(AccessibleState::showing));
        EXPECT_TRUE(reader.press(*button));
    }

    /// From now on the toolkit tells of these events. It learns of that from the bus, which it asks
    /// for the whole list; two rounds over the same ways come behind both.
    void listen(const QString& type) {
        reader.listen(type);
        reader.application(QCoreApplication::applicationPid());
        reader.application(QCoreApplication::applicationPid());
    }

    bool isHeard(const QString& kind, const QString& text) {
        return waitUntil([&] {
            const auto events = reader.events(kind);
            return std::any_of(events.begin(), events.end(),
                               [&text](const auto& event) { return event.text == text; });
        });
    }

    AtspiReader reader{qEnvironmentVariable("LUMIVANE_TEST_ACCESSIBILITY_BUS")};
    SystemClock clock;
    AtspiAnnouncer announcer{clock};
    OverlayRoad road{PanelDesktop::Manager::none, &announcer};
};

TEST_F(OverlayAccessibilityTest, TheWorkingPanelIsOneElementWhoseValueIsTheStatus) {
    road.showWorking();
    EXPECT_EQ(outline(panelWith(u"Lumivane is analyzing"_qs)),
              "panel \"Lumivane is analyzing\" \"\" \"Processing…\"\n");
}

TEST_F(OverlayAccessibilityTest, AnotherStatusOfTheWorkingPanelIsToldAndAnnounced) {
    const auto slow = u"Still thinking — this one is taking a while."_qs;
    road.showWorking();
    panelWith(u"Lumivane is analyzing"_qs);
    listen(u"object:text-changed"_qs);
    road.overlays.markWorkingSlow();
    EXPECT_TRUE(isHeard(u"TextChanged"_qs, slow));
    EXPECT_TRUE(isHeard(u"Announcement"_qs, slow));
    EXPECT_EQ(panelWith(slow).text, slow);
}

TEST_F(OverlayAccessibilityTest, AnOrdinaryResultHasALabelAndNoHint) {
    road.showResult(ResultKind::text, u"the answer"_qs, true);
    EXPECT_EQ(outline(panelWith(u"Screen summary"_qs)),
              "panel \"Screen summary\" \"\" \"\"\n"
              "  label \"Dismisses in 6 seconds\" \"\" \"\"\n"
              "  label \"the answer\" \"\" \"\"\n"
              "  label \"Esc or click to dismiss\" \"\" \"\"\n"
              "  label \"Copied to clipboard\" \"\" \"\"\n");
}

TEST_F(OverlayAccessibilityTest, EveryKindOfResultIsCalledByItsOwnName) {
    road.settings.keepUntilDismissed = true;
    road.showResult(ResultKind::choice);
    EXPECT_EQ(panelWith(u"Stays until you dismiss it"_qs).name, u"Answer"_qs);
    road.showResult(ResultKind::answers);
    EXPECT_EQ(panelWith(u"Answers"_qs).name, u"Answers"_qs);
    road.showError();
    EXPECT_EQ(panelWith(u"Lumivane error"_qs).name, u"Lumivane error"_qs);
}

TEST_F(OverlayAccessibilityTest, ALeetCodeAnswerSaysThatItScrollsAndHowItCloses) {
    road.showResult(ResultKind::leetCode, u"# Two sums\nUse a **map**."_qs, false);
    EXPECT_EQ(outline(panelWith(u"LeetCode"_qs)),
              "panel \"LeetCode\" \"Scrollable and selectable. Press Escape, or use the close "
              "button, to close.\" \"\"\n"
              "  label \"Dismisses in about 3 minutes\" \"\" \"\"\n"
              "  push button \"Close LeetCode solution\" \"\" \"\"\n"
              "  heading \"Two sums\" \"\" \"\"\n"
              "  text \"LeetCode\" \"\" \"Use a map.\"\n"
              "  label \"Esc or the close button\" \"\" \"\"\n"
              "  push button \"Copy the answer to the clipboard\" \"\" \"\"\n");
}

TEST_F(OverlayAccessibilityTest, WithoutEscapeTheHintOfALeetCodeAnswerDoesNotSpeakOfIt) {
    road.settings.dismissWithEscape = false;
    road.overlays.showResult(u"text"_qs, ResultKind::leetCode, u"Two sums"_qs,
                             LeetCodeAnswerStatus::memoryValidated, road.displayAt(0),
                             road.settings, true);
    const auto panel = panelWith(u"Locally checked"_qs);
    EXPECT_EQ(panel.description, u"Scrollable and selectable. Use the close button to close."_qs);
    EXPECT_NE(panel.find(u"heading"_qs, u"Two sums"_qs), nullptr);
    EXPECT_NE(panel.find(u"label"_qs, u"Use the close button"_qs), nullptr);
}

TEST_F(OverlayAccessibilityTest, TheCloseButtonOfALeetCodeAnswerIsPressed) {
    road.showResult(ResultKind::leetCode);
    press(panelWith(u"LeetCode"_qs), u"Close LeetCode solution"_qs);
    EXPECT_TRUE(OverlayRoad::waitForPanels(0));
}

TEST_F(OverlayAccessibilityTest, TheTimeThatIsLeftIsToldAsItChanges) {
    road.showResult(ResultKind::text);
    panelWith(u"Dismisses in 6 seconds"_qs);
    listen(u"object:property-change"_qs);
    road.clock.advance(std::chrono::seconds(5));
    ASSERT_TRUE(waitUntil([this] { return reader.events(u"PropertyChange"_qs).size() >= 5; }));
    const auto event = reader.events(u"PropertyChange"_qs).back();
    EXPECT_EQ(event.detail, u"accessible-name"_qs);
    EXPECT_EQ(reader.read(event.service, event.path).name, u"Dismisses in 1 second"_qs);
}

TEST_F(OverlayAccessibilityTest, TheCopyButtonIsPressedAndSaysThatItWas) {
    road.showResult(ResultKind::text, u"the answer"_qs, false);
    press(panelWith(u"Screen summary"_qs), u"Copy the answer to the clipboard"_qs);
    EXPECT_TRUE(isHeard(u"Announcement"_qs, u"Copied to clipboard"_qs));
    EXPECT_NE(panelWith(u"Copied to clipboard"_qs).find(u"push button"_qs), nullptr);
    EXPECT_EQ(road.selection(u"clipboard"_qs), "the answer");
}

TEST_F(OverlayAccessibilityTest, ThePressedButtonOfABannerTakesTheBannerAway) {
    const auto label = u"LeetCode solution was not saved to Notes"_qs;
    road.showResult(ResultKind::leetCode);
    road.overlays.showNotesStatus(u"the reason"_qs, road.displayAt(0), road.settings);
    EXPECT_TRUE(isHeard(u"Announcement"_qs, u"the reason"_qs));
    const auto panel = panelWith(label);
    EXPECT_TRUE(panel.outline().contains(u"the reason"_qs));
    press(panel, u"Dismiss Notes status"_qs);
    EXPECT_TRUE(waitUntil([&] { return !panelWith(u"LeetCode"_qs).outline().contains(label); }));
}

TEST_F(OverlayAccessibilityTest, TheNotesPanelIsReadAndItsButtonPressed) {
    road.showNotesStatus();
    const auto panel = panelWith(u"LeetCode solution was not saved to Notes"_qs);
    EXPECT_EQ(panel.name, u"LeetCode solution was not saved to Notes"_qs);
    EXPECT_TRUE(panel.outline().contains(u"the reason"_qs));
    press(panel, u"Dismiss Notes status"_qs);
    EXPECT_TRUE(OverlayRoad::waitForPanels(0));
}

TEST_F(OverlayAccessibilityTest, TheLoginPanelIsReadInLinesAndItsButtonsPressed) {
    road.showLogin();
    EXPECT_EQ(outline(panelWith(u"LOGIN REQUIRED"_qs)),
              "dialog \"Log in to Lumivane to analyze this screen.\" \"\" \"\"\n"
              "  label \"LOGIN REQUIRED\" \"\" \"\"\n"
              "  heading \"Log in to Lumivane to analyze this screen.\" \"\" \"\"\n"
              "  label \"Nothing was captured or sent.\" \"\" \"\"\n"
              "  push button \"Not now\" \"\" \"\"\n"
              "  push button \"Log in\" \"\" \"\"\n");
    press(panelWith(u"Not now"_qs), u"Not now"_qs);
    EXPECT_TRUE(OverlayRoad::waitForPanels(0));
    EXPECT_EQ(road.logins, 0);
    road.showLogin();
    press(panelWith(u"Log in"_qs), u"Log in"_qs);
    EXPECT_TRUE(OverlayRoad::waitForPanels(0));
    EXPECT_EQ(road.logins, 1);
}

TEST_F(OverlayAccessibilityTest, TheOtherAccountPanelIsReadAsAWhole) {
    road.showEvicted();
    const auto panel = panelWith(u"Log in again"_qs);
    EXPECT_EQ(outline(panel), "dialog \"You signed in on another Mac. Lumivane is signed in there "
                              "now.\" \"\" \"\"\n"
                              "  push button \"Not now\" \"\" \"\"\n"
                              "  push button \"Log in again\" \"\" \"\"\n");
    press(panel, u"Log in again"_qs);
    EXPECT_TRUE(OverlayRoad::waitForPanels(0));
    EXPECT_EQ(road.logins, 1);
}

TEST_F(OverlayAccessibilityTest, TwoRequestsForALoginAreAnnouncedOnce) {
    road.showLogin();
    road.overlays.showAuthenticationRequired(road.displayAt(0), road.settings, [] {});
    panelWith(u"Log in"_qs);
    road.overlays.showDeviceEvicted(road.displayAt(0), DeviceEvictedOrigin::beforeCapture,
                                    road.settings, [] {});
    // Announcements come in order, so none of the first kind can still be on its way.
    EXPECT_TRUE(isHeard(u"Announcement"_qs, u"Lumivane is signed in on another Mac."_qs));
    const auto heard = reader.events(u"Announcement"_qs);
    EXPECT_EQ(std::count_if(heard.begin(), heard.end(),
                            [](const auto& event) {
                                return event.text ==
                                       u"Log in to Lumivane to analyze this screen."_qs;
                            }),
              1);
}

} // namespace lumivane::test
