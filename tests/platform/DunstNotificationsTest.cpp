// The notifications on a real notification service.

#include "analysis/NotificationService.h"
#include "platform/linux/DesktopUserNotifications.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "support/NotificationDesktop.h"
#include "support/Outcome.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>

#include <gmock/gmock.h>
#include <signal.h>

namespace lumivane {

using namespace std::chrono_literals;
using Line = test::LogCapture::Line;
using Shown = DunstDesktop::Shown;

namespace {

QCoro::Task<bool> ended(QCoro::Task<void> flow) {
    co_await flow;
    co_return true;
}

Shown copied() {
    return {u"Lumivane"_qs, u"Lumivane"_qs, u"The analysis was copied to the clipboard."_qs};
}

Shown failedNote(const QString& message) {
    return {u"Lumivane"_qs, u"Lumivane couldn’t save to Notes"_qs, message};
}

const Line notCopied{"lifecycle", LogLevel::error, "Copy notification could not be delivered"};
const Line notFailed{"lifecycle", LogLevel::error,
                     "Notes failure notification could not be delivered"};

} // namespace

class DunstNotificationsTest : public testing::Test {
protected:
    void notifyCopied() { test::outcomeOf(ended(service.notifyCopied())); }

    void notifyFailure(const QString& message) {
        test::outcomeOf(ended(service.notifyNotesFailure(message)));
    }

    DunstDesktop dunst;
    test::ManualClock clock;
    DesktopUserNotifications desktop{dunst.bus().connect(), clock};
    NotificationService service{desktop};
    test::LogCapture log;
};

TEST_F(DunstNotificationsTest, ACopyIsShown) {
    EXPECT_EQ(test::outcomeOf(service.requestAuthorization()).value, true);
    notifyCopied();
    EXPECT_EQ(dunst.shown(1), QList<Shown>{copied()});
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(DunstNotificationsTest, TwoCopiesAreTwoNotifications) {
    const auto first = test::watch(ended(service.notifyCopied()));
    const auto second = test::watch(ended(service.notifyCopied()));
    ASSERT_TRUE(test::waitUntil([&] { return first->hasEnded() && second->hasEnded(); }));
    EXPECT_EQ(dunst.shown(2), (QList<Shown>{copied(), copied()}));
}

TEST_F(DunstNotificationsTest, WordsThatLookLikeMarkupAreShownAsTheyAre) {
    const QString words = u"<b>a</b> & &lt; \"b\" 'c' <img src=\"x\"/> <a href=\"y\">z</a>"_qs;
    notifyFailure(words);
    EXPECT_EQ(dunst.shown(1), QList<Shown>{failedNote(words)});
}

TEST_F(DunstNotificationsTest, AUserWithoutMarkupSeesTheWordsAsTheyAreToo) {
    DunstDesktop plain(DunstDesktop::Markup::no);
    DesktopUserNotifications there(plain.bus().connect(), clock);
    const QString words = u"<b>a</b> & &lt; \"b\" 漢"_qs;
    test::outcomeOf(ended(NotificationService(there).notifyNotesFailure(words)));
    EXPECT_EQ(plain.shown(1), QList<Shown>{failedNote(words)});
}

TEST_F(DunstNotificationsTest, EmojiAndThreeHundredCharactersAreShownWhole) {
    const QString words = u"Grün, 漢字, \U0001F469\u200D\U0001F680 and \U0001F600"_qs;
    const QString many = (u"grün 漢 <&> "_qs).repeated(40).left(300);
    notifyFailure(words);
    notifyFailure(many);
    EXPECT_EQ(dunst.shown(2), (QList<Shown>{failedNote(words), failedNote(many)}));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(DunstNotificationsTest, AHungServiceIsGivenUpWithoutAWordToTheUser) {
    const auto first = [&] {
        const test::HeldProcess held(dunst.processID());
        auto copy = test::watch(ended(service.notifyCopied()));
        const auto asked = test::watch(service.requestAuthorization());
        test::drainEvents();
        EXPECT_FALSE(copy->hasEnded());
        clock.advance(2s);
        test::drainEvents();
        EXPECT_TRUE(copy->value);
        EXPECT_EQ(asked->value, false);
        const auto failure = test::watch(ended(service.notifyNotesFailure(u"x"_qs)));
        test::drainEvents();
        EXPECT_TRUE(failure->value);
        return copy;
    }();
    EXPECT_THAT(log.lines(),
                testing::UnorderedElementsAre(notCopied, notFailed,
                                              Line{"lifecycle", LogLevel::error,
                                                   "Notification authorization request failed"}));
    // The late answers come in, and the next one is shown.
    EXPECT_TRUE(test::waitUntil(
        [&] { return test::outcomeOf(desktop.requestAuthorization()).value == true; }));
    notifyFailure(u"after"_qs);
    EXPECT_EQ(dunst.shown(1), QList<Shown>{failedNote(u"after"_qs)});
}

TEST_F(DunstNotificationsTest, AServiceThatWentAndCameBackServesAgain) {
    notifyCopied();
    dunst.end();
    EXPECT_EQ(test::outcomeOf(service.requestAuthorization()).value, false);
    notifyCopied();
    EXPECT_THAT(log.lines(), testing::ElementsAre(notCopied));
    dunst.start();
    EXPECT_EQ(test::outcomeOf(service.requestAuthorization()).value, true);
    notifyFailure(u"back"_qs);
    EXPECT_EQ(dunst.shown(1), QList<Shown>{failedNote(u"back"_qs)});
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(DunstNotificationsTest, TheBusStartsAServiceThatIsNotThere) {
    dunst.end();
    dunst.describeToBus();
    EXPECT_EQ(test::outcomeOf(service.requestAuthorization()).value, true);
    notifyCopied();
    EXPECT_EQ(dunst.shown(1), QList<Shown>{copied()});
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(DunstNotificationsTest, WithoutABusNothingIsShownAndNothingRaised) {
    DesktopUserNotifications nowhere(QDBusConnection(u"no such connection"_qs), clock);
    NotificationService alone(nowhere);
    EXPECT_EQ(test::outcomeOf(alone.requestAuthorization()).value, false);
    EXPECT_TRUE(test::outcomeOf(ended(alone.notifyCopied())).value);
    EXPECT_TRUE(test::outcomeOf(ended(alone.notifyNotesFailure(u"x"_qs))).value);
    EXPECT_EQ(log.lines().size(), 3U);
}

} // namespace lumivane
