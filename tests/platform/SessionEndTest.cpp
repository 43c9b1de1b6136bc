#include "platform/linux/SessionEnd.h"

#include "support/EventLoop.h"
#include "support/SessionManager.h"
#include "support/XServer.h"
#include "support/XTestProcess.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

namespace lumivane::test {

/// A program in a session of the test's own.
class SessionEndTest : public testing::Test {
protected:
    SessionEndTest() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DISPLAY"_qs, QString::fromLatin1(m_server.displayName()));
        environment.insert(u"QT_QPA_PLATFORM"_qs, u"xcb"_qs);
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_qs, u"disabled:"_qs);
        environment.insert(u"SESSION_MANAGER"_qs, QString::fromLatin1(m_manager.address()));
        m_program.setProcessEnvironment(environment);
        m_program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        startInOwnGroup(m_program, QStringLiteral(LUMIVANE_SESSION_END_PROGRAM), {});
        EXPECT_TRUE(waitUntil([this] { return words() == "up\n" && m_manager.hasClient(); }));
    }

    ~SessionEndTest() override { endGroup(m_program); }

    QByteArray words() {
        m_words += m_program.readAllStandardOutput();
        return m_words;
    }

    bool hasEnded() {
        return waitUntil([this] { return m_program.state() == QProcess::NotRunning; });
    }

    void expectOrderlyStop() {
        EXPECT_TRUE(hasEnded());
        EXPECT_EQ(words(), "up\nending\nstopped\n");
        EXPECT_EQ(m_program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(m_program.exitCode(), 0);
    }

    XServer m_server;
    SessionManager m_manager;
    QProcess m_program;

private:
    QByteArray m_words;
};

TEST_F(SessionEndTest, TheEndOfTheSessionStopsTheProgramInOrder) {
    m_manager.announceEnd();
    ASSERT_TRUE(waitUntil([this] { return m_manager.saves == 2; }));
    EXPECT_EQ(words(), "up\n");
    m_manager.tellToGo();
    expectOrderlyStop();
    EXPECT_TRUE(waitUntil([this] { return m_manager.farewells == 1; }));
}

TEST_F(SessionEndTest, ALogoutIsNeitherDelayedNorAskedAbout) {
    for (int round = 0; round < 3; ++round) {
        const int before = m_manager.saves;
        m_manager.announceEnd();
        ASSERT_TRUE(waitUntil([&] { return m_manager.saves == before + 1; }));
        m_manager.cancelEnd();
    }
    EXPECT_EQ(m_manager.dialogs, 0);
}

TEST_F(SessionEndTest, ALogoutThatIsCancelledLeavesItRunning) {
    m_manager.announceEnd();
    ASSERT_TRUE(waitUntil([this] { return m_manager.saves == 2; }));
    m_manager.cancelEnd();
    m_manager.announceEnd();
    ASSERT_TRUE(waitUntil([this] { return m_manager.saves == 3; }));
    EXPECT_EQ(m_program.state(), QProcess::Running);
    EXPECT_EQ(words(), "up\n");
    m_manager.tellToGo();
    expectOrderlyStop();
}

TEST_F(SessionEndTest, ItIsNeverRestartedByTheSessionManager) {
    EXPECT_EQ(m_manager.restartHint, SessionManager::restartNever);
    m_manager.restartHint = -1;
    m_manager.announceEnd();
    EXPECT_TRUE(
        waitUntil([this] { return m_manager.restartHint == SessionManager::restartNever; }));
}

TEST_F(SessionEndTest, AManagerThatSaysToGoWithoutWarningIsObeyed) {
    m_manager.tellToGo();
    expectOrderlyStop();
}

TEST_F(SessionEndTest, AManagerThatVanishesEndsTheSession) {
    m_manager.vanish();
    expectOrderlyStop();
}

TEST_F(SessionEndTest, AQuitOfTheProgramsOwnIsNotTheEndOfTheSession) {
    ::kill(pid_t(m_program.processId()), SIGTERM);
    EXPECT_TRUE(hasEnded());
    EXPECT_EQ(words(), "up\nsignal\nstopped\n");
}

} // namespace lumivane::test
