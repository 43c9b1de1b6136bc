// Staging on file systems that cannot do all, and by processes that do not come to their end.

#include "LackingFileSystem.h"
#include "platform/linux/LinuxFileStaging.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>
#include <thread>

namespace lumivane {

using test::FileSystemLack;

namespace {

using Lacks = std::set<FileSystemLack>;

constexpr auto ownHiddenName = ".lumivane-3a1e0c5e-7a70-4a3f-9d53-0a7f0c6b2f11.tmp";

/// As written so many seconds before it really was.
void makeOld(const QString& path, time_t seconds) {
    const QByteArray name = QFile::encodeName(path);

    struct stat status {};

    ASSERT_EQ(::lstat(name.constData(), &status), 0);
    const timespec moment{status.st_mtim.tv_sec - seconds, 0};
    const std::array times{moment, moment};
    ASSERT_EQ(::utimensat(AT_FDCWD, name.constData(), times.data(), AT_SYMLINK_NOFOLLOW), 0);
}

} // namespace

class LinuxFileStagingLacks : public testing::Test {
protected:
    std::unique_ptr<StagedFiles> stage(const std::vector<QByteArray>& contents) {
        return staging.stage(folder, contents, std::stop_token());
    }

    /// Stages in a process that is killed before it publishes.
    void stageAndDie(const Lacks& lacks) {
        const pid_t process = ::fork();
        ASSERT_GE(process, 0);
        if (process == 0) {
            test::takeFromFileSystems(lacks);
            const auto files = stage({"the whole answer", "and its page"});
            ::kill(::getpid(), SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(process, &status, 0), process);
        ASSERT_TRUE(WIFSIGNALED(status));
    }

    QStringList everything() const {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                      QDir::NoDotAndDotDot);
    }

    QByteArray content(const QString& name) const {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll();
    }

    QString path(const QString& name) const { return QDir(folder).filePath(name); }

    void put(const QString& name) const {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("mine");
    }

    QTemporaryDir place;
    QString folder = place.filePath(u"Notes"_qs);
    LinuxFileStaging staging;
};

TEST_F(LinuxFileStagingLacks, AProcessThatIsKilledWhileItStagesLeavesNothing) {
    stageAndDie({});
    EXPECT_TRUE(QFileInfo(folder).isDir());
    EXPECT_EQ(everything(), QStringList());
}

TEST_F(LinuxFileStagingLacks, WhatAKilledProcessHadToLeaveGoesAnHourLater) {
    stageAndDie({FileSystemLack::unnamedFiles});
    const QStringList left = everything();
    ASSERT_EQ(left.size(), 2);
    makeOld(path(left.at(0)), 3590);
    makeOld(path(left.at(1)), 3600);
    stage({"x"}).reset();
    EXPECT_EQ(everything(), QStringList{left.at(0)});
    makeOld(path(left.at(0)), 86400);
    EXPECT_TRUE(stage({"x"})->publish({u"a"_qs}));
    EXPECT_EQ(everything(), QStringList{u"a"_qs});
}

TEST_F(LinuxFileStagingLacks, NothingOfSomebodyElseIsSweptUp) {
    ASSERT_TRUE(QDir().mkpath(folder));
    QStringList kept{u".lumivane-.tmp"_qs,
                     u".lumivane-notes.tmp"_qs,
                     u".lumivane.tmp"_qs,
                     u"old.tmp"_qs,
                     QString::fromLatin1(ownHiddenName).chopped(4),
                     QString::fromLatin1(ownHiddenName).mid(1)};
    for (const QString& name : kept) {
        put(name);
        makeOld(path(name), 86400);
    }
    const QString another = u".lumivane-3a1e0c5e-7a70-4a3f-9d53-0a7f0c6b2f%1.tmp"_qs;
    ASSERT_TRUE(QDir(folder).mkdir(another.arg(12)));
    ASSERT_TRUE(QFile::link(path(u"old.tmp"_qs), path(another.arg(13))));
    kept += {another.arg(12), another.arg(13)};
    makeOld(path(another.arg(12)), 86400);
    makeOld(path(another.arg(13)), 86400);
    put(QString::fromLatin1(ownHiddenName));
    makeOld(path(QString::fromLatin1(ownHiddenName)), 86400);
    stage({"x"}).reset();
    kept.sort();
    QStringList found = everything();
    found.sort();
    EXPECT_EQ(found, kept);
}

class LinuxFileStagingLack : public LinuxFileStagingLacks,
                             public testing::WithParamInterface<Lacks> {
protected:
    /// On a thread of its own, which lacks them for good.
    static void lacking(const std::function<void()>& work) {
        std::thread([&] {
            test::takeFromFileSystems(GetParam());
            work();
        }).join();
    }
};

TEST_P(LinuxFileStagingLack, NothingIsReplacedAndNothingIsLeft) {
    bool isFirstPublished = false;
    bool isSecondPublished = true;
    QStringList afterSecond;
    bool isThirdPublished = false;
    lacking([&] {
        isFirstPublished = stage({"first"})->publish({u"b"_qs});
        const auto files = stage({"one", "two"});
        isSecondPublished = files->publish({u"a"_qs, u"b"_qs});
        afterSecond = QDir(folder).entryList(QDir::Files);
        isThirdPublished = files->publish({u"a"_qs, u"c"_qs});
        stage({"three"}).reset();
    });
    EXPECT_TRUE(isFirstPublished);
    EXPECT_FALSE(isSecondPublished);
    EXPECT_EQ(afterSecond, QStringList{u"b"_qs});
    EXPECT_TRUE(isThirdPublished);
    EXPECT_EQ(everything(), (QStringList{u"a"_qs, u"b"_qs, u"c"_qs}));
    EXPECT_EQ(content(u"a"_qs), "one");
    EXPECT_EQ(content(u"b"_qs), "first");
    EXPECT_EQ(content(u"c"_qs), "two");
}

TEST_P(LinuxFileStagingLack, OnlyTheUserReadsTheFiles) {
    lacking([&] { EXPECT_TRUE(stage({"x"})->publish({u"a"_qs})); });

    struct stat status {};

    ASSERT_EQ(::stat(QFile::encodeName(path(u"a"_qs)).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_P(LinuxFileStagingLack, AFailureInTheMiddleTakesTheFirstNamesBack) {
    lacking([&] {
        const auto files = stage({"x", "y"});
        EXPECT_THROW((void)files->publish({u"a"_qs, QString(300, u'b')}), std::system_error);
        EXPECT_TRUE(QDir(folder).entryList(QDir::Files).isEmpty());
        EXPECT_TRUE(files->publish({u"a"_qs, u"b"_qs}));
    });
    EXPECT_EQ(everything(), (QStringList{u"a"_qs, u"b"_qs}));
    EXPECT_EQ(content(u"b"_qs), "y");
}

INSTANTIATE_TEST_SUITE_P(
    All, LinuxFileStagingLack,
    testing::Values(Lacks{}, Lacks{FileSystemLack::unnamedFiles},
                    Lacks{FileSystemLack::namesForUnnamedFiles},
                    Lacks{FileSystemLack::renamingWithoutReplacing},
                    Lacks{FileSystemLack::unnamedFiles, FileSystemLack::renamingWithoutReplacing},
                    Lacks{FileSystemLack::unnamedFiles, FileSystemLack::renamingWithoutReplacing,
                          FileSystemLack::links}));

} // namespace lumivane
