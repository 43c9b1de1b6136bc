#include "platform/linux/SessionInstance.h"

#include "InstancePrograms.h"
#include "async/SystemClock.h"
#include "support/EventLoop.h"

#include <QDBusMessage>
#include <QFile>

#include <array>
#include <chrono>

namespace lumivane::test {

using namespace std::chrono_literals;
using Claim = ApplicationInstance::Claim;

// The limit itself is two seconds at most; without one a call gives up after 25.
constexpr auto longestAnswer = 10s;

/// Each case once without a bus and once with one.
class SessionInstanceEitherWay : public InstancePrograms, public testing::WithParamInterface<bool> {
protected:
    SessionInstanceEitherWay() {
        if (GetParam()) {
            startBus();
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Bus, SessionInstanceEitherWay, testing::Bool(),
                         [](const auto& each) { return each.param ? "WithABus" : "WithoutABus"; });

TEST_P(SessionInstanceEitherWay, ASecondStartActivatesTheFirst) {
    const auto first = startFirst();
    const auto second = start();
    EXPECT_EQ(ask(*second, "claim"), "taken");
    EXPECT_EQ(ask(*second, "activate"), "reached");
    EXPECT_EQ(hear(first->processID(), ""), "activated");
    if (GetParam()) {
        EXPECT_TRUE(activateOverBus());
        EXPECT_EQ(hear(first->processID(), ""), "activated");
    }
}

TEST_P(SessionInstanceEitherWay, AddressesAreHandedOverByteForByte) {
    const QByteArray address = QByteArray("com.example:/cb?code=%C3%A9+\"'&x=\xC3\xA9\xF0\x9F\x98"
                                          "\x80 \t\n\x01\x7F;$(a)`b`\\")
                                   .toHex();
    const QByteArray longest = QByteArray(8192, 'u').toHex();
    const auto first = startFirst();
    const auto second = start();
    ASSERT_EQ(ask(*second, "claim"), "taken");
    EXPECT_EQ(ask(*second, "activate " + address + ' ' + longest), "reached");
    EXPECT_EQ(hear(first->processID(), ""), "opened " + address + ' ' + longest);
}

TEST_P(SessionInstanceEitherWay, TooManyOrTooLongAddressesAreNotHandedOver) {
    const auto first = startFirst();
    const auto second = start();
    ASSERT_EQ(ask(*second, "claim"), "taken");
    EXPECT_EQ(ask(*second, "activate" + QByteArray(" 61").repeated(17)), "unreached");
    EXPECT_EQ(ask(*second, "activate " + QByteArray(8193, 'u').toHex()), "unreached");
    EXPECT_EQ(ask(*second, "activate" + QByteArray(" 61").repeated(16)), "reached");
    EXPECT_EQ(hear(first->processID(), ""), "opened" + QByteArray(" 61").repeated(16));
}

TEST_P(SessionInstanceEitherWay, TheEndOfTheFirstFreesThePlaceAtOnce) {
    for (int round = 0; round < 10; ++round) {
        const auto first = startFirst();
        first->kill();
    }
}

TEST_P(SessionInstanceEitherWay, APlaceThatIsReleasedCanBeClaimedByEitherAtOnce) {
    const auto first = startFirst();
    const auto second = start();
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(ask(*second, "claim"), "taken");
        EXPECT_EQ(ask(*first, "release"), "released");
        EXPECT_EQ(ask(*second, "claim"), "granted");
        EXPECT_EQ(ask(*second, "claim"), "granted");
        EXPECT_EQ(ask(*first, "claim"), "taken");
        EXPECT_EQ(ask(*first, "activate"), "reached");
        EXPECT_EQ(hear(second->processID(), ""), "activated");
        EXPECT_EQ(ask(*second, "release"), "released");
        EXPECT_EQ(ask(*first, "claim"), "granted");
    }
}

TEST_P(SessionInstanceEitherWay, AFirstInstanceThatHangsIsReportedInTime) {
    const SystemClock clock;
    const auto first = startFirst();
    const auto second = start();
    ASSERT_EQ(ask(*second, "claim"), "taken");
    const HeldProcess held(first->processID());
    const MonotonicInstant begin = clock.now();
    EXPECT_EQ(ask(*second, "activate"), "unreached");
    EXPECT_LT(clock.now() - begin, longestAnswer);
    EXPECT_EQ(ask(*second, "activate 613A"), "unreached");
    EXPECT_EQ(ask(*second, "claim"), "taken");
}

TEST_P(SessionInstanceEitherWay, NobodyIsReachedWhereNobodyIs) {
    const auto only = start();
    EXPECT_EQ(ask(*only, "activate"), "unreached");
}

TEST_P(SessionInstanceEitherWay, OneOfTwoStartsAtTheSameInstantGetsThePlace) {
    const auto first = start();
    const auto second = start();
    std::array<int, 2> wins{};
    for (int round = 0; round < 100; ++round) {
        first->tell("claim");
        second->tell("claim");
        const bool isFirst = hear(first->processID(), "") == "granted";
        const bool isSecond = hear(second->processID(), "") == "granted";
        ASSERT_NE(isFirst, isSecond) << round;
        ++wins.at(isFirst ? 0 : 1);
        // The loser reaches the winner however little of it is up.
        ASSERT_EQ(ask(isFirst ? *second : *first, "activate"), "reached") << round;
        InstanceProgram& winner = isFirst ? *first : *second;
        ASSERT_EQ(hear(winner.processID(), ""), "activated");
        ASSERT_EQ(ask(winner, "release"), "released");
    }
}

TEST_P(SessionInstanceEitherWay, TheLoserOfARaceWaitsForTheWinnerToComeUp) {
    for (int round = 0; round < 10; ++round) {
        const InstanceProgram first({u"--begin"_qs});
        const InstanceProgram second({u"--begin"_qs});
        for (const InstanceProgram* each : {&first, &second}) {
            ASSERT_TRUE(hear(each->processID(), "up"));
        }
        const bool isFirst = hear(first.processID(), "") == "granted";
        const auto other = hear(second.processID(), "");
        ASSERT_EQ(other, isFirst ? "reached" : "granted") << round;
        const InstanceProgram& winner = isFirst ? first : second;
        ASSERT_EQ(hear(winner.processID(), ""), "activated") << round;
    }
}

class SessionInstanceTest : public InstancePrograms {
protected:
    QDBusConnection bus() { return m_bus->connect(); }

    QString sessionName() const { return u"com.marnoth.Lumivane.Session_"_qs + place().name(); }

    SystemClock m_clock;
};

TEST_F(SessionInstanceTest, StartsWithAndWithoutABusMeet) {
    startBus();
    const auto withBus = start();
    leaveBus();
    const auto without = start();
    for (int round = 0; round < 100; ++round) {
        withBus->tell("claim");
        without->tell("claim");
        const bool isFirst = hear(withBus->processID(), "") == "granted";
        ASSERT_NE(isFirst, hear(without->processID(), "") == "granted") << round;
        InstanceProgram& winner = isFirst ? *withBus : *without;
        ASSERT_EQ(ask(isFirst ? *without : *withBus, "activate 613a"), "reached") << round;
        ASSERT_EQ(hear(winner.processID(), ""), "opened 613a");
        ASSERT_EQ(ask(winner, "release"), "released");
    }
}

TEST_F(SessionInstanceTest, StartsThatShareOnlyTheBusMeet) {
    startBus();
    const auto first = start();
    setVariable("XDG_RUNTIME_DIR", "");
    const auto second = start();
    for (int round = 0; round < 100; ++round) {
        first->tell("claim");
        second->tell("claim");
        const bool isFirst = hear(first->processID(), "") == "granted";
        ASSERT_NE(isFirst, hear(second->processID(), "") == "granted") << round;
        InstanceProgram& winner = isFirst ? *first : *second;
        ASSERT_EQ(ask(isFirst ? *second : *first, "activate 613a"), "reached") << round;
        ASSERT_EQ(hear(winner.processID(), ""), "opened 613a");
        ASSERT_EQ(ask(winner, "release"), "released");
    }
}

TEST_F(SessionInstanceTest, AHungInstanceBehindTheBusIsReportedInTime) {
    startBus();
    const auto first = startFirst();
    setVariable("XDG_RUNTIME_DIR", "");
    const auto second = start();
    const HeldProcess held(first->processID());
    ASSERT_EQ(ask(*second, "claim"), "taken");
    const MonotonicInstant begin = m_clock.now();
    EXPECT_EQ(ask(*second, "activate"), "unreached");
    EXPECT_LT(m_clock.now() - begin, longestAnswer);
}

TEST_F(SessionInstanceTest, EachSessionHasAPlaceOnABusOfItsOwn) {
    startBus();
    const auto first = startFirst();
    const PrivateBus other;
    setVariable("DISPLAY", ":98");
    setVariable("DBUS_SESSION_BUS_ADDRESS", other.address().toUtf8());
    const auto second = startFirst();
}

TEST_F(SessionInstanceTest, EachSessionHasAPlaceOnASharedBus) {
    startBus();
    const auto first = startFirst();
    setVariable("DISPLAY", ":98");
    const auto second = startFirst();
    const auto third = start();
    EXPECT_EQ(ask(*third, "claim"), "taken");
    EXPECT_EQ(ask(*third, "activate"), "reached");
    EXPECT_EQ(hear(second->processID(), ""), "activated");
    EXPECT_TRUE(linesOf(first->processID()).empty());
}

TEST_F(SessionInstanceTest, TheNamesComeAndGoWithThePlace) {
    startBus();
    {
        SessionInstance instance(place(), bus(), m_clock);
        EXPECT_FALSE(isOwned(u"com.marnoth.Lumivane"_qs));
        ASSERT_EQ(instance.claim(), Claim::granted);
        EXPECT_TRUE(isOwned(u"com.marnoth.Lumivane"_qs));
        EXPECT_TRUE(isOwned(sessionName()));
        instance.release();
        EXPECT_FALSE(isOwned(u"com.marnoth.Lumivane"_qs));
        EXPECT_FALSE(isOwned(sessionName()));
        ASSERT_EQ(instance.claim(), Claim::granted);
    }
    EXPECT_FALSE(isOwned(sessionName()));
}

TEST_F(SessionInstanceTest, TheNamesCannotBeTakenAway) {
    startBus();
    SessionInstance instance(place(), bus(), m_clock);
    ASSERT_EQ(instance.claim(), Claim::granted);
    QDBusMessage call = QDBusMessage::createMethodCall(
        u"org.freedesktop.DBus"_qs, u"/"_qs, u"org.freedesktop.DBus"_qs, u"RequestName"_qs);
    constexpr uint replaceExisting = 2;
    constexpr uint inQueue = 2;
    call << u"com.marnoth.Lumivane"_qs << replaceExisting;
    EXPECT_EQ(bus().call(call).arguments().value(0).toUInt(), inQueue);
}

TEST_F(SessionInstanceTest, APublicNameInOtherHandsIsNoObstacle) {
    startBus();
    QDBusConnection other = bus();
    ASSERT_TRUE(other.registerService(u"com.marnoth.Lumivane"_qs));
    SessionInstance instance(place(), bus(), m_clock);
    EXPECT_EQ(instance.claim(), Claim::granted);
}

TEST_F(SessionInstanceTest, AClaimLostOnTheBusLeavesNothingBehind) {
    startBus();
    QDBusConnection other = bus();
    ASSERT_TRUE(other.registerService(sessionName()));
    SessionInstance loser(place(), bus(), m_clock);
    EXPECT_EQ(loser.claim(), Claim::taken);
    EXPECT_FALSE(QFile::exists(socketPath()));
    SessionInstance without(place(), QDBusConnection(u"none"_qs), m_clock);
    EXPECT_EQ(without.claim(), Claim::granted);
}

TEST_F(SessionInstanceTest, ABusThatDiesTakesNothingButItsNames) {
    startBus();
    const auto first = startFirst();
    m_bus->kill();
    leaveBus();
    const auto second = start();
    EXPECT_EQ(ask(*second, "claim"), "taken");
    EXPECT_EQ(ask(*second, "activate"), "reached");
    EXPECT_EQ(hear(first->processID(), ""), "activated");
    EXPECT_EQ(ask(*first, "release"), "released");
    EXPECT_EQ(ask(*second, "claim"), "granted");
}

TEST_F(SessionInstanceTest, ABusThatHangsDelaysAClaimForAShortTimeOnly) {
    startBus();
    SessionInstance instance(place(), bus(), m_clock);
    const HeldProcess held(m_bus->processID());
    const MonotonicInstant begin = m_clock.now();
    EXPECT_EQ(instance.claim(), Claim::granted);
    instance.release();
    EXPECT_LT(m_clock.now() - begin, longestAnswer);
}

TEST_F(SessionInstanceTest, WithNeitherFolderNorBusThePlaceIsGranted) {
    SessionInstance instance({{}, u"/dev/null"_qs, {}}, QDBusConnection(u"none"_qs), m_clock, 50ms);
    EXPECT_EQ(instance.claim(), Claim::granted);
    EXPECT_FALSE(instance.activateOther({}));
}

TEST_F(SessionInstanceTest, ASocketThatADeadInstanceLeftIsReplaced) {
    auto first = startFirst();
    first->kill();
    EXPECT_TRUE(QFile::exists(socketPath()));
    const auto second = startFirst();
    const auto third = start();
    EXPECT_EQ(ask(*third, "begin"), "reached");
}

TEST_F(SessionInstanceTest, ACallbackMayReleaseThePlace) {
    startBus();
    SessionInstance instance(place(), bus(), m_clock);
    int opened = 0;
    instance.onActivate = [&] { instance.release(); };
    instance.onOpen = [&](const QStringList&) {
        ++opened;
        instance.release();
    };
    ASSERT_EQ(instance.claim(), Claim::granted);
    const auto other = start();
    other->tell("activate 613a");
    EXPECT_EQ(hear(other->processID(), ""), "reached");
    EXPECT_TRUE(waitUntil([&] { return opened == 1; }));
    EXPECT_EQ(ask(*other, "claim"), "granted");
}

} // namespace lumivane::test
