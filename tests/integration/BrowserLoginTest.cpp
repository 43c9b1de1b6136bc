// A login on the real mechanisms: a real browser, the desktop's opener, the real program as the
// handler of its scheme, a message bus, and a keyring.

#include "accounts/AuthClient.h"
#include "accounts/DeviceTakeover.h"
#include "accounts/KeychainCredentialStore.h"
#include "accounts/SystemDeviceIdentity.h"
#include "accounts/SystemWebAuthenticator.h"
#include "async/SystemClock.h"
#include "integration/LoginDesktop.h"
#include "platform/linux/BrowserWebSession.h"
#include "platform/linux/DesktopUrlOpener.h"
#include "platform/linux/QtHttpTransport.h"
#include "platform/linux/SecretServiceItemStore.h"
#include "platform/linux/SessionInstance.h"
#include "platform/linux/SystemRandomSource.h"
#include "support/FakeDeviceFacts.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"
#include "support/ScriptedLogins.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QThreadPool>

#include <gtest/gtest.h>

namespace lumivane {

using test::drainEvents;
using test::flagged;
using test::outcomeOf;
using test::ScriptedLogins;
using test::waitUntil;
using test::watch;
using State = AuthenticationState;
using namespace std::chrono_literals;

namespace {

constexpr auto longestLogin = 60s; // that of a browser's first start on a busy machine

constexpr auto strayLine = "Dropped a login callback that no login waits for";

} // namespace

class BrowserLoginTest : public testing::Test {
protected:
    BrowserLoginTest() {
        instance.onOpen = [this](const QStringList& urls) {
            opened += urls;
            for (const QString& url : urls) {
                session.deliver(url);
            }
        };
        if (instance.claim() != ApplicationInstance::Claim::granted) {
            throw std::runtime_error("another program has the place");
        }
        authorization.onTakeoverRequired = [this](const auto& required, AuthProvider provider,
                                                  std::uint64_t generation) {
            takeover.enter(required, provider, generation);
        };
        keeper.onForgetting = [this] { takeover.forget(); };
    }

    ~BrowserLoginTest() override {
        authenticator.cancel();
        drainEvents();
        pool.waitForDone();
    }

    std::shared_ptr<test::Outcome<bool>> begin() {
        return watch(flagged(authorization.authorize(AuthProvider::github, AuthIntent::signIn)));
    }

    void logIn() {
        const auto outcome = begin();
        ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }, longestLogin));
        ASSERT_TRUE(outcome->value);
    }

    /// What another program finds in the keyring.
    QByteArray storedSession() const {
        return desktop.keyring.readByTool(KeychainCredentialStore::service,
                                          KeychainCredentialStore::account);
    }

    void expectNothingOfItInLogs() const {
        for (const QByteArray& secret : logins.secrets()) {
            EXPECT_FALSE(log.holds(secret.toStdString())) << secret.toStdString();
        }
        EXPECT_FALSE(log.holds("handoff"));
        EXPECT_FALSE(log.holds("oauth"));
        EXPECT_FALSE(log.holds("refresh-0"));
        EXPECT_FALSE(log.holds("transaction-"));
    }

    SystemClock clock;
    test::LogCapture log;
    test::ScriptedAccountServer server{clock};
    ScriptedLogins logins{server, clock};
    test::LoginDesktop desktop{server.baseURL()};
    QStringList opened;

    QThreadPool pool;
    SystemRandomSource random;
    SecretServiceItemStore items{clock, pool};
    test::FakeDeviceFacts facts;
    QtHttpTransport transport{clock};
    DesktopUrlOpener opener{desktop.environment()};
    BrowserWebSession session{opener};
    SessionInstance instance{desktop.place(), desktop.bus.connect(), clock};

    AuthClient client{server.baseURL(), {}, transport};
    KeychainCredentialStore store{items};
    SystemWebAuthenticator authenticator{session, clock};
    SystemDeviceIdentity identity{{items, facts, random, clock, pool}};
    HandleAvailabilityChecker checker{clock};
    const AuthenticationPorts ports{client, store, authenticator, identity, checker, random, clock};
    AccountStatus status{State::signedOut()};
    SessionKeeper keeper{ports, status};
    AccountAuthorization authorization{ports, status, keeper};
    DeviceTakeover takeover{ports, status, keeper, authorization};
};

TEST_F(BrowserLoginTest, ALoginInTheBrowserEndsSignedInWithItsTokenInTheKeyring) {
    logIn();
    EXPECT_EQ(status.state(), State::signedIn(server.user()));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    // One page, one start of the program, and what it said came over the bus to this one.
    EXPECT_EQ(logins.pageCount(), 1U);
    EXPECT_EQ(desktop.handlerCount(), 1);
    EXPECT_EQ(opened,
              QStringList({u"com.marnoth.lumivane.oauth://callback?transaction_id=transaction-1"
                           u"&handoff_code=handoff%2F%2B%3D1"_qs}));
    EXPECT_TRUE(storedSession().contains(R"("refresh_token":"refresh-0")"));
    EXPECT_FALSE(storedSession().contains("access"));
    EXPECT_FALSE(storedSession().contains("pending_refresh_operation_id"));
    ASSERT_EQ(logins.machines().size(), 1U);
    EXPECT_EQ(logins.machines()[0].identifier.toUtf8(),
              desktop.keyring.readByTool(SystemDeviceIdentity::ordinaryService,
                                         SystemDeviceIdentity::account));
    EXPECT_GE(logins.machines()[0].identifier.size(), 32);
    expectNothingOfItInLogs();
}

TEST_F(BrowserLoginTest, AFreshStartFindsTheSessionAgain) {
    logIn();
    AccountStatus nextStatus;
    SessionKeeper next(ports, nextStatus);
    ASSERT_TRUE(outcomeOf(flagged(next.restore())).value);
    EXPECT_EQ(nextStatus.state(), State::signedIn(server.user()));
    EXPECT_EQ(server.refreshRequests().at(0).refreshToken, "refresh-0");
    EXPECT_TRUE(storedSession().contains(R"("refresh_token":"refresh-1")"));
}

TEST_F(BrowserLoginTest, AUserWhoDeclinesInTheBrowserIsSignedOutWithoutAWord) {
    logins.setPageEnd(ScriptedLogins::PageEnd::declined);
    logIn();
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(storedSession(), QByteArray());
    EXPECT_TRUE(logins.machines().empty());
}

TEST_F(BrowserLoginTest, APageThatFailsSaysSo) {
    logins.setPageEnd(ScriptedLogins::PageEnd::failed);
    logIn();
    EXPECT_EQ(status.state(),
              State::failed(u"Login is temporarily unavailable. Please try again."_qs));
    EXPECT_EQ(storedSession(), QByteArray());
}

TEST_F(BrowserLoginTest, ACallbackOfAnotherLoginIsRefused) {
    logins.setPageEnd(ScriptedLogins::PageEnd::foreign);
    logIn();
    EXPECT_EQ(status.state(),
              State::failed(u"The login response could not be verified. Please try again."_qs));
    EXPECT_TRUE(logins.machines().empty());
    EXPECT_EQ(storedSession(), QByteArray());
    expectNothingOfItInLogs();
}

TEST_F(BrowserLoginTest, AnotherMachinesAccountMovesHere) {
    logins.putAccountElsewhere(5min);
    logIn();
    ASSERT_TRUE(status.state().takeoverContext());
    EXPECT_EQ(status.state().takeoverContext()->currentDevice.name, u"Other"_qs);
    EXPECT_EQ(storedSession(), QByteArray());
    ASSERT_TRUE(outcomeOf(flagged(takeover.confirm())).value);
    EXPECT_EQ(status.state(), State::signedIn(server.user()));
    EXPECT_TRUE(storedSession().contains(R"("refresh_token":"refresh-0")"));
    ASSERT_EQ(logins.machines().size(), 2U);
    EXPECT_EQ(logins.machines()[0].identifier, logins.machines()[1].identifier);
    EXPECT_EQ(log.countStartingWith("Device takeover confirmed; this Mac now holds the account"),
              1);
    expectNothingOfItInLogs();
}

TEST_F(BrowserLoginTest, ATakeoverThatNobodyConfirmsCloses) {
    logins.putAccountElsewhere(1s);
    logIn();
    ASSERT_TRUE(status.state().takeoverContext());
    ASSERT_TRUE(waitUntil([this] { return status.state().is(State::Case::signedOut); }));
    EXPECT_EQ(status.errorMessage(), u"The confirmation window closed. Log in again to try."_qs);
    EXPECT_EQ(storedSession(), QByteArray());
}

TEST_F(BrowserLoginTest, WithTheKeyringGoneNothingIsHalfSignedIn) {
    const auto outcome = begin();
    desktop.keyring.kill();
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_EQ(status.state(), State::failed(*keyringAdvice(KeyringTrouble::missing)));
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    ASSERT_EQ(logins.machines().size(), 1U);
    EXPECT_TRUE(logins.machines()[0].identifier.isEmpty());
    EXPECT_EQ(log.countStartingWith("Device identity unavailable; completing the login without "
                                    "registering this Mac"),
              1);
}

TEST_F(BrowserLoginTest, ASecondLoginInTheBrowserTakesThePlaceOfTheFirst) {
    logins.setPageEnd(ScriptedLogins::PageEnd::nowhere);
    const auto first = begin();
    ASSERT_TRUE(waitUntil([this] { return logins.pageCount() == 1; }, longestLogin));
    logins.setPageEnd(ScriptedLogins::PageEnd::handoff);
    logIn();
    EXPECT_TRUE(first->value);
    EXPECT_EQ(status.state(), State::signedIn(server.user()));
    EXPECT_EQ(logins.transactionCount(), 2U);
}

// Addresses that nobody waits for

TEST_F(BrowserLoginTest, AnAddressWhileNoLoginWaitsIsDroppedWithoutItsContent) {
    const QString address = u"com.marnoth.lumivane.oauth://callback?transaction_id=canary"
                            u"&handoff_code=canary"_qs;
    EXPECT_EQ(desktop.open(address), 0);
    ASSERT_TRUE(waitUntil([this] { return !opened.isEmpty(); }));
    EXPECT_EQ(opened, QStringList({address}));
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, strayLine), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_TRUE(server.http().requests().empty());
}

TEST_F(BrowserLoginTest, HostileAddressesOverTheBusAreDroppedWithoutTheirContent) {
    const QStringList hostile{u"com.marnoth.lumivane.oauth://callback?canary"_qs,
                              u"COM.MARNOTH.LUMIVANE.OAUTH:canary"_qs,
                              u"file:///canary"_qs,
                              u"canary\n%s%n"_qs,
                              u"com.marnoth.lumivane.oauth:"_qs + QString(8000, u'c'),
                              QString(9000, u'c'),
                              QString()};
    auto connection = desktop.bus.connect();
    for (const QString& address : hostile) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(u"com.marnoth.Lumivane"_qs, u"/com/marnoth/Lumivane"_qs,
                                           u"org.freedesktop.Application"_qs, u"Open"_qs);
        call << QStringList{address} << QVariantMap();
        const auto reply = connection.asyncCall(call);
        ASSERT_TRUE(waitUntil([&] { return reply.isFinished(); }));
    }
    drainEvents();
    EXPECT_EQ(opened, hostile.first(5)); // the others are refused at the door
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard, strayLine), 1);
    EXPECT_EQ(log.lines().size(), 1U);
    EXPECT_FALSE(log.holds("canary"));
    EXPECT_FALSE(log.holds("ccc"));
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_TRUE(server.http().requests().empty());
}

TEST_F(BrowserLoginTest, AHostileAddressWhileALoginWaitsEndsItUnverified) {
    logins.setPageEnd(ScriptedLogins::PageEnd::nowhere);
    const auto outcome = begin();
    ASSERT_TRUE(waitUntil([this] { return logins.pageCount() == 1; }, longestLogin));
    desktop.open(u"com.marnoth.lumivane.oauth://callback?transaction_id=transaction-1"
                 u"&handoff_code=guess&x=canary"_qs);
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_EQ(status.state(),
              State::failed(u"The login response could not be verified. Please try again."_qs));
    EXPECT_TRUE(logins.machines().empty());
    EXPECT_FALSE(log.holds("canary"));
}

TEST_F(BrowserLoginTest, AGuessedCodeIsRefusedByTheService) {
    logins.setPageEnd(ScriptedLogins::PageEnd::nowhere);
    const auto outcome = begin();
    ASSERT_TRUE(waitUntil([this] { return logins.pageCount() == 1; }, longestLogin));
    desktop.open(u"com.marnoth.lumivane.oauth://callback?transaction_id=transaction-1"
                 u"&handoff_code=guess"_qs);
    ASSERT_TRUE(waitUntil([&] { return outcome->hasEnded(); }));
    EXPECT_EQ(status.state(), State::failed(u"Your session has expired. Please log in again."_qs));
    EXPECT_EQ(storedSession(), QByteArray());
}

} // namespace lumivane
