#include "platform/linux/InstanceLock.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lumivane::test {

class InstanceLockTest : public testing::Test {
protected:
    using Outcome = InstanceLock::Outcome;

    InstanceLockTest() {
        for (const QString& folder : {runtime(), temporary()}) {
            ::mkdir(QFile::encodeName(folder).constData(), S_IRWXU);
        }
    }

    QString runtime() const { return m_folder.filePath(u"run"_qs); }

    QString temporary() const { return m_folder.filePath(u"tmp"_qs); }

    QString ownFolder() const {
        return temporary() + u"/lumivane-"_qs + QString::number(::geteuid());
    }

    InstancePlace place() const { return {runtime(), temporary(), u"display :0"_qs}; }

    QString lockIn(const QString& folder) const {
        return folder + u"/lumivane-"_qs + place().name() + u".lock"_qs;
    }

    static mode_t modeOf(const QString& path) {
        struct stat facts {};

        ::lstat(QFile::encodeName(path).constData(), &facts);
        return facts.st_mode;
    }

    QTemporaryDir m_folder;
};

TEST_F(InstanceLockTest, OneHolderAtATime) {
    InstanceLock first(place());
    InstanceLock second(place());
    EXPECT_EQ(first.take(), Outcome::ours);
    EXPECT_EQ(first.take(), Outcome::ours);
    EXPECT_EQ(second.take(), Outcome::taken);
    EXPECT_FALSE(second.isOurs());
    first.drop();
    EXPECT_EQ(second.take(), Outcome::ours);
    EXPECT_EQ(first.take(), Outcome::taken);
}

TEST_F(InstanceLockTest, SessionsDoNotMeet) {
    InstanceLock first(place());
    InstanceLock second({runtime(), temporary(), u"display :1"_qs});
    EXPECT_EQ(first.take(), Outcome::ours);
    EXPECT_EQ(second.take(), Outcome::ours);
}

TEST_F(InstanceLockTest, TheFileIsItsOwnersAloneAndKeptFromCleaners) {
    InstanceLock lock(place());
    ASSERT_EQ(lock.take(), Outcome::ours);
    EXPECT_EQ(modeOf(lockIn(runtime())), mode_t(S_IFREG | S_ISVTX | S_IRUSR | S_IWUSR));
    EXPECT_NE(::fcntl(lock.descriptor(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(InstanceLockTest, AFileThatWasCleanedAwayDoesNotCount) {
    InstanceLock first(place());
    ASSERT_EQ(first.take(), Outcome::ours);
    QFile::remove(lockIn(runtime()));
    InstanceLock second(place());
    InstanceLock third(place());
    EXPECT_EQ(second.take(), Outcome::ours);
    EXPECT_EQ(third.take(), Outcome::taken);
}

TEST_F(InstanceLockTest, WithoutARuntimeFolderAPrivateOneIsMade) {
    for (const QString& none : {QString(), u"relative"_qs, m_folder.filePath(u"missing"_qs)}) {
        InstanceLock lock({none, temporary(), u"display :0"_qs});
        EXPECT_EQ(lock.take(), Outcome::ours) << none.toStdString();
        EXPECT_EQ(modeOf(ownFolder()), mode_t(S_IFDIR | S_IRWXU));
        EXPECT_TRUE(QFile::exists(lockIn(ownFolder())));
    }
}

TEST_F(InstanceLockTest, AFolderWhereOthersWriteIsNotUsed) {
    for (const mode_t mode : {mode_t(0720), mode_t(0702), mode_t(01777)}) {
        ::chmod(QFile::encodeName(runtime()).constData(), mode);
        InstanceLock lock(place());
        EXPECT_EQ(lock.take(), Outcome::ours);
        EXPECT_FALSE(QFile::exists(lockIn(runtime())));
        EXPECT_TRUE(QFile::exists(lockIn(ownFolder())));
    }
}

TEST_F(InstanceLockTest, LinksAreNotFollowed) {
    const QString elsewhere = m_folder.filePath(u"elsewhere"_qs);
    ASSERT_TRUE(QDir().mkdir(elsewhere));
    ASSERT_TRUE(QDir().rmdir(runtime()));
    ASSERT_TRUE(QFile::link(elsewhere, runtime()));
    ASSERT_TRUE(QFile::link(elsewhere, ownFolder()));
    InstanceLock lock(place());
    EXPECT_EQ(lock.take(), Outcome::unavailable);
    EXPECT_TRUE(QDir(elsewhere).isEmpty());
}

TEST_F(InstanceLockTest, ALockFileThatIsALinkOrAFolderIsNotUsed) {
    const QString victim = m_folder.filePath(u"victim"_qs);
    ASSERT_TRUE(QFile::link(victim, lockIn(runtime())));
    ASSERT_TRUE(QDir().mkpath(lockIn(ownFolder())));
    ::chmod(QFile::encodeName(ownFolder()).constData(), S_IRWXU);
    InstanceLock lock(place());
    EXPECT_EQ(lock.take(), Outcome::unavailable);
    EXPECT_FALSE(QFile::exists(victim));
    EXPECT_EQ(lock.folder(), -1);
}

TEST_F(InstanceLockTest, ASharedLockIsFreeOnlyWhenBothHaveLetGo) {
    InstanceLock first(place());
    ASSERT_EQ(first.take(), Outcome::ours);
    InstanceLock second(place());
    ASSERT_TRUE(second.adopt(OwnedDescriptor(::fcntl(first.descriptor(), F_DUPFD_CLOEXEC, 0))));
    InstanceLock third(place());
    EXPECT_EQ(third.take(), Outcome::taken);
    first.drop();
    EXPECT_EQ(third.take(), Outcome::taken);
    second.drop();
    EXPECT_EQ(third.take(), Outcome::ours);
}

TEST_F(InstanceLockTest, ASharedLockInThePrivateFolderIsFoundToo) {
    const InstancePlace without{{}, temporary(), u"display :0"_qs};
    InstanceLock first(without);
    ASSERT_EQ(first.take(), Outcome::ours);
    InstanceLock second(place());
    EXPECT_TRUE(second.adopt(OwnedDescriptor(::fcntl(first.descriptor(), F_DUPFD_CLOEXEC, 0))));
}

TEST_F(InstanceLockTest, OnlyTheSessionsOwnLockIsAdopted) {
    InstanceLock other({runtime(), temporary(), u"display :1"_qs});
    ASSERT_EQ(other.take(), Outcome::ours);
    InstanceLock lock(place());
    EXPECT_FALSE(lock.adopt(OwnedDescriptor(::fcntl(other.descriptor(), F_DUPFD_CLOEXEC, 0))));
    EXPECT_FALSE(lock.adopt(OwnedDescriptor(::open("/dev/null", O_RDWR | O_CLOEXEC))));
    EXPECT_FALSE(lock.adopt(OwnedDescriptor()));
    EXPECT_FALSE(lock.isOurs());
    // The right file, opened anew: its lock is somebody else's.
    InstanceLock holder(place());
    ASSERT_EQ(holder.take(), Outcome::ours);
    const QByteArray path = QFile::encodeName(lockIn(runtime()));
    EXPECT_FALSE(lock.adopt(OwnedDescriptor(::open(path.constData(), O_RDWR | O_CLOEXEC))));
}

} // namespace lumivane::test
