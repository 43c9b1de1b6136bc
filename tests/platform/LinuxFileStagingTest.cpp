#include "platform/linux/LinuxFileStaging.h"

#include "support/CommonUser.h"
#include "support/FileSizeLimit.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <functional>
#include <system_error>
#include <thread>
#include <vector>

namespace lumivane {

namespace {

/// On a thread of its own, for what would change the test's own thread for good.
void onThread(const std::function<void()>& work) { std::thread(work).join(); }

/// The calling thread's file systems know no renaming without replacing from now on.
void forbidRenamingWithoutReplacing() {
    constexpr std::uint32_t noReplace = 1;
    std::array filter{
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_renameat2, 0, 3),
        sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[4])),
        sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, noReplace, 0, 1),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EINVAL),
        sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    ASSERT_EQ(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), 0);
    ASSERT_EQ(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program), 0);
}

} // namespace

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

TEST_F(LinuxFileStagingTest, AFailureInTheMiddleTakesTheFirstNamesBack) {
    const auto files = stage({"x", "y"});
    EXPECT_THROW((void)files->publish({u"a"_qs, QString(300, u'b')}), std::system_error);
    EXPECT_TRUE(QDir(folder).entryList(QDir::Files).isEmpty());
    EXPECT_TRUE(files->publish({u"a"_qs, u"b"_qs}));
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

TEST_F(LinuxFileStagingTest, WithoutThatKindOfRenamingNothingIsReplacedEither) {
    bool isFirstPublished = false;
    bool isSecondPublished = true;
    QStringList afterSecond;
    bool isThirdPublished = false;
    onThread([&] {
        forbidRenamingWithoutReplacing();
        isFirstPublished = stage({"first"})->publish({u"b"_qs});
        const auto files = stage({"one", "two"});
        isSecondPublished = files->publish({u"a"_qs, u"b"_qs});
        afterSecond = QDir(folder).entryList(QDir::Files);
        isThirdPublished = files->publish({u"a"_qs, u"c"_qs});
    });
    EXPECT_TRUE(isFirstPublished);
    EXPECT_FALSE(isSecondPublished);
    EXPECT_EQ(afterSecond, QStringList{u"b"_qs});
    EXPECT_TRUE(isThirdPublished);
    EXPECT_EQ(everythingIn(folder), (QStringList{u"a"_qs, u"b"_qs, u"c"_qs}));
}

} // namespace lumivane
