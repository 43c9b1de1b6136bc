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

class AutostartLoginItemTest : public AutostartFixture {
protected:
    /// The status of an entry that is registered and then has this line more.
    LoginItemStatus statusWith(const QByteArray& line, const QStringList& desktops = {}) {
        auto added = itemFor(program, desktops);
        added.unregisterItem();
        added.registerItem();
        write(written() + line + '\n');
        return added.status();
    }

    LoginItemStatus statusOf(const QByteArray& bytes) {
        write(bytes);
        return item.status();
    }

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

    QByteArray startLine() const { return "Exec=" + program.toUtf8() + " --login-item\n"; }
};

TEST_F(AutostartLoginItemTest, WritesAnEntryThatStartsTheProgramAndSaysSo) {
    item.registerItem();
    EXPECT_EQ(item.path(), path());
    EXPECT_EQ(written(), "[Desktop Entry]\n"
                         "Type=Application\n"
                         "Name=Lumivane\n"
                         "Icon=com.marnoth.Lumivane\n" +
                             startLine());
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, MakesTheFoldersThatAreMissingForTheUserAlone) {
    AutostartLoginItem deep(place.filePath(u"a/b"_qs), program, {});
    EXPECT_EQ(deep.status(), LoginItemStatus::notRegistered);
    deep.unregisterItem();
    EXPECT_FALSE(QFile::exists(place.filePath(u"a"_qs)));
    deep.registerItem();
    EXPECT_EQ(deep.status(), LoginItemStatus::enabled);
    for (const QString& made : {u"a"_qs, u"a/b"_qs, u"a/b/autostart"_qs}) {
        struct stat facts {};

        ASSERT_EQ(::stat(qPrintable(place.filePath(made)), &facts), 0);
        EXPECT_EQ(facts.st_mode & 0777U, 0700U) << qPrintable(made);
    }
}

TEST_F(AutostartLoginItemTest, WhatIsNotThereIsNotRegisteredAndWhatIsDamagedIsOutdated) {
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    EXPECT_EQ(statusOf(""), LoginItemStatus::outdated);
    EXPECT_EQ(statusOf("[Desktop Entry]\n"), LoginItemStatus::outdated);
    EXPECT_EQ(statusOf("[Desktop Entry]\nType=Application\n" + startLine()),
              LoginItemStatus::enabled);
    EXPECT_EQ(statusOf("[Desktop Entry]\nType=Link\n" + startLine()), LoginItemStatus::outdated);
    EXPECT_EQ(statusOf("[Desktop Entry]\n" + startLine()), LoginItemStatus::outdated);
    EXPECT_EQ(statusOf("Type=Application\n" + startLine()), LoginItemStatus::outdated);
    EXPECT_EQ(statusOf("[Desktop Entry]\nType=Application\n" + startLine() + startLine()),
              LoginItemStatus::outdated);
    EXPECT_EQ(statusOf("[Desktop Entry]\nType=Application\nName=\xff\n" + startLine()),
              LoginItemStatus::outdated);
}

TEST_F(AutostartLoginItemTest, EveryCutOffEntryIsEitherWholeOrOutdated) {
    item.registerItem();
    const QByteArray whole = written();
    for (qsizetype size = 0; size < whole.size() - 1; ++size) {
        EXPECT_EQ(statusOf(whole.left(size)), LoginItemStatus::outdated) << size;
    }
    EXPECT_EQ(statusOf(whole.chopped(1)), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, AFileWithoutEndIsOutdatedAndReplaced) {
    item.registerItem();
    write(written() + '#' + QByteArray(100 * 1024, 'x') + '\n');
    EXPECT_EQ(item.status(), LoginItemStatus::outdated);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
    EXPECT_LT(written().size(), 1024);
}

TEST_F(AutostartLoginItemTest, AnotherCommandIsOutdatedAndGoesWhenStartAtLoginIsTurnedOff) {
    const QByteArray here = program.toUtf8();
    LaunchAtLoginService service(item);
    for (const QByteArray& command : std::initializer_list<QByteArray>{
             here, here + " --other", here + " --login-item --other",
             QByteArray("/usr/bin/true --login-item"), "env " + here + " --login-item",
             here + " --login-item %u", "\"" + here, QByteArray()}) {
        const QByteArray entry = "[Desktop Entry]\nType=Application\nExec=" + command + "\n";
        EXPECT_EQ(statusOf(entry), LoginItemStatus::outdated) << command.constData();
        EXPECT_FALSE(service.isEnabled()) << command.constData();
        service.setEnabled(false);
        EXPECT_FALSE(QFile::exists(path())) << command.constData();
        write(entry);
        service.setEnabled(true);
        EXPECT_TRUE(service.isEnabled()) << command.constData();
    }
    const QByteArray start = "[Desktop Entry]\nType=Application\nExec=";
    EXPECT_EQ(statusOf(start + '"' + here + "\"  \"--login-item\"\n"), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, AnEntryOfAnOlderPathIsOutdatedAndWrittenAnew) {
    const QString older = place.filePath(u"old/lumivane"_qs);
    addProgram(older);
    itemFor(older).registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::outdated);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
    EXPECT_FALSE(written().contains("old/"));
}

TEST_F(AutostartLoginItemTest, TurningOffRemovesTheEntryOfAnotherInstallation) {
    const QString other = place.filePath(u"other/lumivane"_qs);
    addProgram(other);
    auto others = itemFor(other);
    others.registerItem();
    LaunchAtLoginService(item).setEnabled(false);
    EXPECT_EQ(others.status(), LoginItemStatus::notRegistered);
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(AutostartLoginItemTest, AnEntryWhoseProgramIsGoneIsOutdated) {
    item.registerItem();
    QFile::remove(program);
    EXPECT_EQ(item.status(), LoginItemStatus::outdated);
    QDir().mkpath(program);
    EXPECT_EQ(item.status(), LoginItemStatus::outdated);
}

TEST_F(AutostartLoginItemTest, AProgramThatIsNotThereCannotBeRegistered) {
    QFile::setPermissions(program, QFile::ReadOwner);
    EXPECT_EQ(refusal(item), code(std::errc::no_such_file_or_directory));
    auto missing = itemFor(place.filePath(u"nothing"_qs));
    EXPECT_EQ(refusal(missing), code(std::errc::no_such_file_or_directory));
    auto relative = itemFor(u"lumivane"_qs);
    EXPECT_EQ(refusal(relative), code(std::errc::no_such_file_or_directory));
    EXPECT_FALSE(QFile::exists(folder()));
}

TEST_F(AutostartLoginItemTest, TheUsersOwnSwitchesAreHonoured) {
    EXPECT_EQ(statusWith("Hidden=true"), LoginItemStatus::requiresApproval);
    EXPECT_EQ(statusWith("Hidden=false"), LoginItemStatus::enabled);
    EXPECT_EQ(statusWith("X-GNOME-Autostart-enabled=false"), LoginItemStatus::requiresApproval);
    EXPECT_EQ(statusWith("X-GNOME-Autostart-enabled=true"), LoginItemStatus::enabled);
    EXPECT_EQ(statusWith("X-MATE-Autostart-enabled=false"), LoginItemStatus::requiresApproval);
    EXPECT_EQ(statusWith("[Desktop Action A]\nHidden=true"), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, AnEntryThatIsHiddenAndNothingElseIsTheUsersChoice) {
    EXPECT_EQ(statusOf("[Desktop Entry]\nHidden=true\n"), LoginItemStatus::requiresApproval);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, AnEntryForOtherDesktopsIsTurnedOffOnThisOne) {
    const QStringList here{u"ubuntu"_qs, u"GNOME"_qs};
    EXPECT_EQ(statusWith("OnlyShowIn=KDE;", here), LoginItemStatus::requiresApproval);
    EXPECT_EQ(statusWith("OnlyShowIn=KDE;GNOME;", here), LoginItemStatus::enabled);
    EXPECT_EQ(statusWith("NotShowIn=GNOME;", here), LoginItemStatus::requiresApproval);
    EXPECT_EQ(statusWith("NotShowIn=KDE;", here), LoginItemStatus::enabled);
    EXPECT_EQ(statusWith("OnlyShowIn=KDE;"), LoginItemStatus::requiresApproval);
    EXPECT_EQ(statusWith("NotShowIn=KDE;"), LoginItemStatus::enabled);
    EXPECT_EQ(statusWith("OnlyShowIn=ubuntu;\nNotShowIn=GNOME;", here), LoginItemStatus::enabled);
    EXPECT_EQ(statusWith("OnlyShowIn=;", {QString()}), LoginItemStatus::requiresApproval);
}

TEST_F(AutostartLoginItemTest, AProgramToTryThatIsMissingKeepsTheEntryFromStarting) {
    EXPECT_EQ(statusWith("TryExec=/nowhere/lumivane"), LoginItemStatus::outdated);
    EXPECT_EQ(statusWith("TryExec=" + program.toUtf8()), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, RegisteringTurnsOnWhateverTurnedItOff) {
    for (const QByteArray& line :
         {QByteArray("Hidden=true"), QByteArray("X-GNOME-Autostart-enabled=false"),
          QByteArray("OnlyShowIn=KDE;"), QByteArray("NotShowIn=XFCE;"),
          QByteArray("TryExec=/nowhere/lumivane"),
          QByteArray("Hidden=true\nX-MATE-Autostart-enabled=false\nNotShowIn=XFCE;KDE;")}) {
        auto here = itemFor(program, {u"XFCE"_qs});
        ASSERT_NE(statusWith(line, {u"XFCE"_qs}), LoginItemStatus::enabled) << line.constData();
        here.registerItem();
        EXPECT_EQ(here.status(), LoginItemStatus::enabled) << line.constData();
    }
    ASSERT_EQ(statusWith("OnlyShowIn=KDE;"), LoginItemStatus::requiresApproval);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, WhatTheUserAddedStaysWhenItIsWrittenAnew) {
    write("# mine\n"
          "[Desktop Entry]\n"
          "Name=My reader\n"
          "Name[de]=Mein Leser\n"
          "Type=Application\n"
          "Icon=mine\n"
          "Exec=/old/lumivane\n"
          "Hidden=true\n"
          "X-GNOME-Autostart-Delay=5\n"
          "DBusActivatable=true\n"
          "OnlyShowIn=KDE;\n"
          "NotShowIn=XFCE;LXDE;\n"
          "\n"
          "[Desktop Action Quiet]\n"
          "Exec=/old/lumivane --quiet\n");
    auto here = itemFor(program, {u"XFCE"_qs});
    here.registerItem();
    EXPECT_EQ(here.status(), LoginItemStatus::enabled);
    EXPECT_EQ(written(), "# mine\n"
                         "[Desktop Entry]\n"
                         "Name=My reader\n"
                         "Name[de]=Mein Leser\n"
                         "Type=Application\n"
                         "Icon=mine\n" +
                             startLine() +
                             "X-GNOME-Autostart-Delay=5\n"
                             "OnlyShowIn=KDE;XFCE;\n"
                             "NotShowIn=LXDE;\n"
                             "\n"
                             "[Desktop Action Quiet]\n"
                             "Exec=/old/lumivane --quiet\n");
}

TEST_F(AutostartLoginItemTest, ADamagedEntryIsReplacedWhole) {
    write("[Desktop Entry]\nName=mine\nNo key\n");
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
    EXPECT_FALSE(written().contains("mine"));
}

TEST_F(AutostartLoginItemTest, WritingItTwiceChangesNothing) {
    item.registerItem();
    const QByteArray once = written();
    item.registerItem();
    EXPECT_EQ(written(), once);
}

TEST_F(AutostartLoginItemTest, RemovesTheEntryWhateverItHolds) {
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("\xff"), QByteArray("[Desktop Entry]\nHidden=true\n")}) {
        write(bytes);
        item.unregisterItem();
        EXPECT_FALSE(QFile::exists(path()));
        EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    }
    item.unregisterItem();
    EXPECT_TRUE(QDir(folder() + u"/autostart"_qs).exists());
}

TEST_F(AutostartLoginItemTest, AFolderInItsPlaceIsNotOursToTouch) {
    QDir().mkpath(path() + u"/kept"_qs);
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    item.unregisterItem();
    EXPECT_EQ(refusal(item), code(std::errc::is_a_directory));
    EXPECT_TRUE(QDir(path() + u"/kept"_qs).exists());
}

TEST_F(AutostartLoginItemTest, AFileWhereTheFolderShouldBeIsAnErrorOfTheSystem) {
    QFile file(folder());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    EXPECT_NO_THROW(item.unregisterItem());
    EXPECT_EQ(refusal(item), code(std::errc::not_a_directory));
}

TEST_F(AutostartLoginItemTest, AFolderThatCannotBeMadeIsAnErrorOfTheSystem) {
    AutostartLoginItem impossible(place.filePath(QString(300, u'x')), program, {});
    EXPECT_EQ(refusal(impossible), code(std::errc::filename_too_long));
}

TEST_F(AutostartLoginItemTest, AFullDiskLeavesTheOldEntryWholeAndNothingBesideIt) {
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

TEST_F(AutostartLoginItemTest, AFolderThatMayNotBeWrittenRefusesBothAndTheEntryStays) {
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

TEST_F(AutostartLoginItemTest, AnEntryThatMayNotBeReadIsOutdatedAndCanBeRemoved) {
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

TEST_F(AutostartLoginItemTest, ALinkToAFileIsWrittenThrough) {
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

TEST_F(AutostartLoginItemTest, APipeInItsPlaceIsNeverWaitedForAndReplaced) {
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

TEST_F(AutostartLoginItemTest, LinksInACircleAreReplaced) {
    QDir().mkpath(folder() + u"/autostart"_qs);
    ASSERT_TRUE(QFile::link(path(), path()));
    EXPECT_EQ(item.status(), LoginItemStatus::notRegistered);
    item.registerItem();
    EXPECT_EQ(item.status(), LoginItemStatus::enabled);
}

TEST_F(AutostartLoginItemTest, AnyPathIsQuotedSoThatItIsReadBack) {
    for (const QString& name :
         {u"with blank"_qs, u"it's \"quoted\""_qs, u"100% sure"_qs, u"%u"_qs, u"cash $HOME"_qs,
          u"back\\slash\\n"_qs, u"tick`s"_qs, u"grün 漢 \U0001F600"_qs, u"a;b&c|d#e"_qs, u"a=b"_qs,
          u"a=b 100%"_qs, u"line\nbreak"_qs, u"\\s"_qs}) {
        const QString odd = place.filePath(name + u"/lumivane"_qs);
        addProgram(odd);
        auto here = itemFor(odd);
        here.registerItem();
        EXPECT_EQ(here.status(), LoginItemStatus::enabled) << qPrintable(name);
        EXPECT_EQ(item.status(), LoginItemStatus::outdated) << qPrintable(name);
        EXPECT_EQ(written().count('\n'), 5) << qPrintable(name);
    }
}

TEST_F(AutostartLoginItemTest, QuotesByTheRulesLetterByLetter) {
    const QString odd = place.filePath(u"a \"b\" $c `d` \\e"_qs);
    addProgram(odd);
    itemFor(odd).registerItem();
    const QByteArray expected =
        "\nExec=\"" + place.path().toUtf8() + R"(/a \\"b\\" \\$c \\`d\\` \\\\e" --login-item)";
    EXPECT_TRUE(written().contains(expected)) << written().constData();
}

} // namespace lumivane
