#include "platform/linux/InstanceSocket.h"

#include "async/SystemClock.h"
#include "platform/linux/InstanceRequest.h"
#include "platform/linux/OwnedDescriptor.h"
#include "support/EventLoop.h"
#include "support/ManualClock.h"

#include <QDir>
#include <QFile>
#include <QLocalSocket>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace lumivane::test {

using namespace std::chrono_literals;

class InstanceSocketTest : public testing::Test {
protected:
    InstanceSocketTest()
        : m_folderDescriptor(::open(QFile::encodeName(m_folder.path()).constData(),
                                    O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

    bool listen() {
        m_socket.emplace(m_clock, [this](const QStringList& urls) { m_requests.push_back(urls); });
        return m_socket->listen(m_folderDescriptor.get(), u"socket"_qs);
    }

    QString path() const { return m_folder.filePath(u"socket"_qs); }

    std::unique_ptr<QLocalSocket> visit() const {
        auto visitor = std::make_unique<QLocalSocket>();
        visitor->connectToServer(path());
        EXPECT_TRUE(visitor->waitForConnected());
        return visitor;
    }

    /// Says it all, and what comes back until the other side hangs up.
    static QByteArray hear(QLocalSocket& visitor, const QByteArray& words) {
        visitor.write(words);
        EXPECT_TRUE(waitUntil([&] { return visitor.state() == QLocalSocket::UnconnectedState; }));
        return visitor.readAll();
    }

    QByteArray hear(const QByteArray& words) const { return hear(*visit(), words); }

    QTemporaryDir m_folder;
    OwnedDescriptor m_folderDescriptor;
    ManualClock m_clock;
    std::vector<QStringList> m_requests;
    std::optional<InstanceSocket> m_socket;
};

TEST_F(InstanceSocketTest, RequestsAreAnsweredAndDelivered) {
    ASSERT_TRUE(listen());
    EXPECT_EQ(hear(*InstanceRequest::encode({})), "+");
    EXPECT_EQ(hear(*InstanceRequest::encode({u"a:"_qs, u"b:"_qs})), "+");
    drainEvents();
    EXPECT_EQ(m_requests, (std::vector<QStringList>{{}, {u"a:"_qs, u"b:"_qs}}));
}

TEST_F(InstanceSocketTest, ARequestMayComeByteByByte) {
    ASSERT_TRUE(listen());
    const auto visitor = visit();
    const QByteArray request = *InstanceRequest::encode({u"a:"_qs});
    for (const char byte : request) {
        EXPECT_TRUE(m_requests.empty());
        visitor->write(&byte, 1);
        visitor->flush();
        drainEvents();
    }
    EXPECT_EQ(hear(*visitor, {}), "+");
    EXPECT_EQ(m_requests.size(), 1U);
}

TEST_F(InstanceSocketTest, TheLongestRequestIsHeardOut) {
    ASSERT_TRUE(listen());
    const QStringList most(16, QString(8192, u'€'));
    EXPECT_EQ(hear(*InstanceRequest::encode(most)), "+");
    ASSERT_EQ(m_requests.size(), 1U);
    EXPECT_EQ(m_requests.front(), most);
}

TEST_F(InstanceSocketTest, GarbageIsTurnedAway) {
    ASSERT_TRUE(listen());
    const QByteArray tooMany =
        "LUM1" + QByteArray("\0\0\x4e\x20", 4) + QByteArray("a\0", 2).repeated(10000);
    for (const QByteArray& words :
         {QByteArray("GET / HTTP/1.1\r\n\r\n"), QByteArray("LUM1\xFF\xFF\xFF\xFF"), tooMany,
          QByteArray(10 * 1024 * 1024, 'L'), QByteArray(1, '\0')}) {
        const QByteArray answer = hear(words);
        EXPECT_TRUE(answer == "-" || answer.isEmpty()) << answer.toStdString();
    }
    drainEvents();
    EXPECT_TRUE(m_requests.empty());
    EXPECT_EQ(hear(*InstanceRequest::encode({})), "+");
}

TEST_F(InstanceSocketTest, WhatFollowsARequestIsDropped) {
    ASSERT_TRUE(listen());
    EXPECT_EQ(hear(*InstanceRequest::encode({u"a:"_qs}) + *InstanceRequest::encode({u"b:"_qs})),
              "+");
    drainEvents();
    EXPECT_EQ(m_requests, (std::vector<QStringList>{{u"a:"_qs}}));
}

TEST_F(InstanceSocketTest, ASilentVisitorIsSentAwayAfterTwoSeconds) {
    ASSERT_TRUE(listen());
    const auto visitor = visit();
    ASSERT_TRUE(waitUntil([this] { return m_clock.timerCount() == 1; }));
    m_clock.advance(2s - 1ms);
    EXPECT_EQ(visitor->state(), QLocalSocket::ConnectedState);
    m_clock.advance(1ms);
    EXPECT_TRUE(waitUntil([&] { return visitor->state() == QLocalSocket::UnconnectedState; }));
    drainEvents();
    EXPECT_EQ(m_clock.timerCount(), 0U);
}

TEST_F(InstanceSocketTest, ACrowdIsTurnedAway) {
    ASSERT_TRUE(listen());
    std::vector<std::unique_ptr<QLocalSocket>> crowd;
    for (int count = 0; count < 8; ++count) {
        crowd.push_back(visit());
    }
    ASSERT_TRUE(waitUntil([this] { return m_clock.timerCount() == 8; }));
    EXPECT_EQ(hear(*visit(), {}), "");
    crowd.pop_back();
    ASSERT_TRUE(waitUntil([this] { return m_clock.timerCount() == 7; }));
    EXPECT_EQ(hear(*InstanceRequest::encode({})), "+");
}

TEST_F(InstanceSocketTest, ARequestOnItsWayEndsWithTheSocket) {
    ASSERT_TRUE(listen());
    const auto visitor = visit();
    visitor->write(*InstanceRequest::encode({}));
    visitor->flush();
    ASSERT_TRUE(waitUntil([&] { return visitor->bytesAvailable() > 0 || !m_requests.empty(); }));
    m_requests.clear();
    const auto second = visit();
    m_socket.reset();
    drainEvents();
    EXPECT_TRUE(m_requests.empty());
    EXPECT_EQ(m_clock.timerCount(), 0U);
}

TEST_F(InstanceSocketTest, OnlyItsOwnerReachesIt) {
    ASSERT_TRUE(listen());

    struct stat facts {};

    ASSERT_EQ(::lstat(QFile::encodeName(path()).constData(), &facts), 0);
    EXPECT_EQ(facts.st_mode, mode_t(S_IFSOCK | S_IRUSR | S_IWUSR));
    EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::Files | QDir::System).size(), 1);
}

TEST_F(InstanceSocketTest, WhateverLiesInItsPlaceIsReplaced) {
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(listen());
    EXPECT_EQ(hear(*InstanceRequest::encode({})), "+");
}

TEST_F(InstanceSocketTest, AFolderInItsPlaceIsReported) {
    ASSERT_TRUE(QDir().mkpath(path() + u"/inside"_qs));
    EXPECT_FALSE(listen());
    EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::Files | QDir::System).size(), 0);
}

TEST_F(InstanceSocketTest, ADeepFolderIsNoObstacle) {
    QString deep = m_folder.path();
    for (int level = 0; level < 5; ++level) {
        deep += u'/' + QString(100, u'd');
    }
    ASSERT_TRUE(QDir().mkpath(deep));
    m_folderDescriptor = OwnedDescriptor(
        ::open(QFile::encodeName(deep).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(listen());
    const SystemClock clock;
    EXPECT_EQ(knock(m_folderDescriptor.get(), u"socket"_qs, *InstanceRequest::encode({}), clock,
                    clock.now() + 20ms),
              InstanceAnswer::silent); // for the loop that would answer is this one
}

TEST_F(InstanceSocketTest, AKnockWhereNobodyIsIsKnownAtOnce) {
    const SystemClock clock;
    const QByteArray request = *InstanceRequest::encode({});
    const MonotonicInstant never = clock.now() + 20s;
    EXPECT_EQ(knock(m_folderDescriptor.get(), u"socket"_qs, request, clock, never),
              InstanceAnswer::absent);
    EXPECT_EQ(knock(-1, u"socket"_qs, request, clock, never), InstanceAnswer::absent);
    EXPECT_EQ(knock(m_folderDescriptor.get(), QString(200, u'n'), request, clock, never),
              InstanceAnswer::absent);
    ASSERT_TRUE(listen());
    m_socket.reset();
    EXPECT_EQ(knock(m_folderDescriptor.get(), u"socket"_qs, request, clock, never),
              InstanceAnswer::absent);
}

} // namespace lumivane::test
