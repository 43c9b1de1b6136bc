#include "SettingsFolder.h"
#include "SystemCallFaults.h"
#include "platform/linux/FileUserDefaults.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <utility>

namespace lumivane {

class FileUserDefaultsFaultsTest : public test::SettingsFolder {
protected:
    ~FileUserDefaultsFaultsTest() override { release(); }

    /// As another process that writes, or that hangs while it does.
    void hold() {
        ASSERT_TRUE(QDir().mkpath(folder));
        m_held = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        ASSERT_EQ(::flock(m_held, LOCK_EX), 0);
    }

    void release() {
        if (m_held >= 0) {
            ::close(std::exchange(m_held, -1));
        }
    }

    /// The folder looks changed at another time than ever before.
    void changeFolder() {
        const timespec times[]{{0, UTIME_OMIT}, {++m_changes, 0}};
        ASSERT_EQ(::futimens(m_held, times), 0);
    }

private:
    int m_held = -1;
    time_t m_changes = 0;
};

// A disk that cannot make a name permanent

TEST_F(FileUserDefaultsFaultsTest, AFolderThatCannotBeMadePermanentIsNoFailureOfTheWrite) {
    opened().set("one", u"a"_qs);
    test::SystemCallFaults faults;
    faults.failsFolders = true;
    EXPECT_EQ(failure([this] { opened().set("two", u"a"_qs); }), std::error_code());
    EXPECT_EQ(faults.foldersSynchronised, 1) << "the disk was never asked";
    EXPECT_EQ(stored(), "two");
    EXPECT_EQ(failure([this] { opened().removeObject(u"a"_qs); }), std::error_code());
    EXPECT_EQ(faults.foldersSynchronised, 2);
    EXPECT_EQ(stored(), std::nullopt);
    EXPECT_EQ(everythingIn(folder), QStringList{u"settings.json"_qs});
}

TEST_F(FileUserDefaultsFaultsTest, ARemovalThatMayNotLastIsAFailure) {
    opened().set("one", u"a"_qs);
    test::SystemCallFaults faults;
    faults.failsFolders = true;
    EXPECT_EQ(failure([this] { opened().removePersistentDomain(); }), std::errc::io_error);
    EXPECT_EQ(stored(), std::nullopt);
}

TEST_F(FileUserDefaultsFaultsTest, AFolderOfItsOwnThatMayNotLastRefusesBeforeAnythingIsWritten) {
    test::SystemCallFaults faults;
    faults.failsFolders = true;
    EXPECT_EQ(failure([this] { opened().set("one", u"a"_qs); }), std::errc::io_error);
    EXPECT_EQ(stored(), std::nullopt);
    faults.failsFolders = false;
    opened().set("two", u"a"_qs);
    EXPECT_EQ(stored(), "two");
}

// Another process that holds the lock

TEST_F(FileUserDefaultsFaultsTest, AHungHolderOfTheLockHoldsUpAWriteForABoundedNumberOfTries) {
    hold();
    test::SystemCallFaults faults;
    opened().set("one", u"a"_qs);
    EXPECT_EQ(faults.locksTried, 250);
    EXPECT_EQ(stored(), "one");
}

TEST_F(FileUserDefaultsFaultsTest, AHungHolderHoldsUpARemovalNoLonger) {
    opened().set("one", u"a"_qs);
    hold();
    test::SystemCallFaults faults;
    opened().removePersistentDomain();
    EXPECT_EQ(faults.locksTried, 250);
    EXPECT_TRUE(everythingIn(folder).isEmpty());
}

TEST_F(FileUserDefaultsFaultsTest, AHolderAtWorkIsWaitedFor) {
    hold();
    test::SystemCallFaults faults;
    faults.onLock = [this, &faults] {
        if (faults.locksTried == 600) {
            write(file, R"({"b":"theirs"})");
            release();
        } else if (faults.locksTried % 200 == 0) {
            changeFolder();
        }
    };
    opened().set("one", u"a"_qs);
    EXPECT_EQ(faults.locksTried, 600);
    EXPECT_EQ(stored(), "one");
    EXPECT_EQ(stored(u"b"_qs), "theirs");
}

TEST_F(FileUserDefaultsFaultsTest, EvenAHolderAtWorkIsNotWaitedForWithoutEnd) {
    hold();
    test::SystemCallFaults faults;
    faults.onLock = [this] { changeFolder(); };
    opened().set("one", u"a"_qs);
    EXPECT_EQ(faults.locksTried, 1000);
    EXPECT_EQ(stored(), "one");
}

} // namespace lumivane
