#include "accounts/SystemWebAuthenticator.h"

#include "accounts/AuthenticationError.h"
#include "support/EventLoop.h"
#include "support/FakeWebSession.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace lumivane {

using namespace std::chrono_literals;
using test::drainEvents;
using Case = AuthenticationError::Case;

class SystemWebAuthenticatorTest : public testing::Test {
protected:
    ~SystemWebAuthenticatorTest() override {
        source.request_stop();
        drainEvents();
    }

    auto start(const QUrl& page = QUrl(u"https://login.example/a?b=c"_qs)) {
        auto outcome = test::watch(authenticator->authenticate(page, source.get_token()));
        drainEvents();
        return outcome;
    }

    static std::optional<Case> errorOf(const test::Outcome<QString>& outcome) {
        const auto error = outcome.errorAs<AuthenticationError>();
        return error ? std::optional(error->errorCase) : std::nullopt;
    }

    static std::string droppedLine() { return "Dropped a login callback that no login waits for"; }

    test::LogCapture log;
    test::ManualClock clock;
    test::FakeWebSession session;
    std::stop_source source;
    std::unique_ptr<SystemWebAuthenticator> authenticator =
        std::make_unique<SystemWebAuthenticator>(session, clock);
    const QString callback = u"com.marnoth.lumivane.oauth://callback?x"_qs;
};

TEST_F(SystemWebAuthenticatorTest, TheAddressThatIsCaughtComesBackToTheLetter) {
    const auto outcome = start();
    EXPECT_EQ(session.pages(), QList<QUrl>{QUrl(u"https://login.example/a?b=c"_qs)});
    EXPECT_EQ(session.callbackScheme(), u"com.marnoth.lumivane.oauth");
    EXPECT_FALSE(outcome->hasEnded());
    const QString url = u"COM.marnoth.lumivane.oauth://x@y:z/%zz?\u00E4#"_qs;
    session.deliver(url);
    drainEvents();
    EXPECT_EQ(outcome->value, url);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(SystemWebAuthenticatorTest, AUserWhoClosesThePageCancels) {
    const auto outcome = start();
    session.end({WebSessionEnd::Kind::cancelledByUser, QString()});
    drainEvents();
    EXPECT_EQ(errorOf(*outcome), Case::cancelled);
    EXPECT_FALSE(session.isWaiting());
}

TEST_F(SystemWebAuthenticatorTest, AnEndWithoutAnAddressCannotBeVerified) {
    const auto failed = start();
    session.end({WebSessionEnd::Kind::failed, QString()});
    drainEvents();
    EXPECT_EQ(errorOf(*failed), Case::invalidCallback);

    const auto empty = start();
    session.end({WebSessionEnd::Kind::callback, QString()});
    drainEvents();
    EXPECT_EQ(errorOf(*empty), Case::invalidCallback);
}

TEST_F(SystemWebAuthenticatorTest, APageThatDoesNotStartIsUnavailable) {
    session.startsPages = false;
    EXPECT_EQ(errorOf(*start()), Case::unavailable);
    session.startsPages = true;
    const auto again = start();
    session.deliver(callback);
    drainEvents();
    EXPECT_EQ(again->value, callback);
}

TEST_F(SystemWebAuthenticatorTest, OnlyAPageOfTheWebIsOpened) {
    for (const auto* page : {"file:///etc/passwd", "javascript:alert(1)", "ftp://login.example/",
                             "com.marnoth.lumivane.oauth://callback", "https:///a", "", "login"}) {
        EXPECT_EQ(errorOf(*start(QUrl(QString::fromLatin1(page)))), Case::unavailable) << page;
    }
    EXPECT_TRUE(session.pages().isEmpty());
    EXPECT_EQ(clock.timerCount(), 0U);
    const auto plain = start(QUrl(u"http://127.0.0.1:8080/login"_qs));
    EXPECT_FALSE(plain->hasEnded());
    EXPECT_EQ(session.pages().size(), 1);
}

TEST_F(SystemWebAuthenticatorTest, CancellingTheFlowIsNoErrorAndClosesThePage) {
    const auto outcome = start();
    source.request_stop();
    EXPECT_FALSE(session.isWaiting());
    drainEvents();
    EXPECT_TRUE(outcome->isCancelled);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SystemWebAuthenticatorTest, AFlowCancelledBeforeOpensNothing) {
    source.request_stop();
    EXPECT_TRUE(start()->isCancelled);
    EXPECT_TRUE(session.pages().isEmpty());
}

TEST_F(SystemWebAuthenticatorTest, CancelEndsTheLogin) {
    const auto outcome = start();
    authenticator->cancel();
    EXPECT_FALSE(session.isWaiting());
    drainEvents();
    EXPECT_EQ(errorOf(*outcome), Case::cancelled);
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SystemWebAuthenticatorTest, CancelWithoutALoginIsHarmless) {
    authenticator->cancel();
    authenticator->cancel();
    const auto outcome = start();
    EXPECT_FALSE(outcome->hasEnded());
    session.deliver(callback);
    drainEvents();
    authenticator->cancel();
    EXPECT_EQ(outcome->value, callback);
}

TEST_F(SystemWebAuthenticatorTest, ASecondLoginTakesThePlaceOfTheFirst) {
    const auto first = start();
    const auto second = start(QUrl(u"https://login.example/second"_qs));
    EXPECT_EQ(errorOf(*first), Case::cancelled);
    EXPECT_FALSE(second->hasEnded());
    EXPECT_EQ(clock.timerCount(), 1U);
    session.deliver(callback);
    drainEvents();
    EXPECT_EQ(second->value, callback);
}

TEST_F(SystemWebAuthenticatorTest, AnAttemptThatIsRefusedEndsTheLoginBeforeTooAndLeavesNothing) {
    const auto first = start();
    EXPECT_EQ(errorOf(*start(QUrl(u"file:///etc/passwd"_qs))), Case::unavailable);
    EXPECT_EQ(errorOf(*first), Case::cancelled);
    EXPECT_FALSE(session.isWaiting());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SystemWebAuthenticatorTest, ALoginThatNobodyFinishesEndsByItself) {
    const auto outcome = start();
    clock.advance(10min - 1ns);
    EXPECT_FALSE(outcome->hasEnded());
    clock.advance(1ns);
    drainEvents();
    EXPECT_EQ(errorOf(*outcome), Case::cancelled);
    EXPECT_FALSE(session.isWaiting());
    EXPECT_EQ(clock.timerCount(), 0U);
}

TEST_F(SystemWebAuthenticatorTest, TheLimitOfOneLoginIsNotThatOfTheNext) {
    start();
    clock.advance(9min);
    const auto second = start();
    clock.advance(9min);
    EXPECT_FALSE(second->hasEnded());
}

TEST_F(SystemWebAuthenticatorTest, ACallbackThatNobodyWaitsForIsDroppedWithoutItsContent) {
    session.deliver(u"com.marnoth.lumivane.oauth://callback?handoff_code=canary"_qs);
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, droppedLine()), 1);

    const auto outcome = start();
    session.deliver(callback);
    session.deliver(u"com.marnoth.lumivane.oauth://callback?handoff_code=canary"_qs);
    drainEvents();
    EXPECT_EQ(outcome->value, callback);
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, droppedLine()), 2);
    EXPECT_EQ(log.lines().size(), 2U);
    EXPECT_FALSE(log.holds("canary"));
}

TEST_F(SystemWebAuthenticatorTest, CallbacksWithoutEndAreCountedAndNotLogged) {
    for (int index = 0; index < 1000; ++index) {
        session.deliver(callback);
    }
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, droppedLine()), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    start();
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, "Dropped more login callbacks; count=999"),
              1);
    authenticator->cancel();
    session.deliver(callback);
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, droppedLine()), 2);
    start();
    EXPECT_EQ(log.lines().size(), 3U); // one alone needs no count
}

TEST_F(SystemWebAuthenticatorTest, ACallbackAfterTheEndOfALoginIsDropped) {
    start();
    authenticator->cancel();
    session.deliver(callback);
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, droppedLine()), 1);
}

TEST_F(SystemWebAuthenticatorTest, AnotherSchemeIsDroppedAndTheLoginGoesOn) {
    const auto outcome = start();
    session.deliver(u"https://login.example/canary"_qs);
    drainEvents();
    EXPECT_FALSE(outcome->hasEnded());
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, droppedLine()), 1);
    EXPECT_FALSE(log.holds("canary"));
}

TEST_F(SystemWebAuthenticatorTest, ItsEndIsTheEndOfTheLogin) {
    const auto outcome = start();
    authenticator.reset();
    drainEvents();
    EXPECT_EQ(errorOf(*outcome), Case::cancelled);
    session.deliver(callback);
    EXPECT_TRUE(log.lines().empty());
}

} // namespace lumivane
