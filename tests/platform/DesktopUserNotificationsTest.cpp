#include "platform/linux/DesktopUserNotifications.h"

#include "support/EventLoop.h"
#include "support/ManualClock.h"
#include "support/NotificationDesktop.h"
#include "support/Outcome.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QFile>
#include <QVariantMap>

#include <gtest/gtest.h>

#include <memory>

namespace lumivane {

using namespace std::chrono_literals;
using Manner = ScriptedNotificationService::Manner;
using Keeping = UserNotification::Keeping;

namespace {

/// A flow without a value ends with one here, since an outcome holds one.
QCoro::Task<bool> ended(QCoro::Task<void> flow) {
    co_await flow;
    co_return true;
}

UserNotification saying(const QString& body) { return {u"id"_qs, u"Title"_qs, body, {}}; }

} // namespace

class DesktopUserNotificationsTest : public testing::Test {
protected:
    using AddOutcome = std::shared_ptr<test::Outcome<bool>>;

    AddOutcome add(const UserNotification& notification) {
        return test::watch(ended(desktop->add(notification)));
    }

    /// Lets a flow come to its end without the clock.
    static bool endsBy(const AddOutcome& outcome) {
        return test::waitUntil([&] { return outcome->hasEnded(); });
    }

    static bool hasFailed(const AddOutcome& outcome) {
        return outcome->errorAs<UserNotificationError>().has_value();
    }

    /// Waits until the service has heard so many calls of an operation.
    bool heard(const QString& operation, qsizetype count = 1) {
        return test::waitUntil([&] { return service->calls(operation).size() == count; });
    }

    void endService() {
        service.reset();
        ASSERT_TRUE(waitUntilServed(bus, false));
    }

    /// What the service is told as body for these words.
    QString bodyFor(const QString& words) {
        EXPECT_TRUE(endsBy(add(saying(words))));
        return service->calls(u"Notify"_qs).constLast().value(4).toString();
    }

    test::PrivateBus bus;
    test::ManualClock clock;
    std::unique_ptr<ScriptedNotificationService> service =
        std::make_unique<ScriptedNotificationService>(bus);
    std::unique_ptr<DesktopUserNotifications> desktop =
        std::make_unique<DesktopUserNotifications>(bus.connect(), clock);
};

TEST_F(DesktopUserNotificationsTest, TellsTheServiceAllThatThereIsToTell) {
    const auto outcome =
        add({u"id"_qs, u"A <b>title</b> & more"_qs, u"body"_qs, Keeping::byTheDesktop});
    ASSERT_TRUE(endsBy(outcome));
    EXPECT_TRUE(outcome->value);
    ASSERT_EQ(service->calls(u"Notify"_qs).size(), 1);
    const QVariantList told = service->calls(u"Notify"_qs)[0];
    ASSERT_EQ(told.size(), 8);
    EXPECT_EQ(told[0], QVariant(u"Lumivane"_qs));
    EXPECT_EQ(told[1], QVariant(0U));
    EXPECT_EQ(told[2], QVariant(u"com.marnoth.Lumivane"_qs));
    EXPECT_EQ(told[3], QVariant(u"A <b>title</b> & more"_qs));
    EXPECT_EQ(told[4], QVariant(u"body"_qs));
    EXPECT_EQ(told[5], QVariant(QStringList()));
    const auto hints = qdbus_cast<QVariantMap>(told[6]);
    EXPECT_EQ(hints, (QVariantMap{{u"desktop-entry"_qs, u"com.marnoth.Lumivane"_qs},
                                  {u"urgency"_qs, QVariant::fromValue<uchar>(1)},
                                  {u"suppress-sound"_qs, true},
                                  {u"transient"_qs, false}}));
    EXPECT_EQ(told[7], QVariant(-1));
}

TEST_F(DesktopUserNotificationsTest, WhatOnlyTellsOfTheMomentIsTransient) {
    ASSERT_TRUE(endsBy(add({u"id"_qs, u"Title"_qs, u"body"_qs, Keeping::untilSeen})));
    const auto hints = qdbus_cast<QVariantMap>(service->calls(u"Notify"_qs)[0][6]);
    EXPECT_EQ(hints[u"transient"_qs], QVariant(true));
}

TEST_F(DesktopUserNotificationsTest, EscapesTheBodyForAServiceThatReadsMarkup) {
    EXPECT_EQ(bodyFor(u"<b>a</b> & \"b\" 'c' &lt; 漢 \U0001F600"_qs),
              u"&lt;b&gt;a&lt;/b&gt; &amp; &quot;b&quot; 'c' &amp;lt; 漢 \U0001F600"_qs);
}

TEST_F(DesktopUserNotificationsTest, LeavesTheBodyPlainForAServiceThatDoesNot) {
    service->capabilities = QStringList{u"body"_qs, u"actions"_qs};
    EXPECT_EQ(bodyFor(u"<b>a</b> & \"b\""_qs), u"<b>a</b> & \"b\""_qs);
    service->capabilities = QStringList();
    EXPECT_EQ(bodyFor(u"<b>"_qs), u"<b>"_qs);
}

TEST_F(DesktopUserNotificationsTest, AsksTheServiceOfTheMomentEachTime) {
    EXPECT_EQ(bodyFor(u"<"_qs), u"&lt;"_qs);
    service->capabilities = QStringList();
    EXPECT_EQ(bodyFor(u"<"_qs), u"<"_qs);
    EXPECT_EQ(service->calls(u"GetCapabilities"_qs).size(), 2);
}

TEST_F(DesktopUserNotificationsTest, ControlCharactersReachNoService) {
    EXPECT_EQ(bodyFor(QString::fromUtf8("a\0b\x01"
                                        "c\x1b\nd\te\r\nf\rg\xc2\x85h",
                                        18)),
              u"a\uFFFDb\uFFFDc\uFFFD\nd\te\nf\uFFFDg\uFFFDh"_qs);
    ASSERT_TRUE(endsBy(add({u"id"_qs, QString(u"T\0x"_qs), u"body"_qs, {}})));
    EXPECT_EQ(service->calls(u"Notify"_qs).constLast()[3], QVariant(u"T\uFFFDx"_qs));
}

TEST_F(DesktopUserNotificationsTest, ThreeHundredCharactersArriveWhole) {
    const QString words = QString(u"grün 漢 \U0001F600 "_qs).repeated(30).left(300);
    EXPECT_EQ(bodyFor(words), words);
}

TEST_F(DesktopUserNotificationsTest, ThePermissionIsThatSomebodyServes) {
    EXPECT_EQ(test::outcomeOf(desktop->requestAuthorization()).value, true);
    EXPECT_EQ(service->calls(u"GetCapabilities"_qs).size(), 1);
    EXPECT_TRUE(service->calls(u"Notify"_qs).isEmpty());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(DesktopUserNotificationsTest, WithoutAServiceThePermissionIsRefusedAndNothingIsTaken) {
    endService();
    EXPECT_EQ(test::outcomeOf(desktop->requestAuthorization()).value, false);
    const auto outcome = add(saying(u"x"_qs));
    ASSERT_TRUE(endsBy(outcome));
    EXPECT_TRUE(hasFailed(outcome));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(DesktopUserNotificationsTest, AServiceThatComesLaterServes) {
    endService();
    EXPECT_EQ(test::outcomeOf(desktop->requestAuthorization()).value, false);
    service = std::make_unique<ScriptedNotificationService>(bus);
    EXPECT_EQ(test::outcomeOf(desktop->requestAuthorization()).value, true);
    EXPECT_EQ(bodyFor(u"x"_qs), u"x"_qs);
}

TEST_F(DesktopUserNotificationsTest, AServiceThatTheBusCannotStartIsNone) {
    endService();
    QDir().mkpath(bus.folder() + u"/services"_qs);
    QFile file(bus.folder() + u"/services/org.freedesktop.Notifications.service"_qs);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=/bin/false\n");
    file.close();
    auto connection = bus.connect();
    connection.call(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs,
                                                   u"/org/freedesktop/DBus"_qs,
                                                   u"org.freedesktop.DBus"_qs, u"ReloadConfig"_qs));
    EXPECT_EQ(test::outcomeOf(desktop->requestAuthorization()).value, false);
    const auto outcome = add(saying(u"x"_qs));
    ASSERT_TRUE(endsBy(outcome));
    EXPECT_TRUE(hasFailed(outcome));
}

TEST_F(DesktopUserNotificationsTest, WithoutABusEverythingFailsAtOnce) {
    DesktopUserNotifications alone(QDBusConnection(u"no such connection"_qs), clock);
    const auto asked = test::outcomeOf(alone.requestAuthorization());
    EXPECT_TRUE(asked.errorAs<UserNotificationError>());
    const auto told = test::outcomeOf(ended(alone.add(saying(u"x"_qs))));
    EXPECT_TRUE(told.errorAs<UserNotificationError>());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(DesktopUserNotificationsTest, ABusThatDiesEndsTheWaitAndAllLaterOnes) {
    service->aboutCapabilities = Manner::staysSilent;
    const auto outcome = add(saying(u"x"_qs));
    ASSERT_TRUE(heard(u"GetCapabilities"_qs));
    bus.kill();
    ASSERT_TRUE(endsBy(outcome));
    EXPECT_TRUE(hasFailed(outcome));
    EXPECT_EQ(clock.timerCount(), 0U);
    const auto later = add(saying(u"x"_qs));
    ASSERT_TRUE(endsBy(later));
    EXPECT_TRUE(hasFailed(later));
    const auto asked = test::outcomeOf(desktop->requestAuthorization());
    EXPECT_TRUE(asked.errorAs<UserNotificationError>());
}

TEST_F(DesktopUserNotificationsTest, AServiceThatDiesEndsTheWait) {
    service->aboutNotifying = Manner::staysSilent;
    const auto outcome = add(saying(u"x"_qs));
    ASSERT_TRUE(heard(u"Notify"_qs));
    service.reset();
    ASSERT_TRUE(endsBy(outcome));
    EXPECT_TRUE(hasFailed(outcome));
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(DesktopUserNotificationsTest, ARefusalIsAFailureAndRepeatsNoWords) {
    service->aboutNotifying = Manner::fails;
    const auto refused = add(saying(u"canary"_qs));
    ASSERT_TRUE(endsBy(refused));
    const auto error = refused->errorAs<UserNotificationError>();
    ASSERT_TRUE(error);
    EXPECT_EQ(std::string(error->what()).find("canary"), std::string::npos);

    service->aboutCapabilities = Manner::fails;
    const auto unasked = add(saying(u"x"_qs));
    ASSERT_TRUE(endsBy(unasked));
    EXPECT_TRUE(hasFailed(unasked));
    const auto asked = test::outcomeOf(desktop->requestAuthorization());
    EXPECT_TRUE(asked.errorAs<UserNotificationError>());
}

TEST_F(DesktopUserNotificationsTest, AnAnswerOfAnotherShapeIsAFailure) {
    for (const QVariant& odd : {QVariant(u"body"_qs), QVariant(7), QVariant(QVariantMap())}) {
        service->capabilities = odd;
        const auto outcome = add(saying(u"x"_qs));
        ASSERT_TRUE(endsBy(outcome));
        EXPECT_TRUE(hasFailed(outcome)) << odd.typeName();
        const auto asked = test::outcomeOf(desktop->requestAuthorization());
        EXPECT_TRUE(asked.errorAs<UserNotificationError>()) << odd.typeName();
    }
    EXPECT_TRUE(service->calls(u"Notify"_qs).isEmpty());
}

TEST_F(DesktopUserNotificationsTest, WaitsForASilentServiceForTwoSecondsAndNoLonger) {
    service->aboutCapabilities = Manner::staysSilent;
    const auto told = add(saying(u"x"_qs));
    const auto asked = test::watch(desktop->requestAuthorization());
    ASSERT_TRUE(heard(u"GetCapabilities"_qs, 2));
    clock.advance(2s - 1ns);
    test::drainEvents();
    EXPECT_FALSE(told->hasEnded());
    EXPECT_FALSE(asked->hasEnded());
    clock.advance(1ns);
    test::drainEvents();
    EXPECT_TRUE(hasFailed(told));
    EXPECT_TRUE(asked->errorAs<UserNotificationError>());
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_TRUE(service->calls(u"Notify"_qs).isEmpty());
}

TEST_F(DesktopUserNotificationsTest, BothStepsShareTheTwoSeconds) {
    service->aboutCapabilities = Manner::staysSilent;
    const auto outcome = add(saying(u"x"_qs));
    ASSERT_TRUE(heard(u"GetCapabilities"_qs));
    clock.advance(1500ms);
    service->answerNow();
    service->aboutNotifying = Manner::staysSilent;
    ASSERT_TRUE(heard(u"Notify"_qs));
    clock.advance(500ms - 1ns);
    test::drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1ns);
    test::drainEvents();
    EXPECT_TRUE(hasFailed(outcome));
}

TEST_F(DesktopUserNotificationsTest, AHungServiceIsWaitedForOnceAndThenNoMoreUntilItAnswers) {
    service->aboutNotifying = Manner::staysSilent;
    const auto first = add(saying(u"first"_qs));
    ASSERT_TRUE(heard(u"Notify"_qs));
    clock.advance(2s);
    test::drainEvents();
    EXPECT_TRUE(hasFailed(first));
    for (int index = 0; index < 100; ++index) {
        const auto next = add(saying(u"next"_qs));
        test::drainEvents();
        EXPECT_TRUE(hasFailed(next));
    }
    const auto asked = test::watch(desktop->requestAuthorization());
    test::drainEvents();
    EXPECT_TRUE(asked->errorAs<UserNotificationError>());
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_EQ(service->calls(u"Notify"_qs).size(), 1);
    EXPECT_EQ(service->calls(u"GetCapabilities"_qs).size(), 1);

    service->answerNow();
    EXPECT_TRUE(test::waitUntil(
        [&] { return test::outcomeOf(desktop->requestAuthorization()).value == true; }));
    EXPECT_EQ(bodyFor(u"again"_qs), u"again"_qs);
    EXPECT_FALSE(first->value);
}

TEST_F(DesktopUserNotificationsTest, TheWaitsOfAnOwnerThatGoesAreCancelled) {
    service->aboutCapabilities = Manner::staysSilent;
    const auto told = add(saying(u"x"_qs));
    const auto asked = test::watch(desktop->requestAuthorization());
    ASSERT_TRUE(heard(u"GetCapabilities"_qs, 2));
    desktop.reset();
    test::drainEvents();
    EXPECT_TRUE(told->isCancelled);
    EXPECT_TRUE(asked->isCancelled);
    EXPECT_EQ(clock.timerCount(), 0U);
    service->answerNow();
    auto connection = bus.connect();
    connection.call(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_qs,
                                                   u"/org/freedesktop/DBus"_qs,
                                                   u"org.freedesktop.DBus.Peer"_qs, u"Ping"_qs));
    test::drainEvents();
    EXPECT_TRUE(service->calls(u"Notify"_qs).isEmpty());
}

TEST_F(DesktopUserNotificationsTest, AnOwnerThatGoesBetweenTheStepsEndsTheFlow) {
    service->aboutCapabilities = Manner::staysSilent;
    const auto outcome = add(saying(u"x"_qs));
    ASSERT_TRUE(heard(u"GetCapabilities"_qs));
    // Behind the answer and before the turn in which the flow resumes with it.
    const auto* watcher = desktop->findChild<QDBusPendingCallWatcher*>();
    ASSERT_NE(watcher, nullptr);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [this] { desktop.reset(); });
    service->answerNow();
    ASSERT_TRUE(test::waitUntil([&] { return desktop == nullptr; }));
    test::drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_TRUE(service->calls(u"Notify"_qs).isEmpty());
}

TEST_F(DesktopUserNotificationsTest, ABusThatHangsHoldsNothingUp) {
    const auto before = add(saying(u"x"_qs));
    ASSERT_TRUE(endsBy(before));
    const test::HeldProcess held(bus.processID());
    const auto told = add(saying(u"x"_qs));
    const auto asked = test::watch(desktop->requestAuthorization());
    test::drainEvents();
    EXPECT_FALSE(told->hasEnded());
    clock.advance(2s);
    test::drainEvents();
    EXPECT_TRUE(hasFailed(told));
    EXPECT_TRUE(asked->errorAs<UserNotificationError>());
}

} // namespace lumivane
