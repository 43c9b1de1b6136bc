#include "domain/SettingsValidationError.h"
#include "support/AppModelFixture.h"
#include "triggers/TriggerError.h"

namespace lumivane::test {

/// The wizard's way of applying settings, before setup is complete.
class AppModelSaveSettingsTest : public AppModelTest {
protected:
    AppModelSaveSettingsTest() {
        settings = AppSettings::defaults();
        candidate = AppSettings::defaults();
        candidate.activationMode = ActivationMode::hotkey;
    }

    static constexpr std::uint32_t keyE = 14;

    AppSettings candidate;
};

TEST_F(AppModelSaveSettingsTest, EverythingHappensInOrder) {
    make();
    int changes = 0;
    QObject::connect(model.get(), &AppModel::settingsChanged, model.get(), [&] {
        ++changes;
        EXPECT_EQ(store.saved.size(), 1U) << "who hears of it finds it stored";
    });
    candidate.launchAtLogin = false;
    candidate.useDarkAppearance = false;
    candidate.preset = Preset::leetCode;
    candidate.dwellSeconds = 5;
    model->saveSettings(candidate);
    drainEvents();
    EXPECT_EQ(journal.entries(),
              (QStringList{u"setEnabled 0"_qs, u"save"_qs, u"setAppearance light"_qs,
                           u"registerHotKey 14"_qs, u"prepareForLeetCodeSaving"_qs}));
    AppSettings expected = candidate;
    expected.configured = true;
    expected.dwellSeconds = 2;
    EXPECT_EQ(model->settings(), expected);
    ASSERT_EQ(store.saved.size(), 1U);
    EXPECT_EQ(store.saved[0], expected);
    EXPECT_EQ(changes, 1);
}

TEST_F(AppModelSaveSettingsTest, LogLinesStandAsWritten) {
    make();
    const std::size_t before = log.texts("settings").size();
    candidate.preset = Preset::mcq;
    model->saveSettings(candidate);
    auto lines = log.texts("settings");
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
    EXPECT_EQ(lines, (std::vector<std::string>{
                         "Saving wizard settings; activation=hotkey preset=mcq launchAtLogin=1",
                         "Applied app appearance; dark=1", "Wizard settings applied"}));
    EXPECT_EQ(logged("settings", LogLevel::standard, "Wizard settings applied"), 1);
    EXPECT_EQ(logged("settings", LogLevel::standard,
                     "Saving wizard settings; activation=hotkey preset=mcq launchAtLogin=1"),
              1);
}

TEST_F(AppModelSaveSettingsTest, AnEmptyPromptChangesNothing) {
    make();
    candidate.preset = Preset::custom;
    candidate.customPrompt = u" \n"_qs;
    candidate.hotKey.key.clear();
    try {
        model->saveSettings(candidate);
        FAIL() << "the prompt is missing";
    } catch (const SettingsValidationError& error) {
        EXPECT_EQ(error.errorCase, SettingsValidationError::Case::missingCustomPrompt);
    }
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(model->settings(), settings);
    EXPECT_EQ(log.countStartingWith("Saving wizard settings"), 1);
    EXPECT_EQ(log.countStartingWith("Wizard settings applied"), 0);
}

TEST_F(AppModelSaveSettingsTest, AShortcutThatIsNoneChangesNothing) {
    make();
    candidate.hotKey.key.clear();
    EXPECT_THROW(model->saveSettings(candidate), SettingsValidationError);
    EXPECT_TRUE(journal.entries().isEmpty());
    EXPECT_EQ(model->settings(), settings);
}

TEST_F(AppModelSaveSettingsTest, ARefusedLoginItemChangesNothingElse) {
    launchAtLogin.isRefusing = true;
    make();
    EXPECT_THROW(model->saveSettings(candidate), DesktopError);
    EXPECT_EQ(journal.entries(), QStringList{u"setEnabled 1"_qs});
    EXPECT_EQ(model->settings(), settings);
    EXPECT_FALSE(model->settings().configured);
    EXPECT_TRUE(hotKeys.hotKeys().empty());
}

TEST_F(AppModelSaveSettingsTest, ARefusedShortcutLeavesTheSettingsSaved) {
    hotKeys.refuseHotKeys(FakeHotKeyRegistrar::accessDenied);
    make();
    candidate.preset = Preset::leetCode;
    EXPECT_THROW(model->saveSettings(candidate), TriggerError);
    drainEvents();
    EXPECT_EQ(journal.entries(), (QStringList{u"setEnabled 1"_qs, u"save"_qs,
                                              u"setAppearance dark"_qs, u"refuseHotKey 14"_qs}));
    EXPECT_TRUE(model->settings().configured);
    EXPECT_EQ(store.saved.at(0), model->settings());
    EXPECT_TRUE(overlays.errors.empty()) << "the wizard shows it";
    EXPECT_EQ(log.countStartingWith("Wizard settings applied"), 0);
}

TEST_F(AppModelSaveSettingsTest, TheLoginItemIsAskedForEvenWhereNothingDiffers) {
    make();
    model->saveSettings(candidate);
    model->saveSettings(candidate);
    EXPECT_EQ(journal.count(u"setEnabled 1"_qs), 2);
    EXPECT_EQ(hotKeys.hotKeys().size(), 1U);
    EXPECT_EQ(hotKeys.hotKeys()[0].keyCode, keyE);
}

TEST_F(AppModelSaveSettingsTest, SavingWhatTheModelHoldsFinishesTheSetup) {
    settings.activationMode = ActivationMode::corner;
    make();
    model->saveSettings(model->settings());
    EXPECT_TRUE(model->settings().configured);
    EXPECT_EQ(clock.timerCount(), 1U) << "the corner is watched";
}

} // namespace lumivane::test
