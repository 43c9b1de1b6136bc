#include "support/AppModelFixture.h"
#include "support/DesktopError.h"

namespace lumivane::test {

class AppModelSystemTest : public AppModelTest {
protected:
    static QCoro::Task<void> keep(QCoro::Task<bool> task, std::optional<bool>* answer) {
        *answer = co_await task;
    }

    void setCopyNotifications(bool enabled) {
        answer.reset();
        TaskHandle::detach([this, enabled](std::stop_token) {
            return keep(model->setCopyNotificationsEnabled(enabled), &answer);
        });
        drainEvents();
    }

    void relaunch() {
        answer.reset();
        TaskHandle::detach([this](std::stop_token) { return keep(model->relaunch(), &answer); });
        drainEvents();
    }

    int permissionChanges() { return m_permissionChanges; }

    AppModel& makeWatched() {
        make();
        QObject::connect(model.get(), &AppModel::screenRecordingGrantedChanged, model.get(),
                         [this] { ++m_permissionChanges; });
        return *model;
    }

    std::optional<bool> answer;

private:
    int m_permissionChanges = 0;
};

TEST_F(AppModelSystemTest, ThePermissionIsLookedAtAnew) {
    makeWatched();
    permission.granted = false;
    EXPECT_TRUE(model->screenRecordingGranted()) << "nobody has looked";
    model->refreshSystemState();
    EXPECT_FALSE(model->screenRecordingGranted());
    EXPECT_EQ(model->readiness(), ReadinessState::needsPermission);
    EXPECT_EQ(permissionChanges(), 1);
    model->refreshSystemState();
    EXPECT_EQ(permissionChanges(), 1) << "it is the same as before";
    EXPECT_EQ(journal.entries(), (QStringList{u"hasScreenRecording"_qs, u"hasScreenRecording"_qs}));
}

TEST_F(AppModelSystemTest, APermissionGivenWhenAskedOpensNoPane) {
    permission.granted = false;
    permission.grantedAfterRequest = true;
    makeWatched();
    model->requestScreenRecording();
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_EQ(permissionChanges(), 1);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"requestScreenRecording"_qs, u"hasScreenRecording"_qs}));
}

TEST_F(AppModelSystemTest, APermissionRefusedOpensThePane) {
    permission.granted = false;
    make();
    model->requestScreenRecording();
    EXPECT_EQ(journal.entries(),
              (QStringList{u"requestScreenRecording"_qs, u"hasScreenRecording"_qs,
                           u"openScreenRecordingSettings"_qs}));
}

TEST_F(AppModelSystemTest, WhatTheSystemSaysAfterwardsCountsAndNotTheAnswer) {
    permission.granted = false;
    permission.answer = true;
    make();
    model->requestScreenRecording();
    EXPECT_FALSE(model->screenRecordingGranted());
    EXPECT_TRUE(journal.holds(u"openScreenRecordingSettings"_qs));

    permission.answer = false;
    permission.grantedAfterRequest = true;
    make();
    model->requestScreenRecording();
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_FALSE(journal.holds(u"openScreenRecordingSettings"_qs));
}

TEST_F(AppModelSystemTest, AllowedNotificationsAreSwitchedOn) {
    make();
    setCopyNotifications(true);
    EXPECT_EQ(answer, true);
    EXPECT_TRUE(model->settings().notifyOnCopy);
    EXPECT_EQ(journal.entries(), (QStringList{u"requestAuthorization"_qs, u"save"_qs}));
}

TEST_F(AppModelSystemTest, RefusedNotificationsStayOff) {
    settings.notifyOnCopy = true; // as after a permission that was taken back
    notifications.authorization.answerWith(false);
    make();
    setCopyNotifications(true);
    EXPECT_EQ(answer, false);
    EXPECT_FALSE(model->settings().notifyOnCopy);
    EXPECT_FALSE(store.saved.at(0).notifyOnCopy);
}

TEST_F(AppModelSystemTest, SwitchingNotificationsOffAsksNobody) {
    settings.notifyOnCopy = true;
    make();
    setCopyNotifications(false);
    EXPECT_EQ(answer, true);
    EXPECT_FALSE(model->settings().notifyOnCopy);
    EXPECT_EQ(journal.entries(), QStringList{u"save"_qs});
}

TEST_F(AppModelSystemTest, SettingsThatCannotBeAppliedAreAnsweredWithFalse) {
    settings.activationMode = ActivationMode::hotkey;
    settings.hotKey.key.clear();
    make();
    for (const bool enabled : {true, false}) {
        setCopyNotifications(enabled);
        EXPECT_EQ(answer, false);
    }
    EXPECT_TRUE(store.saved.empty());
    EXPECT_FALSE(model->settings().notifyOnCopy);
}

TEST_F(AppModelSystemTest, WhatChangedDuringTheQuestionIsKept) {
    notifications.authorization.hold();
    make();
    setCopyNotifications(true);
    EXPECT_EQ(answer, std::nullopt);
    AppSettings next = model->settings();
    next.preset = Preset::mcq;
    model->updateSettings(next);
    notifications.authorization.release(0, true);
    drainEvents();
    EXPECT_EQ(answer, true);
    EXPECT_EQ(model->settings().preset, Preset::mcq);
    EXPECT_TRUE(model->settings().notifyOnCopy);
}

TEST_F(AppModelSystemTest, AModelThatGoesDuringTheQuestionStoresNothing) {
    notifications.authorization.hold();
    make();
    setCopyNotifications(true);
    model.reset();
    notifications.authorization.release(0, true);
    drainEvents();
    EXPECT_EQ(answer, false);
    EXPECT_TRUE(store.saved.empty());
}

TEST_F(AppModelSystemTest, ARelaunchEndsThisInstanceOnceTheOtherRuns) {
    relauncher.script.hold();
    make();
    relaunch();
    EXPECT_EQ(journal.entries(), QStringList{u"relaunch"_qs});
    EXPECT_EQ(log.texts("lifecycle").back(), "Relaunch requested");
    relauncher.script.release(0, true);
    drainEvents();
    EXPECT_EQ(answer, true);
    EXPECT_EQ(journal.entries(),
              (QStringList{u"relaunch"_qs, u"invalidateOverlays"_qs, u"terminateApplication"_qs}));
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Relaunch requested"), 1);
    EXPECT_EQ(
        logged("lifecycle", LogLevel::standard, "Replacement instance started; quitting this one"),
        1);
    EXPECT_EQ(logged("lifecycle", LogLevel::standard, "Quit requested"), 1);
}

TEST_F(AppModelSystemTest, AFailedRelaunchLeavesThisInstanceRunning) {
    relauncher.script.failWith(DesktopError());
    make();
    start();
    journal.clear();
    relaunch();
    EXPECT_EQ(answer, false);
    EXPECT_EQ(journal.entries(), QStringList{u"relaunch"_qs});
    EXPECT_EQ(logged("lifecycle", LogLevel::error, "Relaunch failed; errorType=DesktopError"), 1);
    EXPECT_FALSE(log.holds("refused"));
    run();
    EXPECT_EQ(service.requests.size(), 1U);
}

TEST_F(AppModelSystemTest, UnderTestARelaunchEndsNothing) {
    for (const bool isUITesting : {true, false}) {
        testing.isUITesting = isUITesting;
        testing.isUnitTesting = !isUITesting;
        make();
        relaunch();
        EXPECT_EQ(answer, true);
        EXPECT_EQ(journal.entries(), QStringList{u"relaunch"_qs});
    }
    EXPECT_EQ(
        logged("lifecycle", LogLevel::standard, "Replacement instance started; quitting this one"),
        2);
}

TEST_F(AppModelSystemTest, AModelThatGoesDuringARelaunchEndsNothing) {
    relauncher.script.hold();
    make();
    relaunch();
    model.reset();
    relauncher.script.release(0, true);
    drainEvents();
    EXPECT_EQ(answer, true) << "a replacement did start";
    EXPECT_FALSE(journal.holds(u"terminateApplication"_qs));
}

} // namespace lumivane::test
