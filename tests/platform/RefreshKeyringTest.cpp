#include "RefreshProcessFixture.h"

#include <functional>

namespace lumivane {

using test::RefresherProcess;

/// The keyring fails in the middle of a refresh.
class RefreshKeyringTest : public test::RefreshProcessFixture {
protected:
    /// What a start ends in to which the keyring does `trouble` at a step.
    QByteArray startWith(const QString& step, const std::function<void()>& trouble) {
        RefresherProcess process(bus, start(step));
        EXPECT_TRUE(process.reaches(step.toLatin1()));
        trouble();
        process.goOn();
        return process.lastWord();
    }

    void restartKeyring() {
        keyring->kill();
        keyring->start();
    }

    /// The next start is signed in, and the service has exchanged once in all.
    void expectRecovery() {
        EXPECT_EQ(nextStart(), "access-1");
        EXPECT_EQ(server.exchangeCount(), 1U);
        EXPECT_EQ(stored(), "refresh-1");
    }
};

TEST_F(RefreshKeyringTest, WithoutTroubleAStartIsSignedIn) { expectRecovery(); }

TEST_F(RefreshKeyringTest, AKeyringThatIsLockedBeforeThePreWriteSendsNothing) {
    EXPECT_EQ(startWith(u"before-pre-write"_qs, [this] { keyring->lock(); }), "none");
    EXPECT_TRUE(server.refreshRequests().empty());
    restartKeyring();
    EXPECT_EQ(stored(), "refresh-0");
    expectRecovery();
}

TEST_F(RefreshKeyringTest, AKeyringThatIsLockedBeforeTheLastWriteKeepsTheOperation) {
    EXPECT_EQ(startWith(u"before-last-write"_qs, [this] { keyring->lock(); }), "none");
    restartKeyring();
    EXPECT_EQ(stored(), "refresh-0 pending");
    expectRecovery();
    EXPECT_EQ(server.refreshRequests()[0], server.refreshRequests()[1]);
}

TEST_F(RefreshKeyringTest, ALockedKeyringAtTheStartKeepsTheSession) {
    keyring->lock();
    EXPECT_EQ(nextStart(), "none");
    EXPECT_TRUE(server.refreshRequests().empty());
    restartKeyring();
    expectRecovery();
}

TEST_F(RefreshKeyringTest, AKeyringThatHangsBeforeThePreWriteSendsNothing) {
    std::unique_ptr<test::HeldProcess> held;
    EXPECT_EQ(startWith(u"before-pre-write"_qs,
                        [&] { held = std::make_unique<test::HeldProcess>(keyring->processID()); }),
              "none");
    EXPECT_TRUE(server.refreshRequests().empty());
    held.reset();
    expectRecovery();
}

TEST_F(RefreshKeyringTest, AKeyringThatHangsBeforeTheLastWriteLosesNothing) {
    std::unique_ptr<test::HeldProcess> held;
    EXPECT_EQ(startWith(u"before-last-write"_qs,
                        [&] { held = std::make_unique<test::HeldProcess>(keyring->processID()); }),
              "none");
    held.reset();
    const QByteArray next = nextStart();
    // The write that came too late may still have been done when the keyring ran again.
    EXPECT_TRUE(next == "access-1" || next == "access-2") << next.toStdString();
    EXPECT_EQ(stored(), "refresh-" + next.mid(7));
}

TEST_F(RefreshKeyringTest, AKeyringThatIsGoneBeforeThePreWriteSendsNothing) {
    EXPECT_EQ(startWith(u"before-pre-write"_qs, [this] { keyring->kill(); }), "none");
    EXPECT_TRUE(server.refreshRequests().empty());
    keyring->start();
    expectRecovery();
}

TEST_F(RefreshKeyringTest, AKeyringThatIsGoneBeforeTheLastWriteKeepsTheOperation) {
    EXPECT_EQ(startWith(u"before-last-write"_qs, [this] { keyring->kill(); }), "none");
    keyring->start();
    EXPECT_EQ(stored(), "refresh-0 pending");
    expectRecovery();
}

TEST_F(RefreshKeyringTest, AKeyringThatIsRestartedDuringTheRequestTakesTheLastWrite) {
    EXPECT_EQ(startWith(u"answered"_qs, [this] { restartKeyring(); }), "access-1");
    EXPECT_EQ(stored(), "refresh-1");
    EXPECT_EQ(server.exchangeCount(), 1U);
}

TEST_F(RefreshKeyringTest, AKeyringThatIsRestartedBeforeThePreWriteTakesIt) {
    EXPECT_EQ(startWith(u"before-pre-write"_qs, [this] { restartKeyring(); }), "access-1");
    EXPECT_EQ(stored(), "refresh-1");
    EXPECT_EQ(server.exchangeCount(), 1U);
}

} // namespace lumivane
