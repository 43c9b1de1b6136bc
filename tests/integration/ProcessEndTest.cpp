// Every way in which the program is told to end.

#include "ProcessFixture.h"
#include "support/EventLoop.h"
#include "support/SessionManager.h"

#include <csignal>

namespace lumivane::test {

namespace {

/// It ends in order, and says so once.
void expectOrderlyEnd(LumivaneProgram& program) {
    EXPECT_EQ(program.waitForEnd(), 0);
    const QByteArray log = program.log();
    EXPECT_EQ(log.count("Lumivane terminating"), 1) << log.toStdString();
    EXPECT_GE(log.indexOf("Quit requested"), 0);
    EXPECT_LT(log.indexOf("Quit requested"), log.indexOf("Lumivane terminating"));
}

} // namespace

class ProcessEnd : public ProcessTest {};

INSTANTIATE_TEST_SUITE_P(Session, ProcessEnd, testing::Bool(),
                         [](const auto& info) { return info.param ? "WithABus" : "WithoutABus"; });

TEST_P(ProcessEnd, EachSignalEndsItInOrder) {
    home.store(settings);
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        const auto program = start();
        program->signal(number);
        expectOrderlyEnd(*program);
    }
}

TEST_P(ProcessEnd, MoreSignalsThanOneEndItOnceAndInOrder) {
    home.store(settings);
    const auto program = start();
    // Until it is gone, so some of them meet every step of the end.
    waitUntil([&] {
        program->signal(SIGTERM);
        return !program->isRunning();
    });
    expectOrderlyEnd(*program);
}

TEST_P(ProcessEnd, ASignalAtAnyMomentOfTheStartEndsIt) {
    home.store(settings);
    LumivaneProgram early(home);
    early.signal(SIGTERM);
    EXPECT_EQ(early.waitForEnd(), LumivaneProgram::endedBySignal);

    for (const char* moment : {"Lumivane launched", "App model initialized"}) {
        LumivaneProgram program(home);
        program.requireLog(moment);
        program.signal(SIGTERM);
        EXPECT_EQ(program.waitForEnd(), 0) << moment;
        EXPECT_EQ(program.log().count("Lumivane terminating"), 1);
    }
    const auto next = start(); // nothing of them stands in its way
    EXPECT_EQ(next->terminate(), 0);
    EXPECT_EQ(home.storedSettings(), settings);
}

TEST_P(ProcessEnd, AStartThatWaitsForAHungDisplayIsEndedByASignal) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        const HeldProcess hung(display.processID());
        LumivaneProgram program(home);
        ASSERT_TRUE(waitUntil([&] { return program.hasSocket(); }));
        program.signal(number);
        EXPECT_EQ(program.waitForEnd(), LumivaneProgram::endedBySignal);
    }
}

class ProcessInSession : public ProcessTest {
protected:
    ProcessInSession() {
        home.environment.insert(u"SESSION_MANAGER"_qs, QString::fromLatin1(manager.address()));
        home.store(settings);
        program = start();
        EXPECT_TRUE(waitUntil([this] { return manager.hasClient(); }));
    }

    SessionManager manager;
    std::unique_ptr<LumivaneProgram> program;
};

INSTANTIATE_TEST_SUITE_P(Session, ProcessInSession, testing::Values(false));

TEST_P(ProcessInSession, TheEndOfTheSessionEndsItInOrder) {
    manager.announceEnd();
    ASSERT_TRUE(waitUntil([this] { return manager.saves == 2; }));
    manager.cancelEnd();
    EXPECT_TRUE(program->isRunning());
    EXPECT_EQ(manager.dialogs, 0);
    EXPECT_EQ(manager.restartHint, SessionManager::restartNever);
    manager.announceEnd();
    ASSERT_TRUE(waitUntil([this] { return manager.saves == 3; }));
    manager.tellToGo();
    expectOrderlyEnd(*program);
}

TEST_P(ProcessInSession, ASessionManagerThatVanishesEndsItInOrder) {
    manager.vanish();
    expectOrderlyEnd(*program);
}

TEST_P(ProcessInSession, ASignalAndTheEndOfTheSessionTogetherEndItOnce) {
    manager.tellToGo();
    program->signal(SIGTERM);
    expectOrderlyEnd(*program);
}

} // namespace lumivane::test
