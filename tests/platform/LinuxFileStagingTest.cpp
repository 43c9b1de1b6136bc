#include "platform/linux/LinuxFileStaging.h"

#include "support/CommonUser.h"
#include "support/FileSizeLimit.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace lumivane {

class LinuxFileStagingTest : public testing::Test {
protected:
    std::unique_ptr<StagedFiles> stage(const std::vector<QByteArray>& contents,
                                       const QString& path = QString()) {
        return staging.stage(path.isEmpty() ? folder : path, contents, std::stop_token());
    }

    /// What staging into `path` fails with; success when it does not.
    std::error_code failure(const QString& path, const QByteArray& content = "x") {
        try {
            stage({content}, path);
        } catch (const std::system_error& error) {
            return error.code();
        }
        return {};
    }

    QStringList everythingIn(const QString& path) const {
        return QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                    QDir::NoDotAndDotDot);
    }

    QTemporaryDir place;
    QString folder = place.filePath(u"Documents/Notes"_qs);
    LinuxFileStaging staging;
};

TEST_F(LinuxFileStagingTest, MakesTheFolderAndItsParents) {
    EXPECT_TRUE(stage({"x"})->publish({u"a"_qs}));
    EXPECT_EQ(everythingIn(folder), QStringList{u"a"_qs});
}

TEST_F(LinuxFileStagingTest, OnlyTheUserReadsTheFiles) {
    EXPECT_TRUE(stage({"x"})->publish({u"a"_qs}));

    struct stat status {};

    ASSERT_EQ(::stat(QFile::encodeName(folder + u"/a"_qs).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(LinuxFileStagingTest, UnnamedFilesAreHidden) {
    const auto files = stage({"x"});
    EXPECT_TRUE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
}

TEST_F(LinuxFileStagingTest, AFileThatGrowsTooLargeLeavesNothing) {
    const test::FileSizeLimit limit(64 * 1024);
    EXPECT_EQ(failure(folder, QByteArray(64 * 1024, 'x')), std::error_code());
    EXPECT_EQ(failure(folder, QByteArray(64 * 1024 + 1, 'x')), std::errc::file_too_large);
    EXPECT_TRUE(everythingIn(folder).isEmpty());
}

TEST_F(LinuxFileStagingTest, ASecondFileThatDoesNotFitTakesTheFirstWithIt) {
    const test::FileSizeLimit limit(64 * 1024);
    try {
        stage({"x", QByteArray(64 * 1024 + 1, 'x')});
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::file_too_large);
    }
    EXPECT_EQ(everythingIn(folder), QStringList());
}

TEST_F(LinuxFileStagingTest, AFileWhereTheFolderShouldBeIsNoFolder) {
    QFile file(place.filePath(u"Documents"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("mine");
    file.close();
    EXPECT_EQ(failure(folder), std::errc::not_a_directory);
    EXPECT_EQ(failure(place.filePath(u"Documents"_qs)), std::errc::not_a_directory);
    EXPECT_EQ(QFileInfo(file).size(), 4);
}

TEST_F(LinuxFileStagingTest, AFolderThatMayNotBeWrittenRefuses) {
    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_EQ(::chmod(QFile::encodeName(place.path()).constData(), 0755), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(folder).constData(), 0555), 0);
    std::error_code inside;
    std::error_code below;
    test::asCommonUser([&] {
        inside = failure(folder);
        below = failure(folder + u"/more"_qs);
    });
    EXPECT_EQ(inside, std::errc::permission_denied);
    EXPECT_EQ(below, std::errc::permission_denied);
    ASSERT_EQ(::chmod(QFile::encodeName(folder).constData(), 0755), 0);
    EXPECT_TRUE(everythingIn(folder).isEmpty());
}

TEST_F(LinuxFileStagingTest, AParentThatMayBeWrittenButNotReadIsEnough) {
    const QByteArray parent = QFile::encodeName(place.path());
    ASSERT_EQ(::chmod(parent.constData(), 0333), 0);
    std::error_code error;
    test::asCommonUser([&] { error = failure(folder); });
    EXPECT_EQ(error, std::error_code());
    ASSERT_EQ(::chmod(parent.constData(), 0755), 0);
    EXPECT_TRUE(QFileInfo(folder).isDir());
}

TEST_F(LinuxFileStagingTest, AFolderBehindALinkIsUsed) {
    const QString elsewhere = place.filePath(u"elsewhere"_qs);
    ASSERT_TRUE(QDir().mkpath(elsewhere));
    ASSERT_TRUE(QDir().mkpath(place.filePath(u"Documents"_qs)));
    ASSERT_TRUE(QFile::link(elsewhere, folder));
    EXPECT_TRUE(stage({"x"})->publish({u"a"_qs}));
    EXPECT_EQ(everythingIn(elsewhere), QStringList{u"a"_qs});
}

TEST_F(LinuxFileStagingTest, ALinkToNowhereIsNoFolder) {
    ASSERT_TRUE(QDir().mkpath(place.filePath(u"Documents"_qs)));
    ASSERT_TRUE(QFile::link(place.filePath(u"nowhere"_qs), folder));
    EXPECT_NE(failure(folder), std::error_code());
    EXPECT_FALSE(QFileInfo::exists(place.filePath(u"nowhere"_qs)));
}

TEST_F(LinuxFileStagingTest, ANameHeldByALinkToNowhereIsTaken) {
    const auto files = stage({"x"});
    ASSERT_TRUE(QFile::link(place.filePath(u"nowhere"_qs), folder + u"/a"_qs));
    EXPECT_FALSE(files->publish({u"a"_qs}));
    EXPECT_FALSE(QFileInfo::exists(place.filePath(u"nowhere"_qs)));
}

TEST_F(LinuxFileStagingTest, AFolderThatGoesBeforeThePublishingIsAFailure) {
    const auto files = stage({"x"});
    ASSERT_TRUE(QDir(folder).removeRecursively());
    try {
        (void)files->publish({u"a"_qs});
        FAIL();
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    }
}

TEST_F(LinuxFileStagingTest, OfManyThatWantOneNameOneGetsIt) {
    std::atomic<int> winners = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([this, &winners] {
            LinuxFileStaging own;
            const auto files = own.stage(folder, {"x", "y"}, std::stop_token());
            winners += files->publish({u"a"_qs, u"b"_qs}) ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(winners, 1);
    EXPECT_EQ(everythingIn(folder), (QStringList{u"a"_qs, u"b"_qs}));
}

} // namespace lumivane
