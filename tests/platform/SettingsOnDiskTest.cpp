#include "SettingsFolder.h"
#include "domain/StrictJson.h"
#include "settings/SettingsStore.h"
#include "support/FileSizeLimit.h"
#include "support/LogCapture.h"

#include <unistd.h>

#include <vector>

namespace lumivane {

/// The settings store on a real file.
class SettingsOnDiskTest : public test::SettingsFolder {
protected:
    AppSettings loaded() const {
        FileUserDefaults defaults = opened();
        return SettingsStore(defaults).load();
    }

    void save(const AppSettings& settings) const {
        FileUserDefaults defaults = opened();
        SettingsStore(defaults).save(settings);
    }

    AppSettings changed() const {
        AppSettings settings;
        settings.configured = true;
        settings.customPrompt = u"Two \"lines\",\nin 漢字."_qs;
        settings.cornerSize = 54.39999999999905;
        return settings;
    }

    QByteArray storedForm(int version) const {
        return content(QStringLiteral(LUMIVANE_TEST_DATA) + u"/settings/v"_qs +
                       QString::number(version) + u".json"_qs);
    }

    test::LogCapture log;
};

TEST_F(SettingsOnDiskTest, SettingsOutliveTheProcess) {
    EXPECT_EQ(loaded(), AppSettings::defaults());
    EXPECT_TRUE(everythingIn(place.path()).isEmpty());
    save(changed());
    EXPECT_EQ(loaded(), changed());
}

TEST_F(SettingsOnDiskTest, EveryOlderFormIsFoundInTheFileAndReplacedThere) {
    for (int version = 1; version <= 9; ++version) {
        const QString key = u"Lumivane.native.settings.v"_qs + QString::number(version);
        opened().removePersistentDomain();
        opened().set(storedForm(version), key);
        const AppSettings settings = loaded();
        EXPECT_TRUE(settings.configured) << version;
        EXPECT_EQ(stored(key), std::nullopt);
        EXPECT_TRUE(stored(SettingsStore::key).has_value());
        EXPECT_EQ(loaded(), settings);
    }
}

TEST_F(SettingsOnDiskTest, AFileCutAnywhereGivesTheSettingsOrTheDefaults) {
    save(changed());
    const QByteArray whole = content(file);
    for (qsizetype size = 0; size < whole.size() - 1; ++size) {
        ASSERT_EQ(::truncate(QFile::encodeName(file).constData(), size), 0);
        ASSERT_EQ(loaded(), AppSettings::defaults()) << size;
        write(file, whole);
    }
    EXPECT_EQ(loaded(), changed());
}

TEST_F(SettingsOnDiskTest, AFullDiskIsLoggedAndTheProgramGoesOn) {
    save(changed());
    {
        const test::FileSizeLimit limit(100);
        save(AppSettings::defaults());
        EXPECT_EQ(loaded(), changed());
    }
    EXPECT_EQ(log.count("settings", LogLevel::error, "Could not store settings"), 1);
    EXPECT_EQ(log.count("settings", LogLevel::info, "Saved settings; configured=0 paused=0"), 0);
    save(AppSettings::defaults());
    EXPECT_EQ(loaded(), AppSettings::defaults());
}

TEST_F(SettingsOnDiskTest, AMigrationOnAFullDiskLosesNothing) {
    const QString key = u"Lumivane.native.settings.v9"_qs;
    opened().set(storedForm(9), key);
    const QByteArray before = content(file);
    {
        const test::FileSizeLimit limit(100);
        EXPECT_EQ(loaded().customPrompt, u"From the ninth form."_qs);
    }
    EXPECT_EQ(content(file), before);
    EXPECT_EQ(loaded().customPrompt, u"From the ninth form."_qs);
    EXPECT_EQ(stored(key), std::nullopt);
}

TEST_F(SettingsOnDiskTest, AFolderThatCannotBeMadeIsLoggedAndTheProgramGoesOn) {
    write(place.filePath(u"config"_qs), "mine");
    EXPECT_EQ(loaded(), AppSettings::defaults());
    save(changed());
    EXPECT_EQ(log.count("settings", LogLevel::error, "Could not store settings"), 1);
    EXPECT_EQ(loaded(), AppSettings::defaults());
    EXPECT_EQ(content(place.filePath(u"config"_qs)), "mine");
}

TEST_F(SettingsOnDiskTest, ADamagedFileIsKeptAtTheFirstSave) {
    write(file, "{\"configured\": true}");
    EXPECT_EQ(loaded(), AppSettings::defaults());
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
    save(changed());
    EXPECT_EQ(loaded(), changed());
    EXPECT_EQ(content(inFolder(u"settings.json.damaged"_qs)), "{\"configured\": true}");
}

TEST_F(SettingsOnDiskTest, ResetLeavesOtherKeysAlone) {
    save(changed());
    opened().set("one", u"a"_qs);
    FileUserDefaults defaults = opened();
    SettingsStore(defaults).reset();
    EXPECT_EQ(loaded(), AppSettings::defaults());
    EXPECT_EQ(stored(), "one");
}

TEST_F(SettingsOnDiskTest, TheTestingSuiteNeverSeesTheUsersSettings) {
    save(changed());
    FileUserDefaults testing(folder, FileUserDefaults::testingSuite);
    EXPECT_EQ(SettingsStore(testing).load(), AppSettings::defaults());
    SettingsStore(testing).save(AppSettings::defaults());
    testing.removePersistentDomain();
    EXPECT_EQ(loaded(), changed());
}

TEST_F(SettingsOnDiskTest, NoFailureIsLoggedWithWhatTheUserWroteOrWhereItLies) {
    AppSettings settings = changed();
    settings.customPrompt = u"canary"_qs;
    write(place.filePath(u"config"_qs), "canary");
    save(settings);
    loaded();
    EXPECT_FALSE(log.holds("canary"));
    EXPECT_FALSE(log.holds("config"));
    EXPECT_EQ(log.lines().size(), 2U);
}

} // namespace lumivane
