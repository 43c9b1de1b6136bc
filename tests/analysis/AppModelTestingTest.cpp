#include "support/AppModelFixture.h"

namespace lumivane::test {

using namespace std::chrono_literals;

/// Processes that are under test themselves: the views' fixtures, chosen by arguments.
class AppModelTestingTest : public AppModelTest {
protected:
    /// Started as a process with these arguments besides the one that turns the mode on.
    AppModel& makeTested(const QStringList& arguments = {}) {
        testing = TestingMode::of(QStringList{u"lumivane"_qs, u"--ui-testing"_qs} + arguments,
                                  QProcessEnvironment());
        make();
        start();
        return *model;
    }

    static constexpr auto connected = u"Connected to the Lumivane test service.";
    static constexpr auto unavailable = u"The Lumivane test service is unavailable.";
};

TEST_F(AppModelTestingTest, UnitTestingEndsTheStart) {
    testing.isUnitTesting = true;
    settings.configured = false;
    make();
    start();
    clock.advance(1s);
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(clock.timerCount(), 0U);
    EXPECT_EQ(log.texts("lifecycle").back(),
              "Unit testing mode enabled; app lifecycle is inactive");
    EXPECT_EQ(logged("lifecycle", LogLevel::debug,
                     "Unit testing mode enabled; app lifecycle is inactive"),
              1);
}

TEST_F(AppModelTestingTest, UnitTestingLooksAtNoFixture) {
    testing.isUnitTesting = true;
    testing.configured = true;
    testing.light = true;
    testing.onboardingDenied = true;
    make();
    start();
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(model->settings(), settings);
    model->refreshSystemState();
    EXPECT_TRUE(journal.holds(u"hasScreenRecording"_qs)) << "the real one";
    TaskHandle::detach([this](std::stop_token) { return model->refreshServiceStatus(); });
    drainEvents();
    EXPECT_TRUE(journal.holds(u"health"_qs)) << "the real one";
}

TEST_F(AppModelTestingTest, TheModeAloneIsAFirstRunOnDefaults) {
    settings.activationMode = ActivationMode::hotkey;
    settings.preset = Preset::mcq;
    makeTested();
    EXPECT_EQ(journal.entries(),
              (QStringList{u"reset"_qs, u"setAppearance dark"_qs, u"restore"_qs}))
        << "neither capture nor service is touched";
    EXPECT_EQ(model->settings(), AppSettings::defaults());
    EXPECT_TRUE(store.saved.empty());
    EXPECT_EQ(logged("lifecycle", LogLevel::debug, "UI testing mode enabled"), 1);
    EXPECT_EQ(model->serviceStatus(), u"Waiting for the automatic connection check."_qs);
    EXPECT_TRUE(model->screenRecordingGranted()) << "as at creation";
    clock.advance(499ms);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
    clock.advance(1ms);
    EXPECT_TRUE(journal.holds(u"presentSettings 0"_qs));
}

TEST_F(AppModelTestingTest, LightDressesTheApplicationLight) {
    makeTested({u"--ui-testing-light"_qs});
    EXPECT_FALSE(model->settings().useDarkAppearance);
    EXPECT_TRUE(journal.holds(u"setAppearance light"_qs));
    EXPECT_TRUE(store.saved.empty());
}

TEST_F(AppModelTestingTest, OnboardingReadyHasPermissionAndService) {
    permission.granted = false;
    makeTested({u"--ui-testing-onboarding-ready"_qs});
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_TRUE(model->serviceReady());
    EXPECT_EQ(model->serviceStatus(), connected);
    EXPECT_FALSE(model->settings().configured);
    clock.advance(500ms);
    EXPECT_TRUE(journal.holds(u"presentSettings 0"_qs)) << "the wizard";
}

TEST_F(AppModelTestingTest, OnboardingDeniedHasNeither) {
    makeTested({u"--ui-testing-onboarding-denied"_qs});
    EXPECT_FALSE(model->screenRecordingGranted());
    EXPECT_FALSE(model->serviceReady());
    EXPECT_EQ(model->serviceStatus(), unavailable);
}

TEST_F(AppModelTestingTest, OfTwoOnboardingsTheLaterInTheTableCounts) {
    makeTested({u"--ui-testing-onboarding-denied"_qs, u"--ui-testing-onboarding-ready"_qs});
    EXPECT_FALSE(model->screenRecordingGranted());
    EXPECT_EQ(model->serviceStatus(), unavailable);
}

TEST_F(AppModelTestingTest, ConfiguredShowsTheSettingsAndEndsTheStart) {
    permission.granted = false;
    makeTested({u"--ui-testing-configured"_qs});
    AppSettings expected;
    expected.configured = true;
    EXPECT_EQ(model->settings(), expected);
    ASSERT_EQ(store.saved.size(), 1U);
    EXPECT_EQ(store.saved[0], expected);
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_TRUE(model->serviceReady());
    EXPECT_EQ(model->serviceStatus(), connected);
    EXPECT_EQ(model->readiness(), ReadinessState::ready);
    EXPECT_EQ(journal.entries(), (QStringList{u"reset"_qs, u"setAppearance dark"_qs, u"save"_qs}));
    EXPECT_EQ(clock.timerCount(), 1U) << "the window's, and no corner is watched";
    clock.advance(299ms);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
    clock.advance(1ms);
    EXPECT_EQ(journal.entries().last(), u"presentSettings 0"_qs);
    clock.advance(1h);
    EXPECT_EQ(journal.count(u"presentSettings 0"_qs), 1);
    EXPECT_FALSE(journal.holds(u"restore"_qs));
    EXPECT_EQ(log.countStartingWith("First run detected"), 0);
}

TEST_F(AppModelTestingTest, ConfiguredOverridesAnOnboarding) {
    makeTested({u"--ui-testing-onboarding-denied"_qs, u"--ui-testing-configured"_qs});
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_EQ(model->serviceStatus(), connected);
}

TEST_F(AppModelTestingTest, NeedsPermissionTakesThePermissionAlone) {
    makeTested({u"--ui-testing-configured"_qs, u"--ui-testing-needs-permission"_qs});
    EXPECT_FALSE(model->screenRecordingGranted());
    EXPECT_TRUE(model->serviceReady());
    EXPECT_EQ(model->readiness(), ReadinessState::needsPermission);
}

TEST_F(AppModelTestingTest, NeedsServiceTakesTheServiceAlone) {
    makeTested({u"--ui-testing-configured"_qs, u"--ui-testing-needs-service"_qs});
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_FALSE(model->serviceReady());
    EXPECT_EQ(model->serviceStatus(), unavailable);
    EXPECT_EQ(model->readiness(), ReadinessState::needsService);
}

TEST_F(AppModelTestingTest, AnInvalidPromptIsStored) {
    makeTested({u"--ui-testing-configured"_qs, u"--ui-testing-invalid-prompt"_qs,
                u"--ui-testing-light"_qs});
    EXPECT_EQ(store.saved.at(0).preset, Preset::custom);
    EXPECT_EQ(store.saved.at(0).customPrompt, QString());
    EXPECT_FALSE(store.saved.at(0).useDarkAppearance);
    EXPECT_EQ(model->readiness(), ReadinessState::invalidSettings);
}

TEST_F(AppModelTestingTest, WithoutConfiguredItsFourArgumentsAreNotRead) {
    makeTested({u"--ui-testing-needs-permission"_qs, u"--ui-testing-needs-service"_qs,
                u"--ui-testing-invalid-prompt"_qs, u"--ui-testing-auth-required"_qs});
    EXPECT_TRUE(model->screenRecordingGranted());
    EXPECT_EQ(model->serviceStatus(), u"Waiting for the automatic connection check."_qs);
    EXPECT_EQ(model->settings(), AppSettings::defaults());
    session.signedIn = false;
    clock.advance(1s);
    EXPECT_FALSE(journal.holds(u"showAuthenticationRequired 7"_qs));
}

TEST_F(AppModelTestingTest, AuthRequiredAnalysesTheMainScreenOnceTheWindowIsShown) {
    session.signedIn = false;
    displays.setDisplays({{otherDisplay, {1440, 0, 1280, 1024}, 1, false},
                          {mainDisplay, {0, 0, 1440, 900}, 1, true}});
    displays.setPointer(Point{1500, 10});
    makeTested({u"--ui-testing-configured"_qs, u"--ui-testing-auth-required"_qs});
    clock.advance(300ms);
    EXPECT_EQ(journal.entries().mid(journal.entries().size() - 2),
              (QStringList{u"presentSettings 0"_qs, u"showAuthenticationRequired 7"_qs}));
}

TEST_F(AppModelTestingTest, AuthRequiredWithoutAMainScreenShowsTheWindowOnly) {
    session.signedIn = false;
    makeTested({u"--ui-testing-configured"_qs, u"--ui-testing-auth-required"_qs});
    displays.failDisplays("gone");
    clock.advance(300ms);
    EXPECT_EQ(journal.entries().last(), u"presentSettings 0"_qs);

    displays.failDisplays(std::nullopt);
    displays.setDisplays({{otherDisplay, {1440, 0, 1280, 1024}, 1, false}});
    makeTested({u"--ui-testing-configured"_qs, u"--ui-testing-auth-required"_qs});
    clock.advance(300ms);
    EXPECT_EQ(journal.entries().last(), u"presentSettings 0"_qs);
}

TEST_F(AppModelTestingTest, AModelThatGoesShowsNoWindow) {
    makeTested({u"--ui-testing-configured"_qs, u"--ui-testing-auth-required"_qs});
    model.reset();
    drainEvents();
    EXPECT_EQ(clock.timerCount(), 0U);
    clock.advance(1s);
    EXPECT_FALSE(journal.holds(u"presentSettings 0"_qs));
}

TEST_F(AppModelTestingTest, FixturesAreObserved) {
    testing.isUITesting = true;
    testing.configured = true;
    testing.needsPermission = true;
    make();
    QStringList heard;
    QObject::connect(model.get(), &AppModel::settingsChanged, model.get(),
                     [&] { heard.append(u"settings"_qs); });
    QObject::connect(model.get(), &AppModel::serviceChanged, model.get(),
                     [&] { heard.append(u"service"_qs); });
    QObject::connect(model.get(), &AppModel::screenRecordingGrantedChanged, model.get(),
                     [&] { heard.append(u"permission"_qs); });
    start();
    heard.removeDuplicates();
    EXPECT_EQ(heard, (QStringList{u"settings"_qs, u"permission"_qs, u"service"_qs}));
}

TEST_F(AppModelTestingTest, AFixedPermissionIsNotLookedAtAnew) {
    for (const QString& argument :
         {u"--ui-testing-onboarding-ready"_qs, u"--ui-testing-onboarding-denied"_qs,
          u"--ui-testing-configured"_qs}) {
        makeTested({argument});
        const bool isGranted = model->screenRecordingGranted();
        permission.granted = !isGranted;
        journal.clear();
        model->refreshSystemState();
        EXPECT_EQ(model->screenRecordingGranted(), isGranted) << argument.toStdString();
        EXPECT_TRUE(journal.entries().isEmpty());
    }
    makeTested({u"--ui-testing-needs-permission"_qs});
    permission.granted = !model->screenRecordingGranted();
    model->refreshSystemState();
    EXPECT_EQ(model->screenRecordingGranted(), permission.granted) << "nothing fixes it";
}

TEST_F(AppModelTestingTest, ARefusedPermissionOpensNoPane) {
    makeTested({u"--ui-testing-onboarding-denied"_qs});
    journal.clear();
    model->requestScreenRecording();
    EXPECT_EQ(journal.entries(), QStringList{u"requestScreenRecording"_qs});
    EXPECT_FALSE(model->screenRecordingGranted());
}

TEST_F(AppModelTestingTest, ACheckOfTheServiceReadsTheArgumentAlone) {
    makeTested({u"--ui-testing-onboarding-denied"_qs});
    journal.clear();
    int changes = 0;
    QObject::connect(model.get(), &AppModel::serviceChanged, model.get(), [&] { ++changes; });
    model->testService();
    drainEvents();
    EXPECT_TRUE(model->serviceReady()) << "the argument is absent";
    EXPECT_FALSE(model->serviceChecking());
    EXPECT_EQ(model->serviceStatus(), unavailable) << "the words stay";
    EXPECT_EQ(changes, 1);

    makeTested({u"--ui-testing-needs-service"_qs, u"--ui-testing-onboarding-ready"_qs});
    journal.clear();
    EXPECT_TRUE(model->serviceReady());
    model->testService();
    drainEvents();
    EXPECT_FALSE(model->serviceReady()) << "also without --ui-testing-configured";
    EXPECT_FALSE(journal.holds(u"health"_qs));
    EXPECT_EQ(log.countStartingWith("Starting service health check"), 0);
}

TEST_F(AppModelTestingTest, ArgumentsOfTheFamilyWithoutTheModeDoNothing) {
    testing = TestingMode::of(
        {u"--ui-testing-configured"_qs, u"--ui-testing-needs-service"_qs, u"--ui-testing-light"_qs},
        QProcessEnvironment());
    make();
    start();
    EXPECT_EQ(journal.entries(), (QStringList{u"restore"_qs, u"warmUp"_qs, u"health"_qs}));
    EXPECT_EQ(model->settings(), settings);
    EXPECT_TRUE(model->serviceReady());
}

} // namespace lumivane::test
