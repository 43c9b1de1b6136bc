#include "accounts/KeychainCredentialStore.h"
#include "domain/StrictJson.h"
#include "provisional/AccountWindowFixture.h"
#include "support/FakeSecretItemStore.h"

#include <QProgressBar>

namespace lumivane::test {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

class AccountWindowTest : public AccountWindowFixture {
protected:
    using Case = AuthenticationError::Case;

    /// A login has met the account on another machine.
    void openTakeover() {
        AuthenticationSeeds seeds;
        seeds.takeover = {
            .ticket = SecretText("ticket"),
            .expiresAt = clock.wallNow().addSecs(300),
            .provider = AuthProvider::github,
            .currentDevice = {u"<b>Old</b>"_qs, DeviceKind::desktop, std::nullopt, std::nullopt}};
        open(seeds);
    }
};

TEST_F(AccountWindowTest, SignedOutOffersEveryProviderAndOneOfThemLogsIn) {
    open();
    EXPECT_EQ(window->windowTitle(), u"Log in to Lumivane");
    EXPECT_NE(button(u"Continue with Google"_qs), nullptr);
    EXPECT_NE(button(u"Continue with Facebook"_qs), nullptr);
    service.completeScript.answerWith(service.login(0));
    press(u"Continue with GitHub"_qs);
    EXPECT_EQ(window->windowTitle(), u"Lumivane account");
    EXPECT_THAT(words(), HasSubstr("Ada"));
}

TEST_F(AccountWindowTest, TheFirstProviderHasTheFocus) {
    open();
    EXPECT_TRUE(waitUntil([this] {
        return window->focusWidget() != nullptr &&
               window->focusWidget() == button(u"Continue with Google"_qs);
    }));
}

TEST_F(AccountWindowTest, AServiceThatIsAwayCanBeAskedAgain) {
    service.providersScript.failWith(AuthenticationError(AuthenticationError::Case::unavailable));
    open();
    EXPECT_THAT(words(), HasSubstr("Login providers are temporarily unavailable."));
    service.providersScript.answerWith({AuthProvider::github});
    press(u"Retry"_qs);
    EXPECT_NE(button(u"Continue with GitHub"_qs), nullptr);
    EXPECT_EQ(button(u"Continue with Google"_qs), nullptr);
}

TEST_F(AccountWindowTest, AFailedLoginSaysWhy) {
    open();
    service.completeScript.failWith(AuthenticationError(AuthenticationError::Case::deviceRequired));
    press(u"Continue with GitHub"_qs);
    EXPECT_THAT(words(), HasSubstr("Lumivane could not identify this Mac."));
    EXPECT_NE(button(u"Continue with GitHub"_qs), nullptr);
}

TEST_F(AccountWindowTest, AFailedLoginSpeaksBeforeWhatWasSaidEarlier) {
    openSignedIn();
    service.logoutScript.failWith(AuthenticationError(Case::unavailable));
    service.revokeScript.failWith(AuthenticationError(Case::unavailable));
    press(u"Sign out"_qs);
    ASSERT_THAT(words(), HasSubstr("Server revocation could not be confirmed"));
    service.completeScript.failWith(AuthenticationError(Case::deviceRequired));
    press(u"Continue with GitHub"_qs);
    EXPECT_THAT(words(), HasSubstr("Lumivane could not identify this Mac."));
    EXPECT_THAT(words(), Not(HasSubstr("Server revocation")));
}

// A login under way

TEST_F(AccountWindowTest, ALoginUnderWaySaysWhereItGoesOnAndCanBeGivenUp) {
    open();
    web.callback.ignoreStops();
    web.callback.hold();
    press(u"Continue with GitHub"_qs);
    EXPECT_THAT(words(), HasSubstr("Waiting for GitHub…\nFinish in your browser."));
    EXPECT_EQ(window->windowTitle(), u"Log in to Lumivane");
    press(u"Cancel"_qs);
    EXPECT_NE(button(u"Continue with GitHub"_qs), nullptr);
    EXPECT_EQ(button(u"Cancel"_qs), nullptr);
    EXPECT_EQ(account->errorMessage(), std::nullopt);
    web.callback.release(0, FakeWebAuthenticator::handoffCallback(u"transaction-1"_qs));
    drainEvents();
    EXPECT_THAT(asked(), Not(Contains(u"complete"_qs)));
    EXPECT_EQ(window->windowTitle(), u"Log in to Lumivane");
}

TEST_F(AccountWindowTest, ALinkThatIsGivenUpLeadsBackToTheAccount) {
    openSignedIn();
    web.callback.hold();
    press(u"Link Facebook"_qs);
    EXPECT_THAT(words(), HasSubstr("Waiting for Facebook…"));
    EXPECT_FALSE(account->isSignedIn());
    press(u"Cancel"_qs);
    EXPECT_TRUE(account->isSignedIn());
    EXPECT_NE(button(u"Link Facebook"_qs), nullptr);
}

TEST_F(AccountWindowTest, ADeletionThatIsGivenUpLeadsBackToTheAccount) {
    openSignedIn();
    service.transactionScript.hold();
    press(u"Delete account"_qs);
    choice(u"Verify account"_qs)->click();
    drainEvents();
    press(u"Cancel"_qs);
    EXPECT_TRUE(account->isSignedIn());
    EXPECT_EQ(account->errorMessage(), std::nullopt);
    EXPECT_TRUE(web.pages.empty());
}

TEST_F(AccountWindowTest, TheKeyThatBeginsALoginDoesNotGiveItUp) {
    open();
    web.callback.hold();
    for (const int round : {0, 1}) {
        button(u"Continue with Google"_qs)->setFocus();
        strike(Qt::Key_Space);
        strike(Qt::Key_Space);
        EXPECT_THAT(words(), HasSubstr("Waiting for Google…")) << round;
        button(u"Cancel"_qs)->setFocus();
        strike(Qt::Key_Space);
        EXPECT_NE(button(u"Continue with Google"_qs), nullptr) << round;
    }
}

TEST_F(AccountWindowTest, WhileTheTokenIsRenewedTheWindowKeepsItsNameAndOffersNothing) {
    openRestored();
    clock.advance(service.accessLifetime);
    service.refreshAnswer.hold();
    run([this] { return account->loadDevices(Loading::again); });
    EXPECT_THAT(words(), HasSubstr("Restoring your session…"));
    EXPECT_EQ(window->windowTitle(), u"Lumivane account");
    EXPECT_EQ(button(u"Cancel"_qs), nullptr);
    service.refreshAnswer.release(0, true);
    drainEvents();
    EXPECT_NE(button(u"Sign out"_qs), nullptr);
}

// A takeover

TEST_F(AccountWindowTest, ATakeoverUnderWayCannotBeConfirmedTwice) {
    openTakeover();
    const auto* progress = window->findChild<QProgressBar*>();
    EXPECT_FALSE(progress->isVisible());
    service.takeoverScript.hold();
    press(u"Continue"_qs);
    EXPECT_FALSE(button(u"Continue"_qs)->isEnabled());
    EXPECT_TRUE(progress->isVisible());
    press(u"Continue"_qs);
    EXPECT_EQ(service.requestsTo(u"takeover"_qs).size(), 1U);
    service.takeoverScript.release(0, service.login(0));
    drainEvents();
    EXPECT_EQ(window->windowTitle(), u"Lumivane account");
}

TEST_F(AccountWindowTest, ATakeoverNamesTheOtherMachineAndWaitsForTheChoice) {
    openTakeover();
    EXPECT_EQ(window->windowTitle(), u"Log in to Lumivane");
    EXPECT_THAT(words(), HasSubstr("Lumivane is signed in on <b>Old</b>."));
    EXPECT_THAT(words(), HasSubstr("Your settings follow you to this Mac. Lumivane will also add "
                                   "itself to this Mac's login items."));
    press(u"Cancel"_qs);
    EXPECT_NE(button(u"Continue with GitHub"_qs), nullptr);
    EXPECT_THAT(asked(), Not(Contains(u"takeover"_qs)));
}

TEST_F(AccountWindowTest, AnOutageIsMetOnceAndNotAgainAtEveryChangeOfTheState) {
    AuthenticationSeeds seeds;
    seeds.credentials = service.login(0);
    clock.advance(service.accessLifetime);
    service.refreshFailure = AuthenticationError(AuthenticationError::Case::unavailable);
    open(seeds);
    EXPECT_EQ(service.requestsTo(u"refresh"_qs).size(), 1U);
    EXPECT_THAT(words(), HasSubstr("Devices are temporarily unavailable."));
    EXPECT_EQ(window->windowTitle(), u"Lumivane account");
}

TEST_F(AccountWindowTest, ALoginInTheOpenWindowBringsItsDevicesAndTheHandleFilter) {
    open();
    service.completeScript.answerWith(service.login(0));
    press(u"Continue with GitHub"_qs);
    EXPECT_EQ(service.requestsTo(u"devices"_qs).size(), 1U);
    EXPECT_EQ(service.requestsTo(u"handleFilter"_qs).size(), 1U);
}

TEST_F(AccountWindowTest, WithAnOldTokenTheHandleFilterIsAskedForOnceToo) {
    store.stored = service.session();
    account.emplace(ports);
    window.emplace(*account);
    run([this] { return account->restore(); });
    clock.advance(service.accessLifetime);
    service.refreshFailure = AuthenticationError(Case::unavailable);
    service.requests.clear();
    window->present();
    drainEvents();
    EXPECT_EQ(service.requestsTo(u"refresh"_qs).size(), 2U) << "the devices' and the filter's";
    service.refreshFailure.reset();
    service.requests.clear();
    press(u"Try again"_qs);
    EXPECT_EQ(service.requestsTo(u"devices"_qs).size(), 1U);
    EXPECT_TRUE(service.requestsTo(u"handleFilter"_qs).empty());
}

// Devices

TEST_F(AccountWindowTest, DevicesThatAreThereFromTheStartAreShown) {
    AuthenticationSeeds seeds;
    seeds.user = service.user;
    seeds.devices.emplace(2);
    seeds.devices->at(0).name = u"Studio"_qs;
    seeds.devices->at(0).isCurrent = true;
    seeds.devices->at(1).name = u"Notebook"_qs;
    open(seeds);
    EXPECT_THAT(words(), HasSubstr("Studio · THIS MAC\nNotebook"));
    EXPECT_THAT(words(), HasSubstr("Your account is signed in on one Mac at a time."));
    EXPECT_EQ(button(u"Try again"_qs), nullptr);
}

TEST_F(AccountWindowTest, DevicesThatCouldNotBeHadAreAskedForAgain) {
    service.devicesScript.failWith(AuthenticationError(Case::unavailable));
    openSignedIn();
    EXPECT_THAT(words(), HasSubstr("Devices are temporarily unavailable."));
    service.devicesScript.hold();
    press(u"Try again"_qs);
    EXPECT_THAT(words(), HasSubstr("Checking your device…\nLoading your devices…"));
    EXPECT_EQ(button(u"Try again"_qs), nullptr);
    service.devicesScript.release(0, LinkedDeviceList());
    drainEvents();
    EXPECT_THAT(words(), HasSubstr("No device is linked yet."));
}

TEST_F(AccountWindowTest, ALoadThatEndsWithoutAResultPromisesNoneAndCanBeRepeated) {
    service.devicesScript.failWith(Cancelled{});
    openSignedIn();
    EXPECT_THAT(words(), Not(HasSubstr("Loading your devices…")));
    service.devicesScript.answerWith(LinkedDeviceList());
    press(u"Try again"_qs);
    EXPECT_THAT(words(), HasSubstr("No device is linked yet."));
}

// The start and the end

TEST_F(AccountWindowTest, ASessionThatCouldNotBeRestoredCanBeTriedAgain) {
    service.refreshFailure = AuthenticationError(Case::unavailable);
    restore();
    EXPECT_THAT(words(), HasSubstr("Lumivane could not restore your session."));
    service.refreshFailure.reset();
    press(u"Retry session restore"_qs);
    EXPECT_EQ(window->windowTitle(), u"Lumivane account");
}

TEST_F(AccountWindowTest, AKeyringThatIsMissingOrLockedIsNamedWhereverItIsMissed) {
    FakeSecretItemStore items;
    KeychainCredentialStore keyring(items);
    AuthenticationPorts inKeyring{service, keyring, web, device, checker, random, clock};
    for (const auto& [status, expected] :
         {std::pair(SecretItemStatus::unavailable, "No keyring answers on this desktop."),
          std::pair(SecretItemStatus::interactionNotAllowed, "Your keyring is locked")}) {
        items.copyFailure = items.updateFailure = status;
        account.emplace(inKeyring);
        window.emplace(*account);
        window->present();
        run([this] { return account->restore(); });
        EXPECT_THAT(words(), HasSubstr("Lumivane could not restore your session."));
        EXPECT_THAT(words(), HasSubstr(expected));
        items.copyFailure.reset();
        press(u"Retry session restore"_qs);
        EXPECT_THAT(words(), Not(HasSubstr("keyring")));
        // It comes and goes; the next login finds it gone.
        service.completeScript.answerWith(service.login(0));
        press(u"Continue with GitHub"_qs);
        EXPECT_THAT(words(), HasSubstr(expected));
        window.reset();
        account.reset();
    }
}

TEST_F(AccountWindowTest, NothingIsSqueezedInASmallWindow) {
    openSignedIn();
    window->resize(460, 200);
    drainEvents();
    for (const char16_t* text : {u"Link Facebook", u"Unlink GitHub", u"Sign out"}) {
        const QPushButton* each = button(QString::fromUtf16(text));
        ASSERT_NE(each, nullptr);
        EXPECT_GE(each->height(), each->sizeHint().height());
    }
}

TEST_F(AccountWindowTest, TheStartSaysWhatItDoesAndOffersNothing) {
    account.emplace(ports);
    window.emplace(*account);
    window->show();
    EXPECT_THAT(words(), HasSubstr("Restoring your session…"));
    EXPECT_THAT(words(), Not(HasSubstr("Finish in your browser.")));
    EXPECT_EQ(button(u"Cancel"_qs), nullptr);
    EXPECT_EQ(window->windowTitle(), u"Lumivane account");
}

TEST_F(AccountWindowTest, ASessionThatCannotBeReadIsLeftBySigningOut) {
    store.loadGate.failWith(DecodingError(DecodingError::Reason::malformed));
    restore();
    press(u"Retry session restore"_qs);
    EXPECT_THAT(words(), HasSubstr("Your saved session is still secure"));
    press(u"Sign out"_qs);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(store.clearPrompts, std::vector{UnlockPrompt::allowed});
    run([this] { return account->loadProviders(Loading::again); });
    EXPECT_NE(button(u"Continue with GitHub"_qs), nullptr);
}

TEST_F(AccountWindowTest, ASessionWhoseServiceStaysAwayIsLeftBySigningOut) {
    service.refreshFailure = AuthenticationError(Case::unavailable);
    restore();
    press(u"Sign out"_qs);
    EXPECT_EQ(store.stored, std::nullopt);
    EXPECT_EQ(service.requestsTo(u"revoke"_qs).size(), 1U);
    EXPECT_EQ(window->windowTitle(), u"Log in to Lumivane");
}

TEST_F(AccountWindowTest, DeletionAsksFirstAndNamesTheLogin) {
    openSignedIn();
    press(u"Delete account"_qs);
    const auto* question = window->findChild<QMessageBox*>();
    ASSERT_NE(question, nullptr);
    EXPECT_EQ(question->text(),
              u"To delete your Lumivane account, verify the linked GitHub account you used to sign "
              "in. Your provider may ask you to choose an account or sign in again."_qs);
    EXPECT_NE(choice(u"Verify account"_qs), nullptr);
    EXPECT_THAT(asked(), Not(Contains(u"createTransaction"_qs)));
}

TEST_F(AccountWindowTest, OfSeveralLoginsOneIsChosenForTheDeletion) {
    openSignedIn();
    auto* logins = window->findChild<QComboBox*>();
    ASSERT_TRUE(logins != nullptr && logins->isVisible());
    logins->setCurrentText(u"Verify with Google"_qs);
    press(u"Delete account"_qs);
    choice(u"Verify account"_qs)->click();
    drainEvents();
    EXPECT_EQ(service.requestsTo(u"createTransaction"_qs).at(0).provider, AuthProvider::google);
}

TEST_F(AccountWindowTest, OnlyLoginsThatAreOfferedAreThereForTheDeletion) {
    service.providersScript.answerWith({AuthProvider::facebook});
    openRestored();
    EXPECT_FALSE(button(u"Delete account"_qs)->isEnabled());
    EXPECT_FALSE(window->findChild<QComboBox*>()->isVisible());
    service.providersScript.answerWith({AuthProvider::facebook, AuthProvider::github});
    run([this] { return account->loadProviders(Loading::again); });
    EXPECT_TRUE(button(u"Delete account"_qs)->isEnabled());
    EXPECT_FALSE(window->findChild<QComboBox*>()->isVisible()) << "there is no choice";
}

TEST_F(AccountWindowTest, ADeletionThatFailedBehindItsProofCanBeTriedAgain) {
    openSignedIn();
    service.completeScript.answerWith(
        DeleteReauthentication{SecretText("proof-1"), clock.wallNow().addSecs(300)});
    service.deleteScript.failWith(AuthenticationError(Case::unavailable));
    press(u"Delete account"_qs);
    QAbstractButton* verify = choice(u"Verify account"_qs);
    ASSERT_NE(verify, nullptr);
    verify->click();
    drainEvents();
    EXPECT_EQ(service.requestsTo(u"createTransaction"_qs).at(0).intent, AuthIntent::deleteReauth);
    EXPECT_THAT(words(), HasSubstr("Retry before the confirmation expires."));
    service.deleteScript.answerWith(true);
    press(u"Retry account deletion"_qs);
    EXPECT_EQ(service.requestsTo(u"deleteAccount"_qs).size(), 2U);
    EXPECT_EQ(window->windowTitle(), u"Log in to Lumivane");
}

TEST_F(AccountWindowTest, SigningOutLeavesNothingOfTheUserInSight) {
    openSignedIn();
    EXPECT_THAT(words(), HasSubstr("ada@example.com"));
    press(u"Sign out"_qs);
    EXPECT_THAT(words(), Not(HasSubstr("ada")));
    EXPECT_EQ(window->windowTitle(), u"Log in to Lumivane");
}

TEST_F(AccountWindowTest, AQuestionGoesWithTheSessionThatItIsAbout) {
    for (const QString& opener : {u"Unlink Google"_qs, u"Delete account"_qs}) {
        openSignedIn();
        press(opener);
        ASSERT_TRUE(isAsking());
        TaskHandle::detach(
            [this](std::stop_token) { return account->signOutLocallyAfterEviction(); });
        drainEvents();
        EXPECT_FALSE(isAsking());
        EXPECT_THAT(words(), HasSubstr("You signed in on another Mac."));
        EXPECT_THAT(asked(),
                    Not(testing::AnyOf(Contains(u"unlink"_qs), Contains(u"createTransaction"_qs))));
    }
}

} // namespace lumivane::test
