#include "integration/LoginDesktop.h"

#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <stdexcept>

namespace lumivane::test {

namespace {

constexpr auto scheme = "com.marnoth.lumivane.oauth";

// Its time is bounded for a test that does not get to its end, and it finds no host but this one.
constexpr auto startBrowser =
    "echo $$ >>\"$started\"\n"
    "exec timeout 100 chromium --no-sandbox --headless=new --disable-gpu --no-first-run "
    "--password-store=basic --host-resolver-rules='MAP * ~NOTFOUND, EXCLUDE 127.0.0.1' ";

constexpr int longestStart = 20000; ///< milliseconds, a bound for what is broken

void write(const QString& path, const QByteArray& contents, bool isProgram = false) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size()) {
        throw std::runtime_error("a file of the desktop cannot be written");
    }
    if (isProgram) {
        file.setPermissions(file.permissions() | QFile::ExeOwner);
    }
}

QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The words of a running program; empty for one that has ended, also where nobody has asked how.
QByteArray commandOf(pid_t process) { return contentsOf(u"/proc/%1/cmdline"_qs.arg(process)); }

/// A desktop entry's own words, with the program that stands for the installed one.
QByteArray programEntry(const QString& program) {
    QByteArray entry = contentsOf(QStringLiteral(LUMIVANE_DESKTOP_TEMPLATE));
    entry.replace("@LUMIVANE_INSTALLED_PROGRAM@", program.toUtf8());
    return entry;
}

} // namespace

LoginDesktop::Surroundings::Surroundings(const QProcessEnvironment& environment) {
    for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "DISPLAY", "XDG_RUNTIME_DIR"}) {
        m_before[name] =
            qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
        qputenv(name, environment.value(QString::fromLatin1(name)).toUtf8());
    }
}

LoginDesktop::Surroundings::~Surroundings() {
    for (auto before = m_before.cbegin(); before != m_before.cend(); ++before) {
        if (before.value()) {
            qputenv(before.key().constData(), *before.value());
        } else {
            qunsetenv(before.key().constData());
        }
    }
}

LoginDesktop::LoginDesktop(const QString& origin, Pages pages) {
    home.setSessionBus(bus.address());
    home.environment.remove(u"BROWSER"_qs);
    home.environment.remove(u"XDG_CURRENT_DESKTOP"_qs);
    installBrowser(origin, pages);
    installProgram();
    QProcess database;
    database.setProcessEnvironment(environment());
    database.start(u"update-desktop-database"_qs, {home.path(u"DATA/applications"_qs)});
    if (!database.waitForFinished(longestStart) || database.exitCode() != 0) {
        throw std::runtime_error("the desktop's list of handlers cannot be written");
    }
    moveIn();
}

LoginDesktop::~LoginDesktop() {
    for (const pid_t browser : browsers()) {
        // The number of one that ended may be another program's by now.
        if (!commandOf(browser).contains(home.path(u"browser"_qs).toUtf8())) {
            continue;
        }
        ::kill(browser, SIGTERM);
        if (!waitUntil([browser] { return hasEnded(browser); })) {
            ::kill(browser, SIGKILL);
        }
    }
}

bool LoginDesktop::hasEnded(pid_t process) { return commandOf(process).isEmpty(); }

void LoginDesktop::installBrowser(const QString& origin, Pages pages) const {
    const QByteArray profile = home.path(u"browser"_qs).toUtf8();
    QDir().mkpath(home.path(u"tmp"_qs));
    write(home.path(u"browser/Default/Preferences"_qs),
          R"({"protocol_handler":{"allowed_origin_protocol_pairs":{")" + origin.toUtf8() +
              R"(":{")" + scheme + R"(":true}}}})");
    // A second start on the same profile hands its page to the first.
    const QByteArray start =
        pages == Pages::goOnAlone
            ? QByteArray("cp -r \"$profile\" \"$profile-$$\"\n") + startBrowser +
                  "--user-data-dir=\"$profile-$$\" \"$1\""
            : QByteArray("mkfifo \"$profile-$$.commands\" \"$profile-$$.answers\"\n") +
                  startBrowser +
                  "--user-data-dir=\"$profile\" --remote-debugging-pipe \"$1\" "
                  "3<>\"$profile-$$.commands\" 4<>\"$profile-$$.answers\"";
    const QString starter = home.path(u"start-browser"_qs);
    write(starter,
          "#!/bin/sh\nprofile='" + profile + "'\nstarted='" + home.path(u"browsers"_qs).toUtf8() +
              "'\nexport TMPDIR='" + home.path(u"tmp"_qs).toUtf8() + "'\n" + start +
              " </dev/null >\"$profile-$$.log\" 2>&1\n",
          true);
    write(home.path(u"DATA/applications/browser.desktop"_qs),
          "[Desktop Entry]\nType=Application\nName=Browser\nExec=" + starter.toUtf8() +
              " %u\nMimeType=x-scheme-handler/http;x-scheme-handler/https;\n");
}

void LoginDesktop::installProgram() const {
    // The count of its starts is kept outside of it.
    const QString starter = home.path(u"start-program"_qs);
    write(starter,
          "#!/bin/sh\necho >>'" + home.path(u"handlers"_qs).toUtf8() +
              "'\nexec '" LUMIVANE_PROGRAM "' \"$@\"\n",
          true);
    write(home.path(u"DATA/applications/com.marnoth.Lumivane.desktop"_qs), programEntry(starter));
}

int LoginDesktop::open(const QString& address) const {
    QProcess opener;
    opener.setProcessEnvironment(environment());
    opener.setStandardInputFile(QProcess::nullDevice());
    startInOwnGroup(opener, u"xdg-open"_qs, {address});
    // The event loop turns meanwhile: what is opened reaches this process.
    const bool hasEnded = waitUntil([&] { return opener.state() == QProcess::NotRunning; });
    endGroup(opener);
    return hasEnded ? opener.exitCode() : -1;
}

void LoginDesktop::moveIn() {
    m_surroundings.reset();
    m_surroundings.emplace(environment());
}

QString LoginDesktop::browserPipe(pid_t browser, const QString& direction) const {
    return home.path(u"browser-%1.%2"_qs.arg(browser).arg(direction));
}

int LoginDesktop::handlerCount() const {
    return int(contentsOf(home.path(u"handlers"_qs)).count('\n'));
}

std::vector<pid_t> LoginDesktop::browsers() const {
    std::vector<pid_t> found;
    for (const QByteArray& line : contentsOf(home.path(u"browsers"_qs)).split('\n')) {
        if (!line.isEmpty()) {
            found.push_back(line.toInt());
        }
    }
    return found;
}

} // namespace lumivane::test
