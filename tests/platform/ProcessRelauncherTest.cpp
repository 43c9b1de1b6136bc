#include "platform/linux/ProcessRelauncher.h"

#include "InstancePrograms.h"
#include "async/SystemClock.h"
#include "platform/linux/SessionInstance.h"
#include "support/EventLoop.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <algorithm>
#include <chrono>
#include <system_error>

namespace lumivane::test {

using namespace std::chrono_literals;
using Claim = ApplicationInstance::Claim;

class Relaunch : public InstancePrograms, public testing::WithParamInterface<bool> {
protected:
    Relaunch() {
        if (GetParam()) {
            startBus();
        }
    }

    /// Ends the instance of the session, whichever it is, as a third start can.
    void quitInstance() {
        const SystemClock clock;
        const auto visitor = start();
        EXPECT_EQ(ask(*visitor, "claim"), "taken");
        EXPECT_EQ(ask(*visitor, "activate " + QByteArray("test:quit").toHex()), "reached");
    }
};

INSTANTIATE_TEST_SUITE_P(Bus, Relaunch, testing::Bool(),
                         [](const auto& each) { return each.param ? "WithABus" : "WithoutABus"; });

TEST_P(Relaunch, TheReplacementHasThePlaceWhenTheOldOneEnds) {
    const auto old = startFirst();
    old->tell("relaunch");
    EXPECT_EQ(hear(old->processID(), ""), "relaunched");
    const pid_t replacement = nextProcess({old->processID()});
    EXPECT_TRUE(hear(replacement, "up"));
    EXPECT_EQ(hear(replacement, ""), "took over");
    old->waitForEnd();
    const auto third = start();
    EXPECT_EQ(ask(*third, "begin"), "reached");
    EXPECT_EQ(hear(replacement, ""), "activated");
    if (GetParam()) {
        EXPECT_TRUE(activateOverBus());
        EXPECT_EQ(hear(replacement, ""), "activated");
    }
}

TEST_P(Relaunch, TheReplacementWaitsForTheEndOfTheOldProcess) {
    setVariable("LUMIVANE_TEST_STAYS", "1");
    const auto old = startFirst();
    old->tell("relaunch");
    EXPECT_EQ(hear(old->processID(), ""), "relaunched");
    const pid_t replacement = nextProcess({old->processID()});
    EXPECT_TRUE(hear(replacement, "up"));
    // The place is the new one's, and it has not gone on: the old one hears of nothing more.
    EXPECT_EQ(ask(*old, "claim"), "taken");
    EXPECT_TRUE(linesOf(replacement).empty());
    old->tell("quit");
    EXPECT_EQ(hear(replacement, ""), "took over");
}

TEST_P(Relaunch, TheReplacementOutlivesEverythingOfTheOldOne) {
    setVariable("LUMIVANE_TEST_STAYS", "1");
    const auto old = startFirst();
    old->tell("relaunch");
    const pid_t replacement = nextProcess({old->processID()});
    EXPECT_EQ(hear(old->processID(), ""), "relaunched");
    ::kill(-old->processID(), SIGKILL); // its whole group
    old->waitForEnd();
    EXPECT_EQ(hear(replacement, "took"), "took over");
    quitInstance();
}

TEST_P(Relaunch, TheReplacementGetsTheSwitchesAndNothingElse) {
    const auto old = start({u"--one"_qs, u"com.example:/callback?code=1"_qs, u"--two=a b"_qs,
                            u"--hand-over=9"_qs, u"--login-item"_qs, u"-x"_qs});
    EXPECT_EQ(ask(*old, "claim"), "granted");
    old->tell("relaunch");
    const pid_t replacement = nextProcess({old->processID()});
    EXPECT_EQ(hear(replacement, "up"), "up session=" + QByteArray::number(replacement) +
                                           " open=3 arguments=--one,--two=a b,--hand-over=3");
    EXPECT_EQ(hear(replacement, ""), "took over");
    // And on to the next, without piling anything up.
    const auto third = start();
    EXPECT_EQ(ask(*third, "begin"), "reached");
}

TEST_P(Relaunch, AThirdStartInTheMiddleNeverGetsThePlace) {
    const auto third = start();
    for (int round = 0; round < 10; ++round) {
        auto old = startFirst();
        old->tell("relaunch");
        QByteArray relaunched;
        int claims = 0;
        pid_t replacement = 0;
        std::vector<pid_t> known{old->processID(), third->processID()};
        while (relaunched.isEmpty()) {
            ASSERT_EQ(ask(*third, "claim"), "taken") << round << " after " << claims;
            ++claims;
            const auto lines = linesOf(old->processID());
            relaunched = lines.empty() ? QByteArray() : lines.front();
        }
        ASSERT_EQ(relaunched, "relaunched");
        old->waitForEnd();
        ASSERT_EQ(ask(*third, "claim"), "taken");
        EXPECT_EQ(ask(*third, "activate " + QByteArray("test:quit").toHex()), "reached");
        replacement = nextProcess(known);
        EXPECT_TRUE(hear(replacement, "opened"));
        ASSERT_TRUE(waitUntil([&] {
            third->tell("claim");
            return hear(third->processID(), "") == "granted";
        }));
        forget(replacement);
        ASSERT_EQ(ask(*third, "release"), "released");
    }
}

TEST_P(Relaunch, AThirdStartThatActivatesInTheMiddleReachesOneOfThem) {
    const auto third = start();
    const auto old = startFirst();
    ASSERT_EQ(ask(*third, "claim"), "taken");
    old->tell("relaunch");
    int reached = 0;
    std::vector<QByteArray> ofOld;
    while (std::find(ofOld.begin(), ofOld.end(), "relaunched") == ofOld.end()) {
        ASSERT_EQ(ask(*third, "activate"), "reached") << "after " << reached;
        ++reached;
        ofOld = linesOf(old->processID());
    }
    const pid_t replacement = nextProcess({old->processID(), third->processID()});
    EXPECT_TRUE(hear(replacement, "took over"));
    EXPECT_TRUE(waitUntil([&] {
        const auto ofBoth = ofOld.size() - 1 + linesOf(replacement).size();
        return ofBoth == std::size_t(reached);
    }));
    quitInstance();
}

TEST_P(Relaunch, AnOldInstanceKilledInTheMiddleLeavesExactlyOne) {
    const auto third = start();
    for (int round = 0; round < 20; ++round) {
        auto old = startFirst();
        old->tell("relaunch");
        const pid_t replacement = nextProcess({third->processID(), old->processID()});
        ASSERT_TRUE(hear(replacement, "up"));
        // At another moment each round: a claim takes a little time.
        for (int claims = 0; claims < 2 * round; ++claims) {
            ASSERT_EQ(ask(*third, "claim"), "taken");
        }
        old->kill();
        const bool isThird = ask(*third, "claim") == "granted";
        ASSERT_EQ(hear(replacement, ""), isThird ? "gave way" : "took over") << round;
        ::kill(replacement, SIGKILL);
        forget(replacement);
        ASSERT_EQ(ask(*third, "release"), "released");
        forget(old->processID());
    }
}

/// Which step goes wrong, and whether it takes the clock to notice.
struct Fault {
    const char* name;
    std::chrono::nanoseconds patience;
};

class FailedRelaunch : public InstancePrograms, public testing::WithParamInterface<Fault> {
protected:
    ManualClock m_clock;
};

INSTANTIATE_TEST_SUITE_P(Fault, FailedRelaunch,
                         testing::Values(Fault{"die-start", 0s}, Fault{"die-running", 0s},
                                         Fault{"die-yours", 0s}, Fault{"die-nonsense", 0s},
                                         Fault{"hang-nonsense", 0s}, Fault{"die-garbage", 0s},
                                         Fault{"hang-garbage", 0s}, Fault{"hang-start", 10s},
                                         Fault{"hang-running", 10s}, Fault{"hang-yours", 10s},
                                         Fault{"hard-hang-start", 10s},
                                         Fault{"hard-hang-yours", 10s}),
                         [](const auto& each) {
                             return QString::fromLatin1(each.param.name).remove(u'-').toStdString();
                         });

TEST_P(FailedRelaunch, LeavesTheOldInstanceAloneInItsPlace) {
    startBus();
    setVariable("LUMIVANE_TEST_FAULT", GetParam().name);
    int activations = 0;
    SessionInstance instance(place(), m_bus->connect(), m_clock);
    instance.onActivate = [&] { ++activations; };
    ASSERT_EQ(instance.claim(), Claim::granted);
    ProcessRelauncher relauncher(instance, {QStringLiteral(LUMIVANE_INSTANCE_PROGRAM), {}},
                                 m_clock);
    const auto outcome = watch(ended(relauncher.startReplacement()));
    const pid_t replacement = nextProcess({});
    ASSERT_TRUE(hear(replacement, "fault"));
    if (GetParam().patience > 0s) {
        EXPECT_FALSE(outcome->hasEnded());
        m_clock.advance(GetParam().patience - 1ms);
        EXPECT_FALSE(outcome->hasEnded());
        m_clock.advance(1ms);
    }
    if (QByteArray(GetParam().name).startsWith("hard")) {
        EXPECT_FALSE(outcome->hasEnded());
        m_clock.advance(1s);
    }
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_TRUE(outcome->errorAs<RelaunchError>());
    EXPECT_TRUE(isGone(replacement));
    EXPECT_EQ(m_clock.timerCount(), 0U);
    const auto third = start();
    EXPECT_EQ(ask(*third, "begin"), "reached");
    EXPECT_TRUE(waitUntil([&] { return activations == 1; }));
    EXPECT_TRUE(isOwned(u"com.marnoth.Lumivane"_qs));
    EXPECT_TRUE(isOwned(u"com.marnoth.Lumivane.Session_"_qs + place().name()));
}

class ProcessRelauncherTest : public InstancePrograms {
protected:
    ManualClock m_clock;
    SessionInstance m_instance{place(), QDBusConnection(u"none"_qs), m_clock};
};

TEST_F(ProcessRelauncherTest, ALockThatWasSentIsStillTheOldOnes) {
    setVariable("LUMIVANE_TEST_FAULT", "hang-yours");
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    ProcessRelauncher relauncher(m_instance, {QStringLiteral(LUMIVANE_INSTANCE_PROGRAM), {}},
                                 m_clock);
    const auto outcome = watch(ended(relauncher.startReplacement()));
    const pid_t replacement = nextProcess({});
    EXPECT_EQ(hear(replacement, "fault"), "fault hang-yours with the lock");
    const auto third = start();
    EXPECT_EQ(ask(*third, "claim"), "taken");
    m_clock.advance(10s);
    EXPECT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_EQ(ask(*third, "claim"), "taken");
}

TEST_F(ProcessRelauncherTest, AProgramThatIsNotThereFails) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    ProcessRelauncher relauncher(m_instance, {u"/nowhere/program"_qs, {}}, m_clock);
    const auto outcome = outcomeOf(ended(relauncher.startReplacement()));
    EXPECT_TRUE(outcome.errorAs<std::system_error>());
    const auto third = start();
    EXPECT_EQ(ask(*third, "begin"), "reached");
    // And the next try is a new one.
    const auto next = outcomeOf(ended(relauncher.startReplacement()));
    EXPECT_TRUE(next.errorAs<std::system_error>());
}

TEST_F(ProcessRelauncherTest, AProgramThatCannotBeToldFails) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    ProcessRelauncher relauncher(
        m_instance, ProgramCommand::ofThisProcess({}, {}, u"/nowhere/link"_qs), m_clock);
    const auto outcome = outcomeOf(ended(relauncher.startReplacement()));
    EXPECT_TRUE(outcome.errorAs<std::system_error>());
    const auto third = start();
    EXPECT_EQ(ask(*third, "begin"), "reached");
}

TEST_F(ProcessRelauncherTest, AProgramThatIsAnotherFails) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    ProcessRelauncher relauncher(m_instance, {u"/bin/true"_qs, {}}, m_clock);
    const auto outcome = outcomeOf(ended(relauncher.startReplacement()));
    EXPECT_TRUE(outcome.errorAs<RelaunchError>());
}

TEST_F(ProcessRelauncherTest, OneAtATime) {
    setVariable("LUMIVANE_TEST_FAULT", "hang-start");
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    ProcessRelauncher relauncher(m_instance, {QStringLiteral(LUMIVANE_INSTANCE_PROGRAM), {}},
                                 m_clock);
    const auto first = watch(ended(relauncher.startReplacement()));
    const pid_t replacement = nextProcess({});
    const auto second = outcomeOf(ended(relauncher.startReplacement()));
    EXPECT_TRUE(second.errorAs<RelaunchError>());
    EXPECT_FALSE(first->hasEnded());
    m_clock.advance(10s);
    EXPECT_TRUE(waitUntil([&] { return first->hasEnded(); }));
    EXPECT_TRUE(isGone(replacement));
}

TEST_F(ProcessRelauncherTest, AProgramThatEndsInTheMiddleTakesItsReplacementAlong) {
    setVariable("LUMIVANE_TEST_FAULT", "hang-start");
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    auto relauncher = std::make_unique<ProcessRelauncher>(
        m_instance, ProgramCommand{QStringLiteral(LUMIVANE_INSTANCE_PROGRAM), {}}, m_clock);
    const auto outcome = watch(ended(relauncher->startReplacement()));
    const pid_t replacement = nextProcess({});
    relauncher.reset();
    EXPECT_TRUE(isGone(replacement));
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
}

TEST(ProgramCommand, IsThisProgramWithItsSwitches) {
    const ProgramCommand command = ProgramCommand::ofThisProcess(
        {u"name"_qs, u"--a"_qs, u"b"_qs, u"--hand-over=3"_qs, u"--hand-overs"_qs,
         u"--login-item"_qs, u"--login-items"_qs, u"--c=d e"_qs},
        {"A=b", "C=\xE9"});
    EXPECT_TRUE(command.program.startsWith(u'/'));
    EXPECT_TRUE(command.program.endsWith(u"/tests_platform_instance"_qs));
    EXPECT_EQ(command.arguments,
              QStringList({u"--a"_qs, u"--hand-overs"_qs, u"--login-items"_qs, u"--c=d e"_qs}));
    EXPECT_EQ(command.environment, QByteArrayList({"A=b", "C=\xE9"}));
    EXPECT_EQ(ProgramCommand::ofThisProcess({}, {}).arguments, QStringList());
}

} // namespace lumivane::test
