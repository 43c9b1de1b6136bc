// Several starts of the program in one session.

#include "ProcessFixture.h"
#include "platform/linux/HandOverChannel.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QFile>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

namespace lumivane::test {

using testing::HasSubstr;
using testing::Not;

class ProcessSecondStart : public ProcessTest {};

INSTANTIATE_TEST_SUITE_P(Session, ProcessSecondStart, testing::Bool(),
                         [](const auto& info) { return info.param ? "WithABus" : "WithoutABus"; });

TEST_P(ProcessSecondStart, ASecondStartBringsTheSettingsOfTheFirstForwardAndEnds) {
    home.store(settings);
    const auto first = start();
    ASSERT_THAT(first->log().toStdString(), Not(HasSubstr(settingsShown)));

    LumivaneProgram second(home);
    EXPECT_EQ(second.waitForEnd(), 0);
    EXPECT_TRUE(first->waitForLog(settingsShown));
    EXPECT_THAT(second.log().toStdString(), Not(HasSubstr("Lumivane launched")));
    EXPECT_EQ(first->terminate(), 0);
}

TEST_P(ProcessSecondStart, ASecondStartByTheSessionStaysSilent) {
    home.store(settings);
    const auto first = start();
    LumivaneProgram second(home, {u"--login-item"_qs});
    EXPECT_EQ(second.waitForEnd(), 0);
    EXPECT_EQ(first->terminate(), 0);
    for (const QByteArray& log : {first->log(), second.log()}) {
        EXPECT_THAT(log.toStdString(), Not(HasSubstr(settingsShown)));
    }
    EXPECT_THAT(second.log().toStdString(), Not(HasSubstr("Lumivane launched")));
}

/// Hears when a program has looked for the place.
class LookOut {
public:
    explicit LookOut(const LumivaneHome& home) {
        const QStringList locks = QDir(home.path(u"."_qs)).entryList({u"lumivane-*.lock"_qs});
        EXPECT_EQ(locks.size(), 1);
        const QByteArray path = QFile::encodeName(home.path(locks.value(0)));
        EXPECT_GE(::inotify_add_watch(m_watch.get(), path.constData(), IN_CLOSE), 0);
    }

    bool waitForLook() {
        return waitUntil([this] {
            std::array<char, 4096> events{};
            return ::read(m_watch.get(), events.data(), events.size()) > 0;
        });
    }

private:
    OwnedDescriptor m_watch{::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)};
};

TEST_P(ProcessSecondStart, AStartByTheSessionTakesOverFromAnInstanceThatIsEnding) {
    home.store(settings);
    const auto first = start();
    LookOut lookOut(home);
    LumivaneProgram second(home, {u"--login-item"_qs});
    ASSERT_TRUE(lookOut.waitForLook());
    first->kill();
    second.requireLog(isReady);
    EXPECT_EQ(second.terminate(), 0);
}

TEST_P(ProcessSecondStart, OfTwoThatStartAtTheSameInstantOneStays) {
    home.store(settings);
    for (int round = 0; round < 3; ++round) {
        LumivaneProgram one(home);
        LumivaneProgram other(home);
        ASSERT_TRUE(waitUntil([&] { return !one.isRunning() || !other.isRunning(); }));
        LumivaneProgram& stays = one.isRunning() ? one : other;
        LumivaneProgram& goes = one.isRunning() ? other : one;
        EXPECT_EQ(goes.waitForEnd(), 0);
        EXPECT_THAT(goes.log().toStdString(), Not(HasSubstr("Lumivane launched")));
        stays.requireLog(settingsShown); // the other's start was heard
        stays.requireLog(isReady);
        EXPECT_EQ(stays.terminate(), 0);
    }
}

TEST_P(ProcessSecondStart, OneThatIsBeingTestedComesUpBesideTheUsersAndLeavesItsSettingsAlone) {
    home.store(settings);
    QFile stored(home.path(u"CONFIG/lumivane/settings.json"_qs));
    ASSERT_TRUE(stored.open(QIODevice::ReadOnly));
    const QByteArray before = stored.readAll();
    stored.close();
    const auto users = start();

    const QStringList switches{u"--ui-testing"_qs, u"--ui-testing-configured"_qs};
    LumivaneProgram tested(home, switches);
    tested.requireLog(settingsShown);
    const QString suite = home.path(u"CONFIG/lumivane/com.marnoth.Lumivane.Testing.json"_qs);
    EXPECT_TRUE(QFile::exists(suite));
    LumivaneProgram another(home, switches);
    EXPECT_EQ(another.waitForEnd(), 0);
    EXPECT_EQ(tested.terminate(), 0);
    EXPECT_EQ(users->terminate(), 0);

    EXPECT_THAT(users->log().toStdString(), Not(HasSubstr(settingsShown)));
    ASSERT_TRUE(stored.open(QIODevice::ReadOnly));
    EXPECT_EQ(stored.readAll(), before);
}

/// The test is the instance that a replacement comes from.
class ProcessReplacement : public ProcessTest {
protected:
    ProcessReplacement() {
        auto ends = HandOverChannel::makePair();
        m_line = std::move(ends.first);
        home.store(settings);
        m_users = start();
        const OwnedDescriptor inherited(::dup(ends.second.descriptor())); // open in programs
        m_replacement = std::make_unique<LumivaneProgram>(
            home, QStringList{u"--hand-over=%1"_qs.arg(inherited.get())});
    }

    /// The replacement is up, and waits.
    void waitForReplacement() {
        HandOverChannel::Message message;
        ASSERT_TRUE(
            waitUntil([&] { return m_line.read(message) == HandOverChannel::Reading::message; }));
        ASSERT_EQ(message.word, HandOverWord::running);
    }

    HandOverChannel m_line;
    std::unique_ptr<LumivaneProgram> m_users;
    std::unique_ptr<LumivaneProgram> m_replacement;
};

INSTANTIATE_TEST_SUITE_P(Session, ProcessReplacement, testing::Values(false));

TEST_P(ProcessReplacement, OneThatDoesNotGetThePlaceEndsAndAsksForNothing) {
    waitForReplacement();
    ASSERT_TRUE(m_line.send(HandOverWord::granted)); // nonsense
    EXPECT_EQ(m_replacement->waitForEnd(), 1);
    EXPECT_EQ(m_users->terminate(), 0);
    EXPECT_THAT(m_users->log().toStdString(), Not(HasSubstr(settingsShown)));
}

TEST_P(ProcessReplacement, OneThatWaitsIsEndedByASignal) {
    waitForReplacement();
    m_replacement->signal(SIGTERM);
    EXPECT_EQ(m_replacement->waitForEnd(), LumivaneProgram::endedBySignal);
    EXPECT_EQ(m_users->terminate(), 0);
}

} // namespace lumivane::test
