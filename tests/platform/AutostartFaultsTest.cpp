// What the system makes of registering and unregistering: places and permissions.

#include "AutostartFixture.h"
#include "analysis/LaunchAtLoginService.h"
#include "support/CommonUser.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <system_error>

namespace lumivane {

namespace {

/// Lets no file of this process grow beyond nothing, as on a disk that is full.
class FullDisk {
public:
    FullDisk() {
        ::getrlimit(RLIMIT_FSIZE, &m_limit);
        m_handler = ::signal(SIGXFSZ, SIG_IGN);
        const rlimit none{0, m_limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }

    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_limit);
        ::signal(SIGXFSZ, m_handler);
    }

    Q_DISABLE_COPY_MOVE(FullDisk)

private:
    rlimit m_limit{};
    sighandler_t m_handler;
};

/// What the work fails with.
template <typename Work>
std::error_code failure(const Work& work) {
    try {
        work();
    } catch (const std::system_error& error) {
        return error.code();
    }
    return {};
}

std::error_code refusal(AutostartLoginItem& item) {
    return failure([&item] { item.registerItem(); });
}

std::error_code code(std::errc error) { return std::make_error_code(error); }

} // namespace

class AutostartFaultsTest : public AutostartFixture {
protected:
    static void setMode(const QString& path, mode_t mode) {
        ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), mode), 0);
    }

    /// Whoever the test works as may do everything here.
    void openToAll() const {
        for (const QString& name : {place.path(), folder(), folder() + u"/autostart"_qs,
                                    QFileInfo(program).path(), program}) {
            setMode(name, 0777);
        }
    }
};

TEST_F(AutostartFaultsTest, AProgramThatIsNotThereCannotBeRegistered) {
    QFile::setPermissions(program, QFile::ReadOwner);
    EXPECT_EQ(refusal(item), code(std::errc::no_such_file_or_directory));
    auto missing = itemFor(place.filePath(u"nothing"_qs));
    EXPECT_EQ(refusal(missing), code(std::errc::no_such_file_or_directory));
    auto relative = itemFor(u"lumivane"_qs);
    EXPECT_EQ(refusal(relative), code(std::errc::no_such_file_or_directory));
    EXPECT_FALSE(QFile::exists(folder()));
}

TEST_F(AutostartFaultsTest, AFolderInItsPlaceIsNotOursToTouch) {
    QDir().mkpath(path() + u"/kept"_qs);
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    item.unregisterItem();
    EXPECT_EQ(refusal(item), code(std::errc::is_a_directory));
    EXPECT_TRUE(QDir(path() + u"/kept"_qs).exists());
}

TEST_F(AutostartFaultsTest, AFileWhereTheFolderShouldBeIsAnErrorOfTheSystem) {
    QFile file(folder());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    EXPECT_NO_THROW(item.unregisterItem());
    EXPECT_EQ(refusal(item), code(std::errc::not_a_directory));
}

TEST_F(AutostartFaultsTest, AFolderThatCannotBeMadeIsAnErrorOfTheSystem) {
    AutostartLoginItem impossible(place.filePath(QString(300, u'x')), program, {});
    EXPECT_EQ(refusal(impossible), code(std::errc::filename_too_long));
}

TEST_F(AutostartFaultsTest, AFullDiskLeavesTheOldEntryWholeAndNothingBesideIt) {
    write("[Desktop Entry]\nHidden=true\n");
    {
        const FullDisk disk;
        EXPECT_TRUE(refusal(item));
    }
    EXPECT_EQ(written(), "[Desktop Entry]\nHidden=true\n");
    EXPECT_EQ(QDir(folder() + u"/autostart"_qs).entryList(QDir::Files | QDir::Hidden).size(), 1);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

TEST_F(AutostartFaultsTest, AFolderThatMayNotBeWrittenRefusesBothAndTheEntryStays) {
    write("[Desktop Entry]\nHidden=true\n");
    openToAll();
    setMode(folder() + u"/autostart"_qs, 0555);
    test::asCommonUser([this] {
        LaunchAtLoginService service(item);
        const auto refused = code(std::errc::permission_denied);
        EXPECT_EQ(refusal(item), refused);
        EXPECT_EQ(failure([this] { item.unregisterItem(); }), refused);
        EXPECT_EQ(failure([&service] { service.setEnabled(true); }), refused);
        EXPECT_EQ(failure([&service] { service.setEnabled(false); }), refused);
        EXPECT_EQ(item.status(), LoginItemStatus::requiresApproval);
    });
    setMode(folder() + u"/autostart"_qs, 0755);
    EXPECT_EQ(written(), "[Desktop Entry]\nHidden=true\n");
    EXPECT_EQ(QDir(folder() + u"/autostart"_qs).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST_F(AutostartFaultsTest, AnEntryThatMayNotBeReadIsOutdatedAndCanBeRemoved) {
    item.registerItem();
    openToAll();
    setMode(path(), 0);
    test::asCommonUser([this] {
        EXPECT_EQ(item.status(), LoginItemStatus::outdated);
        LaunchAtLoginService(item).setEnabled(false);
        EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    });
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(AutostartFaultsTest, ALinkToAFileIsWrittenThrough) {
    const QString kept = place.filePath(u"dotfiles.desktop"_qs);
    write("");
    ASSERT_TRUE(QFile::rename(path(), kept));
    ASSERT_TRUE(QFile::link(kept, path()));
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
    EXPECT_TRUE(QFileInfo(path()).isSymLink());
    EXPECT_GT(QFileInfo(kept).size(), 0);
    item.unregisterItem();
    EXPECT_FALSE(QFileInfo(path()).isSymLink());
    EXPECT_TRUE(QFile::exists(kept));
}

TEST_F(AutostartFaultsTest, APipeInItsPlaceIsNeverWaitedForAndReplaced) {
    const QString pipe = place.filePath(u"pipe"_qs);
    ASSERT_EQ(::mkfifo(qPrintable(pipe), 0600), 0);
    QDir().mkpath(folder() + u"/autostart"_qs);
    ASSERT_TRUE(QFile::link(pipe, path()));
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);

    struct stat facts {};

    ASSERT_EQ(::stat(qPrintable(pipe), &facts), 0);
    EXPECT_TRUE(S_ISFIFO(facts.st_mode));
}

TEST_F(AutostartFaultsTest, LinksInACircleAreReplaced) {
    QDir().mkpath(folder() + u"/autostart"_qs);
    ASSERT_TRUE(QFile::link(path(), path()));
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

} // namespace lumivane
