#include "provisional/DevelopmentSession.h"

#include "accounts/AuthenticationError.h"
#include "async/Cancelled.h"
#include "async/TaskHandle.h"
#include "support/EventLoop.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

namespace lumivane {

class DevelopmentSessionTest : public testing::Test {
protected:
    void write(const QByteArray& contents) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
    }

    static QCoro::Task<void> fetch(DevelopmentSession* session, std::optional<SecretText>* token,
                                   std::optional<AuthenticationError>* failure) {
        try {
            *token = co_await session->validAccessToken(std::chrono::seconds(60), {});
        } catch (const AuthenticationError& error) {
            *failure = error;
        }
    }

    void fetchToken() {
        token.reset();
        failure.reset();
        TaskHandle::detach([this](std::stop_token) { return fetch(&session, &token, &failure); });
        test::drainEvents();
    }

    QTemporaryDir folder;
    QString path = folder.filePath(u"token"_qs);
    DevelopmentSession session{path};
    std::optional<SecretText> token;
    std::optional<AuthenticationError> failure;
};

TEST_F(DevelopmentSessionTest, TheTokenIsTheFilesText) {
    write("abc.def\n");
    fetchToken();
    EXPECT_EQ(token, SecretText("abc.def"));
}

TEST_F(DevelopmentSessionTest, AMissingOrEmptyFileIsUnavailable) {
    fetchToken();
    EXPECT_EQ(failure, AuthenticationError(AuthenticationError::Case::unavailable));
    write(" \n");
    fetchToken();
    EXPECT_EQ(failure, AuthenticationError(AuthenticationError::Case::unavailable));
}

TEST_F(DevelopmentSessionTest, ARefusedTokenEndsTheSessionAndTells) {
    int cleared = 0;
    session.onSessionCleared = [&cleared] { ++cleared; };
    EXPECT_TRUE(session.isSignedIn());
    TaskHandle::detach([this](std::stop_token) { return session.signOutLocallyAfterEviction(); });
    test::drainEvents();
    EXPECT_FALSE(session.isSignedIn());
    EXPECT_EQ(cleared, 1);
}

} // namespace lumivane
