// The autostart entry as the programs read it that start a session.

#include "AutostartFixture.h"
#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <initializer_list>

namespace lumivane {

class AutostartConsumersTest : public AutostartFixture {
protected:
    struct Ended {
        int status = -1;
        QByteArray output; ///< of both channels
    };

    Ended run(const QString& name, const QStringList& arguments) const {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_qs, place.path());
        environment.insert(u"XDG_CONFIG_HOME"_qs, folder());
        environment.insert(u"XDG_CONFIG_DIRS"_qs, place.filePath(u"system"_qs));
        environment.insert(u"XDG_CURRENT_DESKTOP"_qs, u"XFCE"_qs);
        // Where there is a display, some would start a bus and leave it behind.
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, u"disabled:"_qs);
        environment.remove(u"DISPLAY"_qs);
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::MergedChannels);
        test::startInOwnGroup(process, name, arguments);
        if (!process.waitForFinished(20000)) {
            test::endGroup(process);
            return {};
        }
        return {process.exitCode(), process.readAll()};
    }

    /// What systemd would run for the entry; nothing where it would not start it.
    QString unitCommand() const {
        const QString units = place.filePath(u"units"_qs);
        QDir(units).removeRecursively();
        QDir().mkpath(units);
        const Ended ended =
            run(u"/usr/lib/systemd/user-generators/systemd-xdg-autostart-generator"_qs,
                {units, units, units});
        EXPECT_EQ(ended.status, 0) << ended.output.constData();
        QFile unit(units + u"/app-com.marnoth.Lumivane@autostart.service"_qs);
        if (!unit.open(QIODevice::ReadOnly)) {
            return {};
        }
        const QString text = QString::fromUtf8(unit.readAll());
        return text.section(u"\nExecStart=:"_qs, 1).section(u'\n', 0, 0);
    }

    /// Whether dex would start the entry on a desktop.
    bool isStartedByDex(const QString& desktop) const {
        const Ended ended =
            run(u"dex"_qs, {u"--autostart"_qs, u"--dry-run"_qs, u"--environment"_qs, desktop});
        EXPECT_EQ(ended.status, 0) << ended.output.constData();
        return ended.output.contains(program.toUtf8());
    }

    /// The arguments that the program was started with, once it was.
    static QByteArray argumentsOf(const QString& started) {
        QFile file(started + u".out"_qs);
        test::waitUntil([&] { return file.exists(); });
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("was not started");
    }

    /// Registers the program at a path whose last folder has this name.
    QString registerAt(const QString& name) const {
        QString path = place.filePath(name + u"/lumivane"_qs);
        addProgram(path);
        itemFor(path).registerItem();
        return path;
    }

    static inline const std::initializer_list<QString> oddNames{
        u"plain"_qs,      u"with blank"_qs, u"it's \"quoted\""_qs,   u"100% sure"_qs,
        u"%u"_qs,         u"cash $HOME"_qs, u"back\\slash"_qs,       u"tick`s"_qs,
        u"a;b&c|d#e*"_qs, u"a=b"_qs,        u"grün 漢 \U0001F600"_qs};
};

TEST_F(AutostartConsumersTest, TheEntryIsValidWhateverThePath) {
    for (const QString& name : oddNames) {
        registerAt(name);
        const Ended ended = run(u"desktop-file-validate"_qs, {path()});
        EXPECT_EQ(ended.status, 0) << qPrintable(name);
        EXPECT_EQ(ended.output, "") << qPrintable(name);
    }
}

TEST_F(AutostartConsumersTest, ADesktopStartsTheProgramWhateverThePath) {
    for (const QString& name : oddNames) {
        const QString started = registerAt(name);
        const Ended ended = run(u"gio"_qs, {u"launch"_qs, path()});
        ASSERT_EQ(ended.status, 0) << qPrintable(name) << ended.output.constData();
        EXPECT_EQ(argumentsOf(started), "--login-item\n") << qPrintable(name);
    }
}

TEST_F(AutostartConsumersTest, SystemdMakesAUnitThatStartsTheProgram) {
    const QString here = place.path();
    registerAt(u"plain"_qs);
    EXPECT_EQ(unitCommand(), here + u"/plain/lumivane --login-item"_qs);
    registerAt(u"with blank"_qs);
    EXPECT_EQ(unitCommand(), u'"' + here + u"/with blank/lumivane\" --login-item"_qs);
    registerAt(u"it's \"quoted\""_qs);
    EXPECT_EQ(unitCommand(), u'"' + here + u"/it's \\\"quoted\\\"/lumivane\" --login-item"_qs);
    registerAt(u"cash $HOME"_qs);
    EXPECT_EQ(unitCommand(), u'"' + here + u"/cash \\$HOME/lumivane\" --login-item"_qs);
    registerAt(u"grün 漢 \U0001F600"_qs);
    EXPECT_EQ(unitCommand(), u'"' + here + u"/grün 漢 \U0001F600/lumivane\" --login-item"_qs);
    registerAt(u"100% sure"_qs);
    EXPECT_TRUE(
        unitCommand().endsWith(u"/env \""_qs + here + u"/100%% sure/lumivane\" --login-item"_qs));
}

TEST_F(AutostartConsumersTest, DexStartsTheProgram) {
    for (const QString& name : {u"plain"_qs, u"with blank"_qs, u"grün 漢 \U0001F600"_qs}) {
        const QString started = registerAt(name);
        const Ended ended = run(u"dex"_qs, {u"--autostart"_qs, u"--environment"_qs, u"XFCE"_qs});
        EXPECT_EQ(ended.status, 0) << ended.output.constData();
        EXPECT_EQ(argumentsOf(started), "--login-item\n") << qPrintable(name);
    }
}

TEST_F(AutostartConsumersTest, TheStatusIsWhatTheSessionDoes) {
    const auto statusWith = [this](const QByteArray& line) {
        auto here = itemFor(program, {u"XFCE"_qs});
        here.unregisterItem();
        here.registerItem();
        write(written() + line);
        return here.status();
    };
    EXPECT_EQ(statusWith(""), LoginItemStatus::enabled);
    EXPECT_NE(unitCommand(), QString());
    EXPECT_TRUE(isStartedByDex(u"XFCE"_qs));

    EXPECT_EQ(statusWith("Hidden=true\n"), LoginItemStatus::requiresApproval);
    EXPECT_EQ(unitCommand(), QString());
    EXPECT_FALSE(isStartedByDex(u"XFCE"_qs));

    EXPECT_EQ(statusWith("Hidden=false\n"), LoginItemStatus::enabled);
    EXPECT_NE(unitCommand(), QString());
    EXPECT_TRUE(isStartedByDex(u"XFCE"_qs));

    EXPECT_EQ(statusWith("OnlyShowIn=KDE;\n"), LoginItemStatus::requiresApproval);
    EXPECT_FALSE(isStartedByDex(u"XFCE"_qs));
    EXPECT_EQ(statusWith("OnlyShowIn=KDE;XFCE;\n"), LoginItemStatus::enabled);
    EXPECT_TRUE(isStartedByDex(u"XFCE"_qs));
    EXPECT_EQ(statusWith("NotShowIn=XFCE;\n"), LoginItemStatus::requiresApproval);
    EXPECT_FALSE(isStartedByDex(u"XFCE"_qs));
    EXPECT_EQ(statusWith("NotShowIn=KDE;\n"), LoginItemStatus::enabled);
    EXPECT_TRUE(isStartedByDex(u"XFCE"_qs));
}

TEST_F(AutostartConsumersTest, WhatTheUserTurnedOffStartsAgainOnceItIsRegisteredAgain) {
    auto here = itemFor(program, {u"XFCE"_qs});
    here.registerItem();
    write(written() + "Hidden=true\nX-GNOME-Autostart-enabled=false\nOnlyShowIn=KDE;\n");
    ASSERT_FALSE(isStartedByDex(u"XFCE"_qs));
    here.registerItem();
    EXPECT_TRUE(isStartedByDex(u"XFCE"_qs));
    EXPECT_TRUE(isStartedByDex(u"KDE"_qs));
    EXPECT_FALSE(isStartedByDex(u"GNOME"_qs));
    EXPECT_NE(unitCommand(), QString());
    EXPECT_EQ(run(u"desktop-file-validate"_qs, {path()}).output, "");
}

TEST_F(AutostartConsumersTest, WhatIsRemovedStartsNoMore) {
    item.registerItem();
    ASSERT_TRUE(isStartedByDex(u"XFCE"_qs));
    item.unregisterItem();
    EXPECT_FALSE(isStartedByDex(u"XFCE"_qs));
    EXPECT_EQ(unitCommand(), QString());
}

} // namespace lumivane
