#include "platform/linux/Replacement.h"

#include "InstancePrograms.h"
#include "async/SystemClock.h"
#include "platform/linux/ReplacementProcess.h"
#include "platform/linux/SessionInstance.h"
#include "support/EventLoop.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>

namespace lumivane::test {

using namespace std::chrono_literals;
using Claim = ApplicationInstance::Claim;

/// The test is the old instance.
class ReplacementTest : public InstancePrograms {
protected:
    ReplacementTest() {
        auto ends = HandOverChannel::makePair();
        m_line = std::move(ends.first);
        m_process.emplace(ProgramCommand{QStringLiteral(LUMIVANE_INSTANCE_PROGRAM), {}},
                          ends.second);
        m_replacement = nextProcess({});
        EXPECT_TRUE(hear(m_replacement, "up"));
    }

    ~ReplacementTest() override { m_process.reset(); }

    HandOverWord nextWord() {
        HandOverChannel::Message message;
        EXPECT_EQ(m_line.await(message, m_clock, m_clock.now() + 20s),
                  HandOverChannel::Reading::message);
        return message.word;
    }

    SystemClock m_clock;
    SessionInstance m_instance{place(), QDBusConnection(u"none"_qs), m_clock};
    HandOverChannel m_line;
    std::optional<ReplacementProcess> m_process;
    pid_t m_replacement = 0;
};

TEST_F(ReplacementTest, TakesThePlaceWhoseLockItIsSent) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    EXPECT_EQ(nextWord(), HandOverWord::running);
    outcomeOf(ended(m_instance.stepAside({})));
    ASSERT_TRUE(m_line.send(HandOverWord::yours, m_instance.lockDescriptor()));
    EXPECT_EQ(nextWord(), HandOverWord::granted);
    m_instance.leave();
    EXPECT_EQ(m_instance.claim(), Claim::taken);
    m_line.close();
    EXPECT_EQ(hear(m_replacement, ""), "took over");
    EXPECT_TRUE(m_instance.activateOther({}));
    EXPECT_EQ(hear(m_replacement, ""), "activated");
}

TEST_F(ReplacementTest, AnOldInstanceThatDiesBeforeItStepsAsideIsReplacedAllTheSame) {
    EXPECT_EQ(nextWord(), HandOverWord::running);
    m_line.close();
    EXPECT_EQ(hear(m_replacement, ""), "took over");
    EXPECT_EQ(m_instance.claim(), Claim::taken);
}

TEST_F(ReplacementTest, AnOldInstanceThatDiesWithTheLockOnItsWayIsReplacedAllTheSame) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    ASSERT_TRUE(m_line.send(HandOverWord::yours, m_instance.lockDescriptor()));
    m_instance.leave();
    m_line.close();
    EXPECT_EQ(hear(m_replacement, ""), "took over");
    SessionInstance third(place(), QDBusConnection(u"none"_qs), m_clock);
    EXPECT_EQ(third.claim(), Claim::taken);
}

TEST_F(ReplacementTest, EndsAtOnceWhenItIsToldToWhileItWaits) {
    EXPECT_EQ(nextWord(), HandOverWord::running);
    ::kill(m_replacement, SIGTERM);
    int status = 0;
    ASSERT_EQ(::waitpid(m_replacement, &status, 0), m_replacement);
    m_process->letGo();
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
    EXPECT_TRUE(linesOf(m_replacement).empty());
}

TEST_F(ReplacementTest, GivesWayToAnOldInstanceThatChangesItsMind) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    m_line.close();
    EXPECT_EQ(hear(m_replacement, ""), "gave way");
}

TEST_F(ReplacementTest, GivesWayToAThirdInstance) {
    SessionInstance third(place(), QDBusConnection(u"none"_qs), m_clock);
    ASSERT_EQ(third.claim(), Claim::granted);
    EXPECT_EQ(nextWord(), HandOverWord::running);
    ASSERT_TRUE(m_line.send(HandOverWord::yours));
    EXPECT_EQ(hear(m_replacement, ""), "gave way");
}

TEST_F(ReplacementTest, ALockThatIsNoneIsNotTakenForOne) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    const OwnedDescriptor other(::open("/dev/null", O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(m_line.send(HandOverWord::yours, other.get()));
    EXPECT_EQ(hear(m_replacement, ""), "gave way");
}

TEST_F(ReplacementTest, NonsenseIsTheEndOfTheOldInstance) {
    ASSERT_EQ(m_instance.claim(), Claim::granted);
    ASSERT_TRUE(m_line.send(HandOverWord::granted));
    EXPECT_EQ(hear(m_replacement, ""), "gave way");
}

/// Within this process, so that limits can be short.
class ReplacementLimits : public InstancePrograms {
protected:
    ReplacementLimits() {
        auto ends = HandOverChannel::makePair();
        m_line = std::move(ends.first);
        m_theirs = std::move(ends.second);
    }

    bool takeOver(std::chrono::milliseconds patience) {
        auto replacement = Replacement::fromArguments(
            {u"program"_qs, u"--hand-over="_qs + QString::number(m_theirs.descriptor())});
        m_theirs.release(); // the replacement's now
        return replacement->takeOver(m_instance, m_clock, patience);
    }

    SystemClock m_clock;
    SessionInstance m_instance{place(), QDBusConnection(u"none"_qs), m_clock};
    HandOverChannel m_line;
    HandOverChannel m_theirs;
};

TEST_F(ReplacementLimits, AnOldInstanceThatNeverStepsAsideKeepsThePlace) {
    EXPECT_FALSE(takeOver(20ms));
    SessionInstance other(place(), QDBusConnection(u"none"_qs), m_clock);
    EXPECT_EQ(other.claim(), Claim::granted);
}

TEST_F(ReplacementLimits, AnOldProcessThatNeverEndsIsLeftBehind) {
    ASSERT_TRUE(m_line.send(HandOverWord::yours));
    EXPECT_TRUE(takeOver(20ms));
    SessionInstance other(place(), QDBusConnection(u"none"_qs), m_clock);
    EXPECT_EQ(other.claim(), Claim::taken);
}

/// What a switch may name, and nothing of it is touched.
class ForgedHandOver : public testing::Test {
protected:
    static bool isAccepted(const QString& value) {
        return Replacement::fromArguments({u"program"_qs, u"--hand-over="_qs + value}).has_value();
    }

    static bool isAccepted(int descriptor) { return isAccepted(QString::number(descriptor)); }

    static bool isUntouched(int descriptor) { return ::fcntl(descriptor, F_GETFD) == 0; }
};

TEST_F(ForgedHandOver, GarbageIsIgnored) {
    for (const char* value : {"", "x", "-1", "3x", "99999999999999999999", "0x3", " ", "1e1", "0",
                              "1", "2", "1000000"}) {
        EXPECT_FALSE(isAccepted(QString::fromLatin1(value))) << value;
    }
    EXPECT_FALSE(Replacement::fromArguments({}));
    EXPECT_FALSE(Replacement::fromArguments({u"program"_qs, u"--hand-over"_qs, u"3"_qs}));
}

TEST_F(ForgedHandOver, WhatIsNoSocketIsLeftAlone) {
    const OwnedDescriptor file(::open("/dev/null", O_RDONLY));
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const OwnedDescriptor reader(pipe[0]);
    const OwnedDescriptor writer(pipe[1]);
    for (const int descriptor : {file.get(), reader.get(), writer.get()}) {
        EXPECT_FALSE(isAccepted(descriptor));
        EXPECT_TRUE(isUntouched(descriptor));
    }
    OwnedDescriptor closed(::open("/dev/null", O_RDONLY));
    const int number = closed.get();
    closed.reset();
    EXPECT_FALSE(isAccepted(number));
}

TEST_F(ForgedHandOver, SocketsOfOtherKindsAreLeftAlone) {
    const OwnedDescriptor internet(::socket(AF_INET, SOCK_STREAM, 0));
    const OwnedDescriptor lonely(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
    const OwnedDescriptor first(ends[0]);
    const OwnedDescriptor second(ends[1]);
    for (const int descriptor : {internet.get(), lonely.get(), first.get()}) {
        EXPECT_FALSE(isAccepted(descriptor));
        EXPECT_TRUE(isUntouched(descriptor));
    }
}

TEST_F(ForgedHandOver, AConnectionToANamedSocketIsLeftAlone) {
    const QTemporaryDir folder;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    folder.filePath(u"socket"_qs).toUtf8().toStdString().copy(address.sun_path, 100);
    const OwnedDescriptor listener(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    const OwnedDescriptor visitor(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    const auto* plain = reinterpret_cast<const sockaddr*>(&address);
    ASSERT_EQ(::bind(listener.get(), plain, sizeof address), 0);
    ASSERT_EQ(::listen(listener.get(), 1), 0);
    ASSERT_EQ(::connect(visitor.get(), plain, sizeof address), 0);
    EXPECT_FALSE(isAccepted(visitor.get()));
    EXPECT_FALSE(isAccepted(listener.get()));
    EXPECT_TRUE(isUntouched(visitor.get()));
}

TEST_F(ForgedHandOver, TheRealThingIsTakenAndClosedInPrograms) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
    const OwnedDescriptor other(ends[1]);
    {
        const auto replacement = Replacement::fromArguments(
            {u"program"_qs, u"--hand-over="_qs + QString::number(ends[0])});
        ASSERT_TRUE(replacement);
        EXPECT_EQ(::fcntl(ends[0], F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(::fcntl(ends[0], F_GETFD), -1);
}

TEST(HandOverChannel, CarriesWordsAndALock) {
    const auto [ours, theirs] = HandOverChannel::makePair();
    HandOverChannel::Message message;
    EXPECT_EQ(theirs.read(message), HandOverChannel::Reading::nothing);
    const OwnedDescriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(ours.send(HandOverWord::yours, file.get()));
    ASSERT_TRUE(ours.send(HandOverWord::running));
    ASSERT_EQ(theirs.read(message), HandOverChannel::Reading::message);
    EXPECT_EQ(message.word, HandOverWord::yours);
    ASSERT_TRUE(message.lock);
    EXPECT_EQ(::fcntl(message.lock.get(), F_GETFD), FD_CLOEXEC);
    ASSERT_EQ(theirs.read(message), HandOverChannel::Reading::message);
    EXPECT_EQ(message.word, HandOverWord::running);
    EXPECT_FALSE(message.lock);
}

TEST(HandOverChannel, ManyDescriptorsAtOnceStayOpenNowhere) {
    const auto [ours, theirs] = HandOverChannel::makePair();
    const OwnedDescriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    constexpr std::size_t count = 20;
    std::array<char, CMSG_SPACE(count * sizeof(int))> space{};
    char letter = 'y';
    iovec content{&letter, 1};
    msghdr header{};
    header.msg_iov = &content;
    header.msg_iovlen = 1;
    header.msg_control = space.data();
    header.msg_controllen = space.size();
    cmsghdr* part = CMSG_FIRSTHDR(&header);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(count * sizeof(int));
    std::array<int, count> descriptors{};
    descriptors.fill(file.get());
    std::memcpy(CMSG_DATA(part), descriptors.data(), sizeof descriptors);
    ASSERT_EQ(::sendmsg(ours.descriptor(), &header, 0), 1);
    const OwnedDescriptor before(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    {
        HandOverChannel::Message message;
        theirs.read(message);
    }
    const OwnedDescriptor after(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(after.get(), before.get() + 1);
}

TEST(HandOverChannel, WhatWasSaidBeforeTheEndIsHeard) {
    auto [ours, theirs] = HandOverChannel::makePair();
    ASSERT_TRUE(ours.send(HandOverWord::running));
    ASSERT_TRUE(theirs.send(HandOverWord::yours));
    theirs.close(); // without having read
    HandOverChannel::Message message;
    ASSERT_EQ(ours.read(message), HandOverChannel::Reading::message);
    EXPECT_EQ(message.word, HandOverWord::yours);
    EXPECT_EQ(ours.read(message), HandOverChannel::Reading::end);
}

TEST(HandOverChannel, NobodyAtTheOtherEndIsTheEnd) {
    auto [ours, theirs] = HandOverChannel::makePair();
    theirs.close();
    HandOverChannel::Message message;
    EXPECT_EQ(ours.read(message), HandOverChannel::Reading::end);
    EXPECT_FALSE(ours.send(HandOverWord::running));
}

TEST(HandOverChannel, GarbageIsTheEnd) {
    for (const std::string& garbage :
         {std::string("x"), std::string("rr"), std::string(70000, 'r')}) {
        const auto [ours, theirs] = HandOverChannel::makePair();
        ASSERT_EQ(::send(ours.descriptor(), garbage.data(), garbage.size(), 0),
                  ssize_t(garbage.size()));
        HandOverChannel::Message message;
        EXPECT_EQ(theirs.read(message), HandOverChannel::Reading::end);
    }
}

} // namespace lumivane::test
