#include "accounts/SignInFixture.h"

namespace lumivane {

using test::FakeWebAuthenticator;
using Case = AuthenticationError::Case;
using State = AuthenticationState;
using namespace std::chrono_literals;
using testing::ElementsAre;

/// How each step's failure ends, for each of the three intents.
class AccountAuthorizationFailureTest : public test::SignInFixture {
protected:
    void comeBackWith(const QString& url) { web.callback.answerWith(url); }

    /// The login ended with this error and with nobody signed in.
    void expectFailed(Case errorCase) {
        EXPECT_EQ(status.state(), State::failed(textOf(errorCase)));
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        expectNothingHeld();
    }

    void expectSignedOutSilently() {
        EXPECT_EQ(status.state(), State::signedOut());
        EXPECT_EQ(status.errorMessage(), std::nullopt);
        expectNothingHeld();
    }

    void expectNothingHeld() {
        EXPECT_EQ(keeper.credentials(), std::nullopt);
        EXPECT_EQ(store.stored, std::nullopt);
        EXPECT_FALSE(journal.holds(u"save"_qs));
    }

    /// Whoever was signed in still is, with what they had.
    void expectStillSignedIn(const std::optional<QString>& message) {
        EXPECT_EQ(status.state(), signedIn());
        EXPECT_EQ(status.errorMessage(), message);
        EXPECT_EQ(keeper.credentials(), service.login(0));
        EXPECT_EQ(store.stored, storedFormOf(service.login(0)));
    }
};

// Each step of a sign-in

TEST_F(AccountAuthorizationFailureTest, WithoutRandomBytesNothingGoesOut) {
    random.isEmpty = true;
    authorize();
    expectFailed(Case::unavailable);
    EXPECT_TRUE(service.requests.empty());
    EXPECT_THAT(states, ElementsAre(State::authorizing(AuthProvider::github),
                                    State::failed(textOf(Case::unavailable))));
}

TEST_F(AccountAuthorizationFailureTest, ATransactionThatFailsOpensNoPage) {
    service.transactionScript.failWith(Error(Case::unavailable));
    authorize();
    expectFailed(Case::unavailable);
    EXPECT_TRUE(web.pages.empty());
}

TEST_F(AccountAuthorizationFailureTest, ATransactionWithAnInvalidAnswerSaysSo) {
    service.transactionScript.failWith(Error(Case::invalidResponse));
    authorize();
    expectFailed(Case::invalidResponse);
}

TEST_F(AccountAuthorizationFailureTest, APageThatNothingShowsSaysSo) {
    web.callback.failWith(Error(Case::unavailable));
    authorize();
    expectFailed(Case::unavailable);
    EXPECT_FALSE(journal.holds(u"registration"_qs));
}

TEST_F(AccountAuthorizationFailureTest, APageThatEndsWithoutAnAddressIsAnInvalidCallback) {
    web.callback.failWith(Error(Case::invalidCallback));
    authorize();
    expectFailed(Case::invalidCallback);
}

TEST_F(AccountAuthorizationFailureTest, ACompletionThatFailsSaysWhy) {
    for (const auto errorCase :
         {Case::unavailable, Case::expiredSession, Case::invalidResponse, Case::deviceRequired,
          Case::identityAlreadyLinked, Case::providerAlreadyLinked}) {
        service.completeScript.failWith(Error(errorCase));
        authorize();
        expectFailed(errorCase);
    }
}

TEST_F(AccountAuthorizationFailureTest, AnErrorWithoutWordsIsAnOutage) {
    service.completeScript.failWith(std::runtime_error("canary"));
    authorize();
    expectFailed(Case::unavailable);
}

TEST_F(AccountAuthorizationFailureTest, AuthorizingUserCancelsSignedOut) {
    web.callback.failWith(Error(Case::cancelled));
    authorize();
    expectSignedOutSilently();
    EXPECT_THAT(states, ElementsAre(State::authorizing(AuthProvider::github), State::signedOut()));
}

TEST_F(AccountAuthorizationFailureTest, ALoginThatIsGivenUpKeepsTheLastMessage) {
    status.setErrorMessage(textOf(Case::deviceEvicted));
    web.callback.failWith(Error(Case::cancelled));
    authorize();
    EXPECT_EQ(status.errorMessage(), textOf(Case::deviceEvicted));
}

TEST_F(AccountAuthorizationFailureTest, AKeyringThatTakesNoLoginIsNamed) {
    for (const auto trouble : {KeyringTrouble::missing, KeyringTrouble::locked}) {
        store.saveGate.failWith(Error(Case::unavailable, trouble));
        authorize();
        EXPECT_EQ(status.state(), State::failed(*keyringAdvice(trouble)));
        EXPECT_EQ(keeper.credentials(), std::nullopt);
        EXPECT_EQ(store.stored, std::nullopt);
    }
}

TEST_F(AccountAuthorizationFailureTest, AKeyringThatDoesNotSayWhichMachineThisIsIsNamed) {
    device.script.failWith(Error(Case::unavailable, KeyringTrouble::missing));
    service.completeScript.failWith(Error(Case::deviceRequired));
    authorize();
    EXPECT_EQ(status.state(), State::failed(*keyringAdvice(KeyringTrouble::missing)));
    // Of anything else that the service says the keyring is not the reason.
    service.completeScript.failWith(Error(Case::identityAlreadyLinked));
    authorize();
    expectFailed(Case::identityAlreadyLinked);
    device.script.answerWith(test::FakeDeviceIdentity::complete());
    service.completeScript.failWith(Error(Case::deviceRequired));
    authorize();
    expectFailed(Case::deviceRequired);
}

TEST_F(AccountAuthorizationFailureTest, ANewLoginTakesAMessageAboutTheKeyringAway) {
    status.setErrorMessage(keyringAdvice(KeyringTrouble::missing));
    web.callback.failWith(Error(Case::cancelled));
    authorize();
    expectSignedOutSilently();
}

TEST_F(AccountAuthorizationFailureTest, AFailureCanBeTriedAgain) {
    service.completeScript.failWith(Error(Case::unavailable));
    authorize();
    service.completeScript.answerWith(service.login(1));
    authorize();
    EXPECT_EQ(status.state(), signedIn());
}

// What comes back from the page

TEST_F(AccountAuthorizationFailureTest, EveryWrongCallbackIsRefusedAndCompletesNothing) {
    const QString good = FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs);
    const QString query = u"transaction_id=transaction-1&handoff_code=code"_qs;
    const QString front = u"com.marnoth.lumivane.oauth://"_qs;
    const QStringList wrong{
        QString(),
        u"https://callback?"_qs + query,
        u"com.marnoth.lumivane.oauths://callback?"_qs + query,
        front + u"elsewhere?"_qs + query,
        front + u"callback/x?"_qs + query,
        front + u"user@callback?"_qs + query,
        front + u"user:word@callback?"_qs + query,
        front + u"callback:443?"_qs + query,
        good + u"#x"_qs,
        good + u"#"_qs,
        front + u"callback"_qs,
        front + u"callback?"_qs,
        good + u"&x=1"_qs,
        good + u"&"_qs,
        front + u"callback?handoff_code=code"_qs,
        front + u"callback?transaction_id=transaction-1"_qs,
        front + u"callback?transaction_id=transaction-1&transaction_id=transaction-1"_qs,
        front + u"callback?handoff_code=code&handoff_code=code"_qs,
        front + u"callback?transaction_id=transaction-1&code=code"_qs,
        front + u"callback?transaction_id=transaction-1&handoff_code="_qs,
        front + u"callback?transaction_id=transaction-1&handoff_code"_qs,
        front + u"callback?transaction_id=transaction-1&error="_qs,
        front + u"callback?transaction_id=transaction-1&Handoff_code=code"_qs,
        front + u"callback?error=access_denied&handoff_code=code"_qs,
        FakeWebAuthenticator::handoffCallback(u"transaction-2"_qs),
        FakeWebAuthenticator::handoffCallback(QString()),
        FakeWebAuthenticator::errorCallback(u"transaction-2"_qs, u"access_denied"_qs),
    };
    for (const QString& url : wrong) {
        SCOPED_TRACE(url.toStdString());
        comeBackWith(url);
        authorize();
        expectFailed(Case::invalidCallback);
    }
    EXPECT_FALSE(journal.holds(u"registration"_qs));
    EXPECT_FALSE(journal.holds(u"complete"_qs));
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(AccountAuthorizationFailureTest, APathOfOneSlashIsNone) {
    comeBackWith(u"com.marnoth.lumivane.oauth://callback/?handoff_code=c&transaction_id="
                 u"transaction-1"_qs);
    authorize();
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(service.requestsTo(u"complete"_qs).at(0).handoffCode, "c");
}

TEST_F(AccountAuthorizationFailureTest, APageThatSaysTheUserDeclinedIsSilent) {
    for (const auto& word : {u"access_denied"_qs, u"cancelled"_qs, u"authorization_cancelled"_qs}) {
        comeBackWith(FakeWebAuthenticator::errorCallback(u"transaction-1"_qs, word));
        authorize();
        expectSignedOutSilently();
    }
}

TEST_F(AccountAuthorizationFailureTest, APageWithAnotherErrorIsAnOutage) {
    comeBackWith(FakeWebAuthenticator::errorCallback(u"transaction-1"_qs, u"server_error"_qs));
    authorize();
    expectFailed(Case::unavailable);
    EXPECT_EQ(status.state().message(), u"Login is temporarily unavailable. Please try again."_qs);
}

// Each step of a link

TEST_F(AccountAuthorizationFailureTest, ALinkThatFailsAtAnyStepLeavesTheUserSignedIn) {
    beSignedIn();
    random.isEmpty = true;
    authorize(AuthIntent::link);
    expectStillSignedIn(textOf(Case::unavailable));
    random.isEmpty = false;

    service.transactionScript.failWith(Error(Case::expiredSession));
    authorize(AuthIntent::link);
    expectStillSignedIn(textOf(Case::expiredSession));
    service.transactionScript.answerWith({u"transaction-1"_qs, QUrl(u"http://a/"_qs), {}});

    comeBackWith(u"com.marnoth.lumivane.oauth://callback"_qs);
    authorize(AuthIntent::link);
    expectStillSignedIn(textOf(Case::invalidCallback));
    comeBackWith(FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs));

    for (const auto errorCase : {Case::identityAlreadyLinked, Case::providerAlreadyLinked}) {
        service.completeScript.failWith(Error(errorCase));
        authorize(AuthIntent::link);
        expectStillSignedIn(textOf(errorCase));
    }
    EXPECT_FALSE(journal.holds(u"save"_qs));
}

TEST_F(AccountAuthorizationFailureTest, ALinkThatCannotBeStoredKeepsTheSessionBefore) {
    beSignedIn();
    store.saveGate.failWith(Error(Case::unavailable));
    authorize(AuthIntent::link);
    expectStillSignedIn(textOf(Case::unavailable));
    EXPECT_EQ(keeper.storedSession()->refreshToken, SecretText("refresh-0"));
}

TEST_F(AccountAuthorizationFailureTest, ALinkWithoutARefreshKeepsItsUser) {
    beSignedIn();
    clock.advance(850s);
    service.refreshFailure = Error(Case::unavailable);
    authorize(AuthIntent::link);
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(status.errorMessage(), textOf(Case::unavailable));
    EXPECT_FALSE(journal.holds(u"createTransaction"_qs));
}

TEST_F(AccountAuthorizationFailureTest, ALinkWhoseRefreshIsRefusedEndsSignedOut) {
    beSignedIn();
    clock.advance(850s);
    service.refreshFailure = Error(Case::expiredSession);
    authorize(AuthIntent::link);
    EXPECT_EQ(status.state(), State::signedOut());
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_FALSE(journal.holds(u"createTransaction"_qs));
}

TEST_F(AccountAuthorizationFailureTest, ALinkWithoutAnySessionFails) {
    authorize(AuthIntent::link);
    EXPECT_EQ(status.state(), State::failed(textOf(Case::expiredSession)));
    EXPECT_TRUE(service.requests.empty());
    EXPECT_TRUE(store.saves.empty());
}

TEST_F(AccountAuthorizationFailureTest, ALinkThatIsGivenUpSaysNothing) {
    beSignedIn();
    web.callback.failWith(Error(Case::cancelled));
    authorize(AuthIntent::link);
    expectStillSignedIn(std::nullopt);
    EXPECT_THAT(states, testing::Contains(State::authorizing(AuthProvider::github)));
}

TEST_F(AccountAuthorizationFailureTest, ALinkThatMeetsAnotherMachineStaysSignedIn) {
    beSignedIn();
    service.completeScript.answerWith(question());
    authorize(AuthIntent::link);
    expectStillSignedIn(textOf(Case::deviceTakeoverRequired));
    EXPECT_EQ(log.countStartingWith("Login needs a device takeover"), 0);
}

TEST_F(AccountAuthorizationFailureTest, ALinkThatMeetsAnEndedTakeoverIsAnInvalidResponse) {
    beSignedIn();
    service.completeScript.answerWith(question(0s));
    authorize(AuthIntent::link);
    expectStillSignedIn(textOf(Case::invalidResponse));
}

// Each step of a re-authentication

TEST_F(AccountAuthorizationFailureTest, AReauthenticationThatFailsIsSaidByTheDeletion) {
    beSignedIn();
    random.isEmpty = true;
    authorize(AuthIntent::deleteReauth);
    EXPECT_EQ(deleteFailures, 1);
    random.isEmpty = false;

    service.transactionScript.failWith(Error(Case::unavailable));
    authorize(AuthIntent::deleteReauth);
    EXPECT_EQ(deleteFailures, 2);
    service.transactionScript.answerWith({u"transaction-1"_qs, QUrl(u"http://a/"_qs), {}});

    comeBackWith(FakeWebAuthenticator::errorCallback(u"transaction-1"_qs, u"server_error"_qs));
    authorize(AuthIntent::deleteReauth);
    EXPECT_EQ(deleteFailures, 3);
    comeBackWith(FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs));

    for (const auto errorCase : {Case::reauthenticationFailed, Case::unavailable}) {
        service.completeScript.failWith(Error(errorCase));
        authorize(AuthIntent::deleteReauth);
    }
    EXPECT_EQ(deleteFailures, 5);

    service.completeScript.answerWith(question());
    authorize(AuthIntent::deleteReauth);
    EXPECT_EQ(deleteFailures, 6);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_FALSE(status.state().takeoverContext());
    EXPECT_TRUE(proofs.empty());
}

TEST_F(AccountAuthorizationFailureTest, AReauthenticationThatIsGivenUpSaysNothing) {
    beSignedIn();
    web.callback.failWith(Error(Case::cancelled));
    authorize(AuthIntent::deleteReauth);
    comeBackWith(FakeWebAuthenticator::errorCallback(u"transaction-1"_qs, u"access_denied"_qs));
    authorize(AuthIntent::deleteReauth);
    expectStillSignedIn(std::nullopt);
    EXPECT_EQ(deleteFailures, 0);
}

// Logs

TEST_F(AccountAuthorizationFailureTest, NoLineHoldsAnythingOfALogin) {
    service.transactionScript.answerWith(
        {u"canary-t"_qs, QUrl(u"http://127.0.0.1/canary-page"_qs), QDateTime()});
    device.script.failWith(Error(Case::unavailable));
    DeviceTakeoverRequired required = question(1min, "canary-ticket");
    required.currentDevice.name = u"canary-name"_qs;
    service.completeScript.answerWith(required);
    comeBackWith(FakeWebAuthenticator::handoffCallback(u"canary-t"_qs, u"canary-code"_qs));
    authorize();
    comeBackWith(FakeWebAuthenticator::errorCallback(u"canary-t"_qs, u"canary-error"_qs));
    authorize();
    comeBackWith(u"canary:x"_qs);
    authorize();
    EXPECT_FALSE(log.lines().empty());
    EXPECT_FALSE(log.holds("canary"));
    EXPECT_FALSE(log.holds(service.requestsTo(u"complete"_qs).at(0).codeVerifier.toStdString()));
}

} // namespace lumivane
