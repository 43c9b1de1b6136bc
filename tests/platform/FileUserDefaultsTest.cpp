#include "platform/linux/FileUserDefaults.h"

#include "SettingsFolder.h"
#include "support/CommonUser.h"
#include "support/FileSizeLimit.h"

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <thread>

namespace lumivane {

using test::asCommonUser;

namespace {

mode_t modeOf(const QString& path) {
    struct stat status {};

    EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
    return status.st_mode & 07777;
}

void setMode(const QString& path, mode_t mode) {
    ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), mode), 0);
}

/// As a process that was killed between two of its system calls leaves it.
QString temporaryName(const QString& suite) { return u"."_qs + suite + u".json-0123abcd.tmp"_qs; }

} // namespace

class FileUserDefaultsTest : public test::SettingsFolder {
protected:
    QString linkTo(const QString& target) const {
        EXPECT_TRUE(QDir().mkpath(folder));
        EXPECT_EQ(
            ::symlink(QFile::encodeName(target).constData(), QFile::encodeName(file).constData()),
            0);
        return target;
    }
};

TEST_F(FileUserDefaultsTest, LookingMakesNothing) {
    EXPECT_EQ(stored(), std::nullopt);
    opened().removeObject(u"a"_qs);
    opened().removePersistentDomain();
    EXPECT_TRUE(everythingIn(place.path()).isEmpty());
}

TEST_F(FileUserDefaultsTest, APersonCanReadTheFile) {
    opened().set("{\"configured\":true}", u"Lumivane.native.settings.v10"_qs);
    opened().set("\xff\xfe", u"other"_qs);
    opened().set("é漢", u"words"_qs);
    EXPECT_EQ(content(file), "{\n"
                             "  \"Lumivane.native.settings.v10\": \"{\\\"configured\\\":true}\",\n"
                             "  \"other\": {\n"
                             "    \"base64\": \"//4=\"\n"
                             "  },\n"
                             "  \"words\": \"é漢\"\n"
                             "}\n");
}

TEST_F(FileUserDefaultsTest, APersonCanWriteTheFile) {
    write(file, "\xef\xbb\xbf{ \"b\":{\"base64\":\"eA==\"},\t\"a\" : \"one\\u00e9\" }\r\n");
    EXPECT_EQ(stored(), "oneé");
    EXPECT_EQ(stored(u"b"_qs), "x");
    opened().set("two", u"a"_qs);
    EXPECT_EQ(stored(u"b"_qs), "x");
}

TEST_F(FileUserDefaultsTest, OnlyTheOwnerReadsTheFileAndTheFoldersMadeForIt) {
    opened().set("one", u"a"_qs);
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(folder), 0700U);
    EXPECT_EQ(modeOf(place.filePath(u"config"_qs)), 0700U);
}

TEST_F(FileUserDefaultsTest, AFileThatOthersCouldReadIsClosedWithTheNextWrite) {
    write(file, "{\"a\":\"one\"}");
    setMode(file, 0666);
    setMode(folder, 0755);
    opened().set("two", u"b"_qs);
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(folder), 0755U);
}

TEST_F(FileUserDefaultsTest, NothingElseIsLeftInTheFolder) {
    opened().set("one", u"a"_qs);
    opened().set("two", u"b"_qs);
    opened().removeObject(u"a"_qs);
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
    opened().removeObject(u"b"_qs);
    EXPECT_EQ(content(file), "{}\n");
}

TEST_F(FileUserDefaultsTest, AWriteReplacesTheFileAndNeverChangesItInPlace) {
    opened().set("one", u"a"_qs);
    QFile before(file);
    ASSERT_TRUE(before.open(QIODevice::ReadOnly));
    opened().set("two", u"a"_qs);
    EXPECT_EQ(before.readAll(), "{\n  \"a\": \"one\"\n}\n");
}

TEST_F(FileUserDefaultsTest, RemovingWhatIsNotThereWritesNothing) {
    opened().set("one", u"a"_qs);
    const test::FileSizeLimit limit(0);
    EXPECT_NO_THROW(opened().removeObject(u"b"_qs));
}

TEST_F(FileUserDefaultsTest, SuitesStandApart) {
    FileUserDefaults testing(folder, FileUserDefaults::testingSuite);
    testing.set("tested", u"a"_qs);
    EXPECT_EQ(stored(), std::nullopt);
    opened().set("one", u"a"_qs);
    EXPECT_EQ(testing.data(u"a"_qs), "tested");
    EXPECT_EQ(everythingIn(folder),
              (QStringList{u"com.marnoth.Lumivane.Testing.json"_qs, u"settings.json"_qs}));
    write(inFolder(temporaryName(u"settings"_qs)), "x");
    write(inFolder(u"settings.json.damaged"_qs), "x");
    testing.removePersistentDomain();
    EXPECT_EQ(testing.data(u"a"_qs), std::nullopt);
    EXPECT_EQ(stored(), "one");
    EXPECT_EQ(everythingIn(folder).size(), 3);
}

TEST_F(FileUserDefaultsTest, TemporaryFilesOfKilledProcessesGoWithTheNextWrite) {
    write(inFolder(temporaryName(u"settings"_qs)), "half");
    write(inFolder(u".settings.json-9.tmp"_qs), "");
    const QStringList others{temporaryName(FileUserDefaults::testingSuite), u".settings.json"_qs,
                             u".settings.json-9.tmp.txt"_qs, u"info.json"_qs};
    for (const QString& other : others) {
        write(inFolder(other), "mine");
    }
    EXPECT_EQ(stored(), std::nullopt);
    opened().set("one", u"a"_qs);
    QStringList expected = others + QStringList{u"settings.json"_qs};
    expected.sort();
    QStringList found = everythingIn(folder);
    found.sort();
    EXPECT_EQ(found, expected);
}

TEST_F(FileUserDefaultsTest, TheDomainGoesWithAllThatWasKeptBesideIt) {
    opened().set("one", u"a"_qs);
    for (const char* name : {"settings.json.damaged", "settings.json.damaged-2",
                             "settings.json.damaged-5", ".settings.json-9.tmp"}) {
        write(inFolder(QString::fromLatin1(name)), "x");
    }
    write(inFolder(u"settings.json.mine"_qs), "x");
    write(inFolder(u"info.json"_qs), "x");
    opened().removePersistentDomain();
    EXPECT_EQ(everythingIn(folder), (QStringList{u"info.json"_qs, u"settings.json.mine"_qs}));
}

TEST_F(FileUserDefaultsTest, AFolderWithSomethingInItIsNotTheirsToRemove) {
    write(inFolder(u"settings.json/letter.txt"_qs), "mine");
    ASSERT_TRUE(QDir().mkpath(inFolder(u"settings.json.damaged"_qs)));
    opened().removePersistentDomain();
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
    EXPECT_EQ(content(inFolder(u"settings.json/letter.txt"_qs)), "mine");
}

TEST_F(FileUserDefaultsTest, ALinkStaysAndItsFileIsReplaced) {
    const QString target = linkTo(place.filePath(u"dotfiles/lumivane.json"_qs));
    write(target, "{\"a\":\"one\"}");
    write(place.filePath(u"dotfiles/.lumivane.json-1.tmp"_qs), "half");
    EXPECT_EQ(stored(), "one");
    opened().set("two", u"b"_qs);
    EXPECT_EQ(QFile::symLinkTarget(file), target);
    EXPECT_EQ(content(target), "{\n  \"a\": \"one\",\n  \"b\": \"two\"\n}\n");
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
    EXPECT_EQ(everythingIn(place.filePath(u"dotfiles"_qs)), QStringList{u"lumivane.json"_qs});
}

TEST_F(FileUserDefaultsTest, LinksAreFollowedToTheirEndAlsoRelativeOnes) {
    ASSERT_TRUE(QDir().mkpath(place.filePath(u"dotfiles/real"_qs)));
    ASSERT_TRUE(QFile::link(u"real/end.json"_qs, place.filePath(u"dotfiles/middle.json"_qs)));
    linkTo(u"../../dotfiles/middle.json"_qs);
    EXPECT_EQ(stored(), std::nullopt);
    opened().set("one", u"a"_qs);
    EXPECT_EQ(stored(), "one");
    EXPECT_EQ(everythingIn(place.filePath(u"dotfiles/real"_qs)), QStringList{u"end.json"_qs});
    EXPECT_TRUE(QFileInfo(file).isSymLink());
    EXPECT_TRUE(QFileInfo(place.filePath(u"dotfiles/middle.json"_qs)).isSymLink());
}

TEST_F(FileUserDefaultsTest, ALinkIntoAFolderThatIsNotThereRefuses) {
    linkTo(place.filePath(u"unplugged/settings.json"_qs));
    EXPECT_EQ(failure([this] { opened().set("one", u"a"_qs); }),
              std::errc::no_such_file_or_directory);
    EXPECT_FALSE(QFileInfo::exists(place.filePath(u"unplugged"_qs)));
    EXPECT_TRUE(QFileInfo(file).isSymLink());
}

TEST_F(FileUserDefaultsTest, TheDomainGoesFromBothEndsOfALink) {
    const QString target = linkTo(place.filePath(u"dotfiles/lumivane.json"_qs));
    write(target, "{}");
    write(place.filePath(u"dotfiles/lumivane.json.damaged"_qs), "x");
    write(place.filePath(u"dotfiles/readme"_qs), "x");
    write(inFolder(u"settings.json.damaged"_qs), "x");
    opened().removePersistentDomain();
    EXPECT_TRUE(everythingIn(folder).isEmpty());
    EXPECT_EQ(everythingIn(place.filePath(u"dotfiles"_qs)), QStringList{u"readme"_qs});
}

TEST_F(FileUserDefaultsTest, AFullDiskLeavesTheOldFileAndNothingElse) {
    opened().set("one", u"a"_qs);
    const QByteArray before = content(file);
    {
        const test::FileSizeLimit limit(20);
        EXPECT_EQ(failure([this] { opened().set(QByteArray(100, 'x'), u"a"_qs); }),
                  std::errc::file_too_large);
    }
    EXPECT_EQ(content(file), before);
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

TEST_F(FileUserDefaultsTest, AFolderThatMayNotBeWrittenRefusesAndTheFileStays) {
    write(file, "{\"a\":\"one\"}");
    setMode(place.path(), 0755);
    setMode(file, 0644);
    setMode(folder, 0555);
    asCommonUser([this] {
        EXPECT_EQ(stored(), "one");
        EXPECT_EQ(failure([this] { opened().set("two", u"a"_qs); }), std::errc::permission_denied);
        EXPECT_EQ(failure([this] { opened().removeObject(u"a"_qs); }),
                  std::errc::permission_denied);
        EXPECT_EQ(failure([this] { opened().removePersistentDomain(); }),
                  std::errc::permission_denied);
    });
    setMode(folder, 0755);
    EXPECT_EQ(content(file), "{\"a\":\"one\"}");
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

TEST_F(FileUserDefaultsTest, AFileThatMayNotBeReadIsKeptAside) {
    write(file, "{\"a\":\"one\"}");
    setMode(place.path(), 0755);
    setMode(file, 0000);
    setMode(folder, 0777);
    asCommonUser([this] {
        EXPECT_EQ(stored(), std::nullopt);
        opened().set("two", u"b"_qs);
        EXPECT_EQ(stored(u"b"_qs), "two");
        EXPECT_EQ(stored(), std::nullopt);
    });
    setMode(inFolder(u"settings.json.damaged"_qs), 0600);
    EXPECT_EQ(content(inFolder(u"settings.json.damaged"_qs)), "{\"a\":\"one\"}");
}

TEST_F(FileUserDefaultsTest, AFileWhereTheFolderShouldBeRefusesAndStays) {
    write(place.filePath(u"config"_qs), "mine");
    EXPECT_EQ(stored(), std::nullopt);
    EXPECT_EQ(failure([this] { opened().set("one", u"a"_qs); }), std::errc::not_a_directory);
    EXPECT_EQ(failure([this] { opened().removeObject(u"a"_qs); }), std::error_code());
    EXPECT_EQ(failure([this] { opened().removePersistentDomain(); }), std::error_code());
    EXPECT_EQ(content(place.filePath(u"config"_qs)), "mine");
}

TEST_F(FileUserDefaultsTest, ANameThatIsTooLongRefuses) {
    FileUserDefaults defaults(folder, QString(300, u's'));
    EXPECT_EQ(defaults.data(u"a"_qs), std::nullopt);
    EXPECT_EQ(failure([&defaults] { defaults.set("one", u"a"_qs); }), std::errc::filename_too_long);
}

TEST_F(FileUserDefaultsTest, WhatCouldNotBeReadBackIsNotWritten) {
    opened().set("one", u"a"_qs);
    EXPECT_EQ(failure([this] { opened().set(QByteArray(1024 * 1024, 'x'), u"b"_qs); }),
              std::errc::file_too_large);
    EXPECT_EQ(stored(), "one");
    opened().set(QByteArray(1024 * 1024 - 100, 'x'), u"b"_qs);
    EXPECT_EQ(stored(u"b"_qs)->size(), 1024 * 1024 - 100);
    EXPECT_EQ(stored(), "one");
}

TEST_F(FileUserDefaultsTest, AHungHolderOfTheLockDoesNotHoldUpAWrite) {
    ASSERT_TRUE(QDir().mkpath(folder));
    const int held = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    // The holder's own temporary file is none that nobody needs any more.
    write(inFolder(temporaryName(u"settings"_qs)), "half");
    opened().set("one", u"a"_qs);
    EXPECT_EQ(stored(), "one");
    EXPECT_TRUE(QFileInfo::exists(inFolder(temporaryName(u"settings"_qs))));
    ::close(held);
}

TEST_F(FileUserDefaultsTest, ManyWritersLoseNoneOfEachOthersKeys) {
    constexpr int writers = 4;
    constexpr int writes = 20;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([this, writer] {
            FileUserDefaults defaults = opened();
            for (int number = 1; number <= writes; ++number) {
                defaults.set(QByteArray::number(number), QString::number(writer));
                ASSERT_EQ(defaults.data(QString::number(writer)), QByteArray::number(number));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int writer = 0; writer < writers; ++writer) {
        EXPECT_EQ(stored(QString::number(writer)), QByteArray::number(writes));
    }
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

} // namespace lumivane
