// The life of the process: starts, switches, and what it keeps, seen from outside.

#include "ProcessFixture.h"
#include "support/EventLoop.h"
#include "support/NotifierTray.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <memory>

namespace lumivane::test {

using testing::HasSubstr;
using testing::Not;

INSTANTIATE_TEST_SUITE_P(Session, ProcessTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "WithABus" : "WithoutABus"; });

TEST_P(ProcessTest, AKilledProgramLeavesItsPlaceToTheNext) {
    home.store(settings);
    const auto first = start();
    first->kill();
    EXPECT_EQ(first->waitForEnd(), LumivaneProgram::endedBySignal);

    const auto second = start();
    EXPECT_EQ(second->terminate(), 0);
}

TEST_P(ProcessTest, TheFirstStartFinishesTheSetupAndStartsNothingWithTheSession) {
    const auto program = start();
    program->requireLog("Wizard settings applied");
    EXPECT_THAT(program->log().toStdString(),
                HasSubstr("First run detected; scheduling setup wizard"));
    AppSettings expected;
    expected.configured = true;
    expected.launchAtLogin = false;
    EXPECT_EQ(home.storedSettings(), expected);
    EXPECT_FALSE(QFile::exists(autostartEntry()));
    EXPECT_EQ(program->terminate(), 0);
}

TEST_P(ProcessTest, DamagedSettingsAreKeptBesideTheNewOnes) {
    home.store(settings);
    const QString stored = home.path(u"CONFIG/lumivane/settings.json"_qs);
    ASSERT_TRUE(QFile::resize(stored, 100));
    const auto program = start();
    program->requireLog("Wizard settings applied");
    EXPECT_TRUE(home.storedSettings().has_value());
    EXPECT_EQ(QFileInfo(stored + u".damaged"_qs).size(), 100);
    EXPECT_EQ(program->terminate(), 0);
}

TEST_P(ProcessTest, WithAHiddenIconAStartByHandShowsTheSettingsAndOneByTheSessionDoesNot) {
    settings.showInMenuBar = false;
    home.store(settings);
    const auto byHand = start();
    byHand->requireLog(settingsShown);
    EXPECT_EQ(byHand->terminate(), 0);

    const auto bySession = start({u"--login-item"_qs});
    LumivaneProgram second(home); // comes behind whatever the start still had to do
    EXPECT_EQ(second.waitForEnd(), 0);
    bySession->requireLog(settingsShown);
    EXPECT_EQ(bySession->log().count(settingsShown), 1);
    EXPECT_EQ(bySession->terminate(), 0);
}

TEST_P(ProcessTest, AnAddressOfTheFirstStartIsOpened) {
    home.store(settings);
    const auto program = start({u"com.marnoth.lumivane.oauth:/callback?code=canary"_qs});
    constexpr auto dropped = "Dropped a login callback that no login waits for";
    program->requireLog(dropped);
    EXPECT_EQ(program->log().count(dropped), 1);
    EXPECT_THAT(program->log().toStdString(), Not(HasSubstr("canary")));
    EXPECT_EQ(program->terminate(), 0);
}

TEST_P(ProcessTest, UnknownSwitchesAreIgnored) {
    home.store(settings);
    const auto program = start({u"--reset-setting"_qs, u"--Help"_qs, u"-v"_qs, u"file.txt"_qs});
    EXPECT_EQ(program->terminate(), 0);
    EXPECT_EQ(home.storedSettings(), settings);
}

TEST_P(ProcessTest, AResetWipesTheSettingsAndStartsNothing) {
    home.store(settings);
    LumivaneProgram program(home, {u"--reset-settings"_qs});
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_FALSE(QFile::exists(home.path(u"CONFIG/lumivane/settings.json"_qs)));
    EXPECT_THAT(program.log().toStdString(), Not(HasSubstr("App model initialized")));
}

TEST_P(ProcessTest, AResetThatCannotBeDoneEndsWithAnErrorStatus) {
    home.environment.insert(u"XDG_CONFIG_HOME"_qs, home.path(QString(300, u'x'))); // no such name
    LumivaneProgram program(home, {u"--reset-settings"_qs});
    EXPECT_EQ(program.waitForEnd(), 1);
    EXPECT_THAT(program.log().toStdString(), HasSubstr("Resetting settings failed"));
}

TEST_P(ProcessTest, OfBothSwitchesOnlyTheLoginItemsActs) {
    home.store(settings);
    QDir().mkpath(QFileInfo(autostartEntry()).path());
    QFile entry(autostartEntry());
    ASSERT_TRUE(entry.open(QIODevice::WriteOnly));
    entry.write("[Desktop Entry]\nType=Application\nName=Lumivane\nExec=lumivane\n");
    entry.close();

    LumivaneProgram program(home, {u"--reset-settings"_qs, u"--unregister-login-item"_qs});
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_FALSE(entry.exists());
    EXPECT_EQ(home.storedSettings(), settings);
}

TEST_P(ProcessTest, MaintenanceHelpAndVersionNeedNoDisplay) {
    home.environment.remove(u"DISPLAY"_qs);
    LumivaneProgram version(home, {u"--version"_qs});
    EXPECT_EQ(version.waitForEnd(), 0);
    EXPECT_THAT(version.output().toStdString(), HasSubstr(LUMIVANE_VERSION));
    LumivaneProgram help(home, {u"--help"_qs});
    EXPECT_EQ(help.waitForEnd(), 0);
    EXPECT_THAT(help.output().toStdString(), HasSubstr("--reset-settings"));
    LumivaneProgram reset(home, {u"--reset-settings"_qs});
    EXPECT_EQ(reset.waitForEnd(), 0);
}

TEST_P(ProcessTest, WithoutADisplayItSaysSoAndEnds) {
    home.environment.insert(u"DISPLAY"_qs, u":4242"_qs);
    LumivaneProgram program(home);
    EXPECT_EQ(program.waitForEnd(), 1);
    EXPECT_THAT(program.log().toStdString(), HasSubstr("lumivane: "));
}

class ProcessTrayTest : public testing::Test {
protected:
    ProcessTrayTest() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
        tray = std::make_unique<NotifierTray>();
        settings.configured = true;
        settings.activationMode = ActivationMode::hotkey;
        home.store(settings);
        home.setService(u"http://127.0.0.1:9"_qs);
        home.setSessionBus(bus.address());
    }

    /// Chooses the line of the icon's menu with this title.
    void choose(const QString& title) {
        ASSERT_TRUE(tray->waitForItem());
        for (const NotifierTray::Line& line : tray->openMenu()) {
            if (line.title == title) {
                tray->choose(line.id);
                return;
            }
        }
        FAIL() << "no such line: " << title.toStdString();
    }

    XServer display{QSize(1280, 800)};
    PrivateBus bus;
    std::unique_ptr<NotifierTray> tray;
    LumivaneHome home{display};
    AppSettings settings;
};

TEST_F(ProcessTrayTest, WhatTheMenuPausesIsPausedAfterACrash) {
    LumivaneProgram first(home);
    choose(u"Pause Lumivane"_qs);
    first.requireLog("Pause state changed; paused=1");
    EXPECT_TRUE(waitUntil([this] { return home.storedSettings().value_or(settings).paused; }));
    first.kill();
    first.waitForEnd();
    EXPECT_TRUE(waitUntil([this] { return tray->items().isEmpty(); }));

    LumivaneProgram second(home);
    second.requireLog("Starting app model; configured=1 paused=1");
    choose(u"Resume Lumivane"_qs);
    second.requireLog("Pause state changed; paused=0");
    EXPECT_EQ(second.terminate(), 0);
}

TEST_F(ProcessTrayTest, TheMenuEndsTheProgram) {
    LumivaneProgram program(home);
    choose(u"Quit Lumivane"_qs);
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_THAT(program.log().toStdString(), HasSubstr("Lumivane terminating"));
}

TEST_F(ProcessTrayTest, ATrayThatHangsDoesNotKeepItFromStartingOrEnding) {
    tray.reset();
    tray = std::make_unique<NotifierTray>(NotifierTray::Host::present,
                                          NotifierTray::Manner::staysSilent);
    LumivaneProgram program(home);
    program.requireLog(isReady);
    EXPECT_TRUE(waitUntil([this] { return tray->unansweredCount() > 0; }));
    EXPECT_EQ(program.terminate(), 0);
    EXPECT_THAT(program.log().toStdString(), HasSubstr("Lumivane terminating"));
}

TEST_F(ProcessTrayTest, AHungBusDoesNotKeepItFromStarting) {
    const HeldProcess hung(bus.processID());
    LumivaneProgram program(home);
    program.requireLog("The session bus does not answer; going on without it");
    program.requireLog(isReady);
    EXPECT_EQ(program.terminate(), 0);
}

} // namespace lumivane::test
