#include "accounts/PKCE.h"
#include "accounts/SignInFixture.h"

namespace lumivane {

using test::drainEvents;
using Case = AuthenticationError::Case;
using State = AuthenticationState;
using namespace std::chrono_literals;
using testing::ElementsAre;

class AccountAuthorizationTest : public test::SignInFixture {};

// Signing in

TEST_F(AccountAuthorizationTest, SignedOutAuthorizingSignedIn) {
    authorize();
    EXPECT_THAT(states, ElementsAre(State::authorizing(AuthProvider::github), signedIn()));
    EXPECT_EQ(keeper.credentials(), service.login(1));
    EXPECT_EQ(keeper.storedSession(), storedFormOf(service.login(1)));
    EXPECT_EQ(status.errorMessage(), std::nullopt);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(AccountAuthorizationTest, FailedAuthorizingSignedIn) {
    status.setState(State::failed(u"That went wrong."_qs));
    states.clear();
    authorize(AuthIntent::signIn, AuthProvider::google);
    EXPECT_THAT(states, ElementsAre(State::authorizing(AuthProvider::google), signedIn()));
}

TEST_F(AccountAuthorizationTest, StepsComeInOrder) {
    authorize();
    EXPECT_EQ(
        journal.entries(),
        QStringList({u"authorizing"_qs, u"createTransaction"_qs, u"authenticate"_qs,
                     u"registration"_qs, u"complete"_qs, u"save"_qs, u"saved"_qs, u"signedIn"_qs}));
}

TEST_F(AccountAuthorizationTest, TheTransactionHoldsTheChallengeAndNoToken) {
    authorize(AuthIntent::signIn, AuthProvider::facebook);
    const auto& request = service.requests.at(0);
    EXPECT_EQ(request.provider, AuthProvider::facebook);
    EXPECT_EQ(request.intent, AuthIntent::signIn);
    EXPECT_EQ(request.token, QByteArray());
    const SecretText verifier(service.requests.at(1).codeVerifier);
    EXPECT_EQ(verifier.reveal().size(), 43);
    EXPECT_EQ(request.codeChallenge, PKCE::challenge(verifier));
}

TEST_F(AccountAuthorizationTest, TheBrowserGoesWhereTheTransactionSays) {
    const QUrl page(u"http://127.0.0.1:8787/elsewhere?x=1"_qs);
    service.transactionScript.answerWith({u"transaction-1"_qs, page, QDateTime()});
    authorize();
    EXPECT_THAT(web.pages, ElementsAre(page));
}

TEST_F(AccountAuthorizationTest, CompletionHoldsTheTransactionTheCodeAndThisMachine) {
    service.transactionScript.answerWith({u"t-9"_qs, QUrl(u"http://127.0.0.1/"_qs), QDateTime()});
    web.callback.answerWith(test::FakeWebAuthenticator::handoffCallback(u"t-9"_qs, u"code-7"_qs));
    authorize();
    const auto& request = service.requests.at(1);
    EXPECT_EQ(request.transactionID, u"t-9"_qs);
    EXPECT_EQ(request.handoffCode, "code-7");
    EXPECT_EQ(request.intent, AuthIntent::signIn);
    EXPECT_EQ(request.device, test::FakeDeviceIdentity::complete());
}

TEST_F(AccountAuthorizationTest, TheUserMayBeAskedToUnlockTheKeyring) {
    authorize();
    EXPECT_THAT(device.prompts, ElementsAre(UnlockPrompt::allowed));
    EXPECT_THAT(store.savePrompts, ElementsAre(UnlockPrompt::allowed));
}

TEST_F(AccountAuthorizationTest, EveryLoginHasAVerifierOfItsOwn) {
    authorize();
    authorize();
    const auto completions = service.requestsTo(u"complete"_qs);
    ASSERT_EQ(completions.size(), 2U);
    EXPECT_NE(completions[0].codeVerifier, completions[1].codeVerifier);
}

TEST_F(AccountAuthorizationTest, ASuccessTakesTheLastMessageAway) {
    status.setErrorMessage(textOf(Case::deviceEvicted));
    authorize();
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

TEST_F(AccountAuthorizationTest, NothingIsStoredBeforeACompleteAnswer) {
    service.completeScript.hold();
    const auto outcome = start();
    EXPECT_FALSE(journal.holds(u"save"_qs));
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    service.completeScript.release(0, AuthCompletion(service.login(3)));
    drainEvents();
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(store.stored, storedFormOf(service.login(3)));
}

TEST_F(AccountAuthorizationTest, NothingIsHeldBeforeItIsStored) {
    store.saveGate.hold();
    const auto outcome = start();
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::github));
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    EXPECT_EQ(keeper.storedSession(), std::nullopt);
    store.saveGate.release(0, true);
    drainEvents();
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_TRUE(outcome->value);
}

TEST_F(AccountAuthorizationTest, AStoreThatRefusesLeavesNoSession) {
    store.saveGate.failWith(Error(Case::unavailable));
    authorize();
    EXPECT_EQ(status.state(), State::failed(textOf(Case::unavailable)));
    EXPECT_EQ(keeper.credentials(), std::nullopt);
    EXPECT_EQ(keeper.storedSession(), std::nullopt);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

// This machine

TEST_F(AccountAuthorizationTest, ALoginGoesOnWithoutADevice) {
    device.script.failWith(Error(Case::unavailable));
    authorize();
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(service.requestsTo(u"complete"_qs).at(0).device, std::nullopt);
    EXPECT_EQ(log.count("lifecycle", LogLevel::standard,
                        "Device identity unavailable; completing the login without registering "
                        "this Mac"),
              1);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(AccountAuthorizationTest, AServiceThatInsistsOnADeviceSaysSo) {
    device.script.failWith(Error(Case::unavailable));
    service.completeScript.failWith(Error(Case::deviceRequired));
    authorize();
    EXPECT_EQ(status.state(), State::failed(textOf(Case::deviceRequired)));
}

TEST_F(AccountAuthorizationTest, AnIncompleteDeviceIsSentAsItIs) {
    device.script.answerWith({u"short"_qs, u"Studio"_qs, DeviceKind::unknown, QString()});
    authorize();
    EXPECT_EQ(service.requestsTo(u"complete"_qs).at(0).device->identifier, u"short"_qs);
    EXPECT_EQ(status.state(), signedIn());
}

// Linking

TEST_F(AccountAuthorizationTest, ALinkShowsTheNewProviders) {
    beSignedIn();
    service.user.linkedProviders = {AuthProvider::github, AuthProvider::google};
    service.completeScript.answerWith(service.login(5));
    authorize(AuthIntent::link, AuthProvider::google);
    EXPECT_THAT(status.state().user()->linkedProviders,
                ElementsAre(AuthProvider::github, AuthProvider::google));
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_EQ(store.stored, storedFormOf(service.login(5)));
    EXPECT_EQ(keeper.credentials(), service.login(5));
}

TEST_F(AccountAuthorizationTest, ALinkGoesOutWithTheAccessToken) {
    beSignedIn();
    authorize(AuthIntent::link, AuthProvider::google);
    const auto request = service.requestsTo(u"createTransaction"_qs).at(0);
    EXPECT_EQ(request.token, "access-0");
    EXPECT_EQ(request.intent, AuthIntent::link);
    EXPECT_EQ(service.requestsTo(u"complete"_qs).at(0).intent, AuthIntent::link);
    EXPECT_EQ(service.exchangeCount(), 0U);
}

TEST_F(AccountAuthorizationTest, ALinkRefreshesATokenThatIsNearItsEnd) {
    beSignedIn();
    clock.advance(840s);
    const auto outcome = start(AuthIntent::link, AuthProvider::google);
    EXPECT_TRUE(outcome->value);
    EXPECT_EQ(service.requestsTo(u"createTransaction"_qs).at(0).token, "access-1");
    EXPECT_EQ(service.exchangeCount(), 1U);
    // The refresh shows the user, and the login shows itself again.
    ASSERT_EQ(states.size(), 5U);
    EXPECT_EQ(states[0], State::authorizing(AuthProvider::google));
    EXPECT_EQ(states[1], State::refreshing());
    EXPECT_EQ(states[2], signedIn());
    EXPECT_EQ(states[3], State::authorizing(AuthProvider::google));
    EXPECT_EQ(states[4], signedIn());
}

TEST_F(AccountAuthorizationTest, AuthorizingShowsWhileAGoodTokenIsTaken) {
    beSignedIn();
    web.callback.hold();
    const auto outcome = start(AuthIntent::link, AuthProvider::google);
    EXPECT_EQ(status.state(), State::authorizing(AuthProvider::google));
    EXPECT_FALSE(outcome->hasEnded());
}

// Confirming who the user is

TEST_F(AccountAuthorizationTest, AProofIsHandedOn) {
    beSignedIn();
    service.completeScript.answerWith(proof());
    authorize(AuthIntent::deleteReauth);
    EXPECT_THAT(proofs, ElementsAre(proof()));
    EXPECT_THAT(proofGenerations, ElementsAre(keeper.generation()));
    EXPECT_EQ(deleteFailures, 0);
    EXPECT_FALSE(journal.holds(u"save"_qs));
    EXPECT_EQ(service.requestsTo(u"createTransaction"_qs).at(0).token, "access-0");
    EXPECT_EQ(service.requestsTo(u"createTransaction"_qs).at(0).intent, AuthIntent::deleteReauth);
}

TEST_F(AccountAuthorizationTest, AProofIsHandedOnOnceAndWaitedFor) {
    beSignedIn();
    service.completeScript.answerWith(proof());
    deletion.hold();
    const auto outcome = start(AuthIntent::deleteReauth);
    EXPECT_EQ(proofs.size(), 1U);
    EXPECT_FALSE(outcome->hasEnded());
    deletion.release(0, true);
    drainEvents();
    EXPECT_TRUE(outcome->value);
}

TEST_F(AccountAuthorizationTest, AProofThatEndsNowIsRefused) {
    beSignedIn();
    for (const auto lifetime : {0s, -1s}) {
        service.completeScript.answerWith(proof(lifetime));
        authorize(AuthIntent::deleteReauth);
    }
    EXPECT_TRUE(proofs.empty());
    EXPECT_EQ(deleteFailures, 2);
    service.completeScript.answerWith(proof(1s));
    authorize(AuthIntent::deleteReauth);
    EXPECT_EQ(proofs.size(), 1U);
}

TEST_F(AccountAuthorizationTest, ADeletionThatFailsIsSaidByTheDeletion) {
    beSignedIn();
    service.completeScript.answerWith(proof());
    deletion.failWith(Error(Case::unavailable));
    authorize(AuthIntent::deleteReauth);
    EXPECT_EQ(deleteFailures, 1);
    EXPECT_EQ(status.errorMessage(), std::nullopt);
}

// Completions that do not fit

TEST_F(AccountAuthorizationTest, AProofForASignInIsAnInvalidResponse) {
    service.completeScript.answerWith(proof());
    authorize();
    EXPECT_EQ(status.state(), State::failed(textOf(Case::invalidResponse)));
    EXPECT_TRUE(proofs.empty());
}

TEST_F(AccountAuthorizationTest, AProofForALinkIsAnInvalidResponse) {
    beSignedIn();
    service.completeScript.answerWith(proof());
    authorize(AuthIntent::link);
    EXPECT_EQ(status.errorMessage(), textOf(Case::invalidResponse));
    EXPECT_EQ(status.state(), signedIn());
    EXPECT_TRUE(proofs.empty());
}

TEST_F(AccountAuthorizationTest, ASessionForAReauthenticationIsNotTaken) {
    beSignedIn();
    const auto before = keeper.credentials();
    service.completeScript.answerWith(service.login(8));
    authorize(AuthIntent::deleteReauth);
    EXPECT_EQ(deleteFailures, 1);
    EXPECT_EQ(keeper.credentials(), before);
    EXPECT_FALSE(journal.holds(u"save"_qs));
}

} // namespace lumivane
