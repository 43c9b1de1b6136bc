#include "analysis/NotificationService.h"

#include "support/FakeUserNotifications.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"

#include <QSet>
#include <QUuid>

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

namespace lumivane {

using Line = test::LogCapture::Line;
using Keeping = UserNotification::Keeping;

namespace {

/// A flow without a value ends with one here, since an outcome holds one.
QCoro::Task<bool> ended(QCoro::Task<void> flow) {
    co_await flow;
    co_return true;
}

Line error(const std::string& text) { return {"lifecycle", LogLevel::error, text}; }

} // namespace

class NotificationServiceTest : public testing::Test {
protected:
    bool copied() { return test::outcomeOf(ended(service.notifyCopied())).value.has_value(); }

    bool failed(const QString& message) {
        return test::outcomeOf(ended(service.notifyNotesFailure(message))).value.has_value();
    }

    test::FakeUserNotifications desktop;
    NotificationService service{desktop};
    test::LogCapture log;
};

TEST_F(NotificationServiceTest, TheDesktopsAnswerIsTheAnswer) {
    EXPECT_EQ(test::outcomeOf(service.requestAuthorization()).value, true);
    desktop.authorization.answerWith(false);
    EXPECT_EQ(test::outcomeOf(service.requestAuthorization()).value, false);
    EXPECT_EQ(desktop.requestCount, 2);
    EXPECT_TRUE(desktop.asked.empty());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NotificationServiceTest, ADesktopThatCannotBeAskedCountsAsRefused) {
    desktop.authorization.failWith(std::runtime_error("no bus at /run/user/1000"));
    const auto outcome = test::outcomeOf(service.requestAuthorization());
    EXPECT_EQ(outcome.value, false);
    EXPECT_FALSE(outcome.error);
    EXPECT_THAT(log.lines(),
                testing::ElementsAre(error("Notification authorization request failed")));
}

TEST_F(NotificationServiceTest, TheAnswerIsWaitedFor) {
    desktop.authorization.hold();
    const auto outcome = test::watch(service.requestAuthorization());
    test::drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    desktop.authorization.release(0, true);
    test::drainEvents();
    EXPECT_EQ(outcome->value, true);
}

TEST_F(NotificationServiceTest, ACopyIsToldInTheseWords) {
    EXPECT_TRUE(copied());
    ASSERT_EQ(desktop.asked.size(), 1U);
    EXPECT_EQ(desktop.asked[0].title, u"Lumivane"_qs);
    EXPECT_EQ(desktop.asked[0].body, u"The analysis was copied to the clipboard."_qs);
    EXPECT_EQ(desktop.asked[0].keeping, Keeping::untilSeen);
    EXPECT_FALSE(QUuid(desktop.asked[0].identifier).isNull());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NotificationServiceTest, AFailedNoteIsToldInTheseWords) {
    EXPECT_TRUE(failed(u"Notes is <b>busy</b> & \"away\" 😀"_qs));
    ASSERT_EQ(desktop.asked.size(), 1U);
    EXPECT_EQ(desktop.asked[0].title, u"Lumivane couldn\u2019t save to Notes"_qs);
    EXPECT_EQ(desktop.asked[0].body, u"Notes is <b>busy</b> & \"away\" 😀"_qs);
    EXPECT_EQ(desktop.asked[0].keeping, Keeping::byTheDesktop);
    EXPECT_FALSE(QUuid(desktop.asked[0].identifier).isNull());
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(NotificationServiceTest, TwoCopiesInQuickSuccessionAreTwoNotifications) {
    desktop.delivery.hold();
    const auto first = test::watch(ended(service.notifyCopied()));
    const auto second = test::watch(ended(service.notifyCopied()));
    test::drainEvents();
    ASSERT_EQ(desktop.asked.size(), 2U);
    EXPECT_NE(desktop.asked[0].identifier, desktop.asked[1].identifier);
    desktop.delivery.release(1, true);
    desktop.delivery.release(0, true);
    test::drainEvents();
    EXPECT_TRUE(first->value);
    EXPECT_TRUE(second->value);
}

TEST_F(NotificationServiceTest, EveryIdentifierIsNew) {
    for (int index = 0; index < 50; ++index) {
        ASSERT_TRUE(copied());
        ASSERT_TRUE(failed(u"no"_qs));
    }
    QSet<QString> identifiers;
    for (const UserNotification& notification : desktop.asked) {
        identifiers.insert(notification.identifier);
    }
    EXPECT_EQ(identifiers.size(), 100);
}

TEST_F(NotificationServiceTest, ACopyThatCannotBeToldIsLoggedAndForgotten) {
    desktop.delivery.failWith(std::runtime_error("hung"));
    EXPECT_TRUE(copied());
    EXPECT_EQ(desktop.asked.size(), 1U);
    EXPECT_THAT(log.lines(),
                testing::ElementsAre(error("Copy notification could not be delivered")));
}

TEST_F(NotificationServiceTest, AFailureThatCannotBeToldIsLoggedWithoutItsWords) {
    desktop.delivery.failWith(std::runtime_error("canary-of-the-error"));
    EXPECT_TRUE(failed(u"canary-of-the-message"_qs));
    EXPECT_THAT(log.lines(),
                testing::ElementsAre(error("Notes failure notification could not be delivered")));
    EXPECT_FALSE(log.holds("canary"));
}

TEST_F(NotificationServiceTest, WhatIsUnderWayNeedsNoServiceAnyMore) {
    desktop.delivery.hold();
    auto passing = std::make_unique<NotificationService>(desktop);
    const auto outcome = test::watch(ended(passing->notifyCopied()));
    test::drainEvents();
    passing.reset();
    desktop.delivery.fail(0, std::runtime_error("too late"));
    test::drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_THAT(log.lines(),
                testing::ElementsAre(error("Copy notification could not be delivered")));
}

TEST_F(NotificationServiceTest, AnEndedWaitIsNoFailure) {
    desktop.delivery.hold();
    const auto outcome = test::watch(ended(service.notifyCopied()));
    test::drainEvents();
    desktop.delivery.cancelPending();
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(log.lines().empty());
}

} // namespace lumivane
