#include "platform/linux/DesktopUrlOpener.h"

#include "platform/linux/CoreDumps.h"
#include "support/EventLoop.h"
#include "support/FakeUrlOpener.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace lumivane {

namespace {

QUrl url(const QString& text) { return QUrl(text); }

const QList<QUrl> ofTheWeb{url(u"http://127.0.0.1:8787/x?y=1&z=%20#f"_qs),
                           url(u"https://example.org"_qs), url(u"HTTPS://EXAMPLE.ORG/a b"_qs),
                           url(u"https://grün.example/漢"_qs)};

const QList<QUrl> refused{
    url(u"x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture"_qs),
    url(u"file:///etc/passwd"_qs),
    url(u"com.marnoth.lumivane.oauth://callback?code=1"_qs),
    url(u"javascript:alert(1)"_qs),
    url(u"data:text/html,x"_qs),
    url(u"ftp://example.org/"_qs),
    url(u"/etc/passwd"_qs),
    url(u"example.org"_qs),
    url(u"-version"_qs),
    url(u"http:///path"_qs),
    url(u"https:"_qs),
    url(u"http://[::"_qs),
    QUrl()};

/// Holds signals back in this thread while it lives, as the program does for its orderly end.
class HeldSignals {
public:
    HeldSignals() {
        sigset_t held;
        ::sigemptyset(&held);
        ::sigaddset(&held, SIGTERM);
        ::sigaddset(&held, SIGINT);
        ::pthread_sigmask(SIG_BLOCK, &held, &m_before);
    }

    ~HeldSignals() { ::pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }

    Q_DISABLE_COPY_MOVE(HeldSignals)

private:
    sigset_t m_before{};
};

} // namespace

class DesktopUrlOpenerTest : public testing::Test {
protected:
    /// A program that the desktop has for addresses; it does this and leaves word that it ran. The
    /// plain shell would let signals through by itself.
    QString program(const QByteArray& does) const {
        QString path = place.filePath(u"open it"_qs);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/bash\n"
                   "channels=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2)\n{ " +
                   does + "; } >'" + out().toUtf8() + ".new' 2>&1\nmv '" + out().toUtf8() +
                   ".new' '" + out().toUtf8() + "'\n");
        file.close();
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }

    QString out() const { return place.filePath(u"out"_qs); }

    /// What the program leaves once it ran.
    QByteArray left() const {
        EXPECT_TRUE(test::waitUntil([this] { return QFile::exists(out()); }));
        QFile file(out());
        QByteArray words = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        file.remove();
        return words;
    }

    static QProcessEnvironment environment() { return QProcessEnvironment::systemEnvironment(); }

    QTemporaryDir place;
};

TEST_F(DesktopUrlOpenerTest, HandsAnAddressOfTheWebOverAsOneArgument) {
    DesktopUrlOpener opener(environment(), program("printf '%s\\n' \"$#\" \"$@\""));
    EXPECT_TRUE(opener.open(url(u"http://127.0.0.1:8787/x?y=1&z=%20#f"_qs)));
    EXPECT_EQ(left(), "1\nhttp://127.0.0.1:8787/x?y=1&z=%20#f\n");
    EXPECT_TRUE(opener.open(url(u"HTTPS://EXAMPLE.ORG/a b'$(x)\""_qs)));
    EXPECT_EQ(left(), "1\nhttps://example.org/a%20b'$(x)%22\n");
    EXPECT_TRUE(opener.open(url(u"https://example.org/漢"_qs)));
    EXPECT_EQ(left(), "1\nhttps://example.org/%E6%BC%A2\n");
}

TEST_F(DesktopUrlOpenerTest, StartsNothingForAnyOtherAddress) {
    DesktopUrlOpener opener(environment(), program("echo started"));
    for (const QUrl& other : refused) {
        EXPECT_FALSE(opener.open(other)) << qPrintable(other.toString());
    }
    // What was wrongly started before this would have left its word first.
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    EXPECT_EQ(left(), "started\n");
    EXPECT_FALSE(QFile::exists(out() + u".new"_qs));
}

TEST_F(DesktopUrlOpenerTest, WithoutTheProgramNothingOpens) {
    DesktopUrlOpener opener(environment(), place.filePath(u"nothing"_qs));
    EXPECT_FALSE(opener.open(ofTheWeb[0]));
    QFile plain(place.filePath(u"plain"_qs));
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.setPermissions(QFile::ReadOwner);
    EXPECT_FALSE(DesktopUrlOpener(environment(), plain.fileName()).open(ofTheWeb[0]));
}

TEST_F(DesktopUrlOpenerTest, AnAddressLongerThanAnyProgramTakesIsNotOpened) {
    DesktopUrlOpener opener(environment(), program("echo started"));
    EXPECT_FALSE(opener.open(url(u"https://example.org/"_qs + QString(200000, u'x'))));
    EXPECT_TRUE(opener.open(url(u"https://example.org/"_qs + QString(100000, u'x'))));
    EXPECT_EQ(left(), "started\n");
}

TEST_F(DesktopUrlOpenerTest, TheBrowserIsNoChildOfThisProcess) {
    DesktopUrlOpener opener(environment(), program("ps -o ppid=,sid= -p $$; echo $$"));
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    const QList<QByteArray> words = left().simplified().split(' ');
    ASSERT_EQ(words.size(), 3);
    EXPECT_NE(words[0].toLongLong(), QCoreApplication::applicationPid());
    EXPECT_EQ(words[1], words[2]); // the head of a session of its own
}

TEST_F(DesktopUrlOpenerTest, GivesTheSurroundingsItWasMadeWithAndNoOthers) {
    auto given = environment();
    given.insert(u"LUMIVANE_GIVEN"_qs, u"yes"_qs);
    given.remove(u"LUMIVANE_SET_LATER"_qs);
    DesktopUrlOpener opener(given, program("echo \"$LUMIVANE_GIVEN,$LUMIVANE_SET_LATER\""));
    qputenv("LUMIVANE_SET_LATER", "for itself");
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    EXPECT_EQ(left(), "yes,\n");
    qunsetenv("LUMIVANE_SET_LATER");
}

TEST_F(DesktopUrlOpenerTest, HoldsNoSignalBackFromTheBrowser) {
    const HeldSignals held;
    DesktopUrlOpener opener(environment(), program("grep -h SigBlk /proc/self/status"));
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    EXPECT_EQ(left().simplified(), "SigBlk: 0000000000000000");
}

TEST_F(DesktopUrlOpenerTest, TheBrowserMayLeaveDumpsAsTheUserWants) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_CORE, &before), 0);
    rlimit users = before;
    users.rlim_cur = std::min<rlim_t>(before.rlim_max, 512 * 1024);
    ASSERT_EQ(::setrlimit(RLIMIT_CORE, &users), 0);
    CoreDumps::disable();
    DesktopUrlOpener opener(environment(), program("ulimit -Sc")); // in pieces of 1024 bytes
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    EXPECT_EQ(left(), "512\n");
    rlimit ours{};
    ASSERT_EQ(::getrlimit(RLIMIT_CORE, &ours), 0);
    EXPECT_EQ(ours.rlim_cur, 1U);
    CoreDumps::allowAgain();
    ::setrlimit(RLIMIT_CORE, &before);
}

TEST_F(DesktopUrlOpenerTest, GivesNoneOfItsOwnChannels) {
    DesktopUrlOpener opener(environment(), program("echo $channels"));
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    EXPECT_EQ(left(), "/dev/null /dev/null /dev/null\n");
}

TEST_F(DesktopUrlOpenerTest, DoesNotWaitForTheProgram) {
    const QString gate = place.filePath(u"gate"_qs);
    ASSERT_EQ(::mkfifo(qPrintable(gate), 0600), 0);
    DesktopUrlOpener opener(environment(),
                            program("read word <'" + gate.toUtf8() + "'; echo $word"));
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    EXPECT_FALSE(QFile::exists(out()));
    QFile opened(gate); // opening lasts until the program reads
    ASSERT_TRUE(opened.open(QIODevice::WriteOnly));
    opened.write("through\n");
    opened.close();
    EXPECT_EQ(left(), "through\n");
}

TEST_F(DesktopUrlOpenerTest, DoesNotWaitForItsHelperEither) {
    const QString gate = place.filePath(u"gate"_qs);
    ASSERT_EQ(::mkfifo(qPrintable(gate), 0600), 0);
    ASSERT_TRUE(QDir(place.path()).mkdir(u"bin"_qs));
    const QString helper = QStandardPaths::findExecutable(u"setsid"_qs);
    QFile slow(place.filePath(u"bin/setsid"_qs));
    ASSERT_TRUE(slow.open(QIODevice::WriteOnly));
    slow.write("#!/bin/sh\nread word <'" + gate.toUtf8() + "'\nexec '" + helper.toUtf8() +
               "' \"$@\"\n");
    slow.close();
    slow.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", place.filePath(u"bin"_qs).toUtf8() + ':' + path);
    DesktopUrlOpener opener(environment(), program("echo opened"));
    EXPECT_TRUE(opener.open(ofTheWeb[0]));
    qputenv("PATH", path);
    EXPECT_FALSE(QFile::exists(out()));
    QFile opened(gate);
    ASSERT_TRUE(opened.open(QIODevice::WriteOnly));
    opened.write("through\n");
    opened.close();
    EXPECT_EQ(left(), "opened\n");
}

TEST_F(DesktopUrlOpenerTest, OpensTheSameAddressesAsItsFake) {
    DesktopUrlOpener real(environment(), u"/bin/true"_qs);
    test::FakeUrlOpener fake;
    for (const QUrl& asked : ofTheWeb + refused) {
        EXPECT_EQ(real.open(asked), fake.open(asked)) << qPrintable(asked.toString());
        EXPECT_EQ(fake.asked.constLast(), asked);
    }
    fake.hasBrowser = false;
    DesktopUrlOpener without(environment(), place.filePath(u"nothing"_qs));
    EXPECT_EQ(without.open(ofTheWeb[0]), fake.open(ofTheWeb[0]));
}

} // namespace lumivane
