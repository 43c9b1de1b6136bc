#include "NumberedSettings.h"
#include "SettingsFolder.h"
#include "settings/SettingsStore.h"

#include <QProcess>

#include <sched.h>

#include <memory>
#include <random>
#include <vector>

namespace lumivane {

using test::numberedSettings;
using test::numberOf;

namespace {

/// A process that saves, ended in any case when this goes.
class Saver {
public:
    Saver(const QString& folder, int first, int last, const QString& key = QString()) {
        QStringList arguments{folder, QString::number(first), QString::number(last)};
        if (!key.isEmpty()) {
            arguments += key;
        }
        m_process.start(QStringLiteral(LUMIVANE_SETTINGS_SAVER), arguments);
        EXPECT_TRUE(m_process.waitForStarted());
    }

    ~Saver() { kill(); }

    Saver(const Saver&) = delete;
    Saver& operator=(const Saver&) = delete;

    /// Returns when so many lines have come, or the process has ended.
    void readLines(int count) {
        for (int line = 0; line < count; ++line) {
            while (!m_process.canReadLine()) {
                if (!m_process.waitForReadyRead()) {
                    return;
                }
            }
            note(m_process.readLine());
        }
    }

    /// Ends it at once, then takes in what it still said.
    void kill() {
        m_process.kill();
        m_process.waitForFinished();
        while (m_process.canReadLine()) {
            note(m_process.readLine());
        }
    }

    bool isRunning() {
        return m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(1);
    }

    bool hasSucceeded() const {
        return m_process.exitStatus() == QProcess::NormalExit && m_process.exitCode() == 0;
    }

    int begun() const { return m_begun; } ///< the last number whose saving began; 0 for none

    int saved() const { return m_saved; } ///< the last number that was saved; 0 for none

private:
    void note(const QByteArray& line) {
        const QList<QByteArray> words = line.trimmed().split(' ');
        ASSERT_EQ(words.size(), 2);
        (words[0] == "before" ? m_begun : m_saved) = words[1].toInt();
    }

    QProcess m_process;
    int m_begun = 0;
    int m_saved = 0;
};

} // namespace

class SettingsProcessesTest : public test::SettingsFolder {
protected:
    AppSettings loaded() const {
        FileUserDefaults defaults = opened();
        return SettingsStore(defaults).load();
    }

    int temporaryFiles() const {
        return static_cast<int>(everythingIn(folder).filter(u".tmp"_qs).size());
    }
};

TEST_F(SettingsProcessesTest, AfterAKillAtAnyMomentEitherTheOldOrTheNewValueIsThere) {
    std::mt19937 random(1234);
    std::uniform_int_distribution<int> lines(1, 24);
    std::uniform_int_distribution<int> turns(0, 3000);
    FileUserDefaults defaults = opened();
    SettingsStore(defaults).save(numberedSettings(0));
    int present = 0;
    int killedWhileSaving = 0;
    for (int kills = 0; present < 500 || kills < 40; ++kills) {
        Saver saver(folder, present + 1, present + 500);
        saver.readLines(lines(random));
        for (int turn = turns(random); turn > 0; --turn) {
            ::sched_yield(); // nothing to wait for: any moment is as good as another
        }
        saver.kill();
        killedWhileSaving += saver.begun() > saver.saved() ? 1 : 0;
        const AppSettings settings = loaded();
        const int number = numberOf(settings);
        ASSERT_EQ(settings, numberedSettings(number));
        ASSERT_GE(number, std::max(saver.saved(), present));
        ASSERT_LE(number, std::max(saver.begun(), present));
        ASSERT_FALSE(QFileInfo::exists(inFolder(u"settings.json.damaged"_qs)));
        ASSERT_LE(temporaryFiles(), 1);
        present = number;
    }
    EXPECT_GT(killedWhileSaving, 10);
    SettingsStore(defaults).save(numberedSettings(1));
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

TEST_F(SettingsProcessesTest, OfManyThatWriteAtOnceEachWriteIsWholeAndNoKeyIsLost) {
    constexpr int saves = 60;
    FileUserDefaults defaults = opened();
    SettingsStore(defaults).save(numberedSettings(0));
    std::vector<std::unique_ptr<Saver>> savers;
    savers.push_back(std::make_unique<Saver>(folder, 1, saves));
    savers.push_back(std::make_unique<Saver>(folder, 1001, 1000 + saves));
    savers.push_back(std::make_unique<Saver>(folder, 1, saves, u"first"_qs));
    savers.push_back(std::make_unique<Saver>(folder, 1, saves, u"second"_qs));
    int looks = 0;
    for (const auto& saver : savers) {
        while (saver->isRunning()) {
            const AppSettings settings = loaded();
            ASSERT_EQ(settings, numberedSettings(numberOf(settings)));
            ++looks;
        }
        EXPECT_TRUE(saver->hasSucceeded());
    }
    EXPECT_GT(looks, 10);
    const int last = numberOf(loaded());
    EXPECT_TRUE(last == saves || last == 1000 + saves) << last;
    EXPECT_EQ(stored(u"first"_qs), QByteArray::number(saves));
    EXPECT_EQ(stored(u"second"_qs), QByteArray::number(saves));
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

} // namespace lumivane
