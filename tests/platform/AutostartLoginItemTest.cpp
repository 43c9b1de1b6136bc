#include "AutostartFixture.h"
#include "analysis/LaunchAtLoginService.h"

#include <sys/stat.h>

namespace lumivane {

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
