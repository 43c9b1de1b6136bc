#include "provisional/AccountWindow.h"

#include "accounts/KeychainCredentialStore.h"
#include "async/TaskHandle.h"
#include "support/EventLoop.h"
#include "support/FakeAuthService.h"
#include "support/FakeCredentialStore.h"
#include "support/FakeDeviceIdentity.h"
#include "support/FakeRandomSource.h"
#include "support/FakeSecretItemStore.h"
#include "support/FakeWebAuthenticator.h"
#include "support/ManualClock.h"

#include <QMessageBox>

#include <gmock/gmock.h>

#include <functional>
#include <utility>

namespace lumivane::test {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class AccountWindowTest : public testing::Test {
protected:
    ~AccountWindowTest() override { drainEvents(); }

    AccountWindowTest() {
        service.providersScript.answerWith(
            {AuthProvider::google, AuthProvider::facebook, AuthProvider::github});
    }

    void open(const AuthenticationSeeds& seeds = {}) {
        account.emplace(ports, AuthenticationStart::signedOut, seeds);
        window.emplace(*account);
        window->present();
        drainEvents();
    }

    void openSignedIn() {
        AuthenticationSeeds seeds;
        seeds.user = service.user;
        seeds.user->linkedProviders = {AuthProvider::github, AuthProvider::google};
        open(seeds);
    }

    /// Everything that stands in the window now.
    std::string words() const {
        QStringList texts;
        for (const QLabel* label : window->findChildren<QLabel*>()) {
            if (label->isVisible()) {
                texts.append(label->text());
            }
        }
        for (const QLineEdit* field : window->findChildren<QLineEdit*>()) {
            if (field->isVisible()) {
                texts.append(field->text());
            }
        }
        return texts.join(u'\n').toStdString();
    }

    QPushButton* button(const QString& text) const {
        for (QPushButton* button : window->findChildren<QPushButton*>()) {
            if (button->isVisible() && button->text() == text) {
                return button;
            }
        }
        return nullptr;
    }

    void press(const QString& text) {
        QPushButton* found = button(text);
        ASSERT_NE(found, nullptr) << text.toStdString();
        found->click();
        drainEvents();
    }

    QLineEdit* fieldWith(const QString& text) const {
        for (QLineEdit* field : window->findChildren<QLineEdit*>()) {
            if (field->text() == text) {
                return field;
            }
        }
        return nullptr;
    }

    static void run(std::function<QCoro::Task<void>()> flow) {
        TaskHandle::detach([flow = std::move(flow)](std::stop_token) { return flow(); });
        drainEvents();
    }

    /// The button of a question that stands over the window.
    QAbstractButton* choice(const QString& text) const {
        const auto* question = window->findChild<QMessageBox*>();
        if (question != nullptr) {
            for (QAbstractButton* button : question->buttons()) {
                if (button->text() == text) {
                    return button;
                }
            }
        }
        return nullptr;
    }

    static void commit(QLineEdit* field) {
        Q_EMIT field->returnPressed();
        drainEvents();
    }

    std::vector<QString> asked() const {
        std::vector<QString> operations;
        for (const auto& request : service.requests) {
            operations.push_back(request.operation);
        }
        return operations;
    }

    Journal journal;
    ManualClock clock;
    FakeAuthService service{journal, clock};
    FakeCredentialStore store{journal};
    FakeWebAuthenticator web{journal};
    FakeDeviceIdentity device{journal};
    FakeRandomSource random;
    HandleAvailabilityChecker checker{clock};
    AuthenticationPorts ports{service, store, web, device, checker, random, clock};
    std::optional<AuthenticationCoordinator> account;
    std::optional<AccountWindow> window;
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

TEST_F(AccountWindowTest, ATakeoverNamesTheOtherMachineAndWaitsForTheChoice) {
    AuthenticationSeeds seeds;
    seeds.takeover = {
        .ticket = SecretText("ticket"),
        .expiresAt = clock.wallNow().addSecs(300),
        .provider = AuthProvider::github,
        .currentDevice = {u"<b>Old</b>"_qs, DeviceKind::desktop, std::nullopt, std::nullopt}};
    open(seeds);
    EXPECT_THAT(words(), HasSubstr("Lumivane is signed in on <b>Old</b>."));
    press(u"Cancel"_qs);
    EXPECT_NE(button(u"Continue with GitHub"_qs), nullptr);
    EXPECT_THAT(asked(), Not(testing::Contains(u"takeover"_qs)));
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

TEST_F(AccountWindowTest, WithAnOldTokenTheHandleFilterIsAskedForOnceToo) {
    store.stored = service.session();
    account.emplace(ports);
    window.emplace(*account);
    run([this] { return account->restore(); });
    clock.advance(service.accessLifetime);
    service.refreshFailure = AuthenticationError(AuthenticationError::Case::unavailable);
    service.requests.clear();
    window->present();
    drainEvents();
    EXPECT_LE(service.requestsTo(u"refresh"_qs).size(), 2U);
}

TEST_F(AccountWindowTest, ALoginInTheOpenWindowBringsItsDevicesAndTheHandleFilter) {
    open();
    service.completeScript.answerWith(service.login(0));
    press(u"Continue with GitHub"_qs);
    EXPECT_EQ(service.requestsTo(u"devices"_qs).size(), 1U);
    EXPECT_EQ(service.requestsTo(u"handleFilter"_qs).size(), 1U);
}

TEST_F(AccountWindowTest, ASessionThatCouldNotBeRestoredCanBeTriedAgain) {
    store.stored = service.session();
    service.refreshFailure = AuthenticationError(AuthenticationError::Case::unavailable);
    account.emplace(ports);
    window.emplace(*account);
    window->show();
    EXPECT_THAT(words(), HasSubstr("Restoring your session…"));
    run([this] { return account->restore(); });
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

TEST_F(AccountWindowTest, ANameIsSavedByReturn) {
    openSignedIn();
    UserSummary renamed = service.user;
    renamed.displayName = u"Ada L."_qs;
    service.profileScript.answerWith(renamed);
    QLineEdit* field = fieldWith(u"Ada"_qs);
    ASSERT_NE(field, nullptr);
    field->setText(u"Ada L."_qs);
    commit(field);
    EXPECT_EQ(service.requests.back().displayName, u"Ada L.");
    EXPECT_THAT(words(), HasSubstr("Saved"));
}

TEST_F(AccountWindowTest, AHandleIsJudgedWhileItIsTyped) {
    openSignedIn();
    QLineEdit* field = fieldWith(u"ada"_qs);
    ASSERT_NE(field, nullptr);
    field->setText(u"root"_qs);
    Q_EMIT field->textEdited(u"root"_qs);
    drainEvents();
    EXPECT_THAT(words(), HasSubstr("That handle is reserved"));
    commit(field);
    EXPECT_THAT(words(), HasSubstr("Reverted to @ada"));
    EXPECT_EQ(field->text(), u"ada");
}

TEST_F(AccountWindowTest, UnlinkingAsksFirst) {
    openSignedIn();
    service.unlinkScript.answerWith(service.user);
    press(u"Unlink Google"_qs);
    EXPECT_THAT(asked(), Not(testing::Contains(u"unlink"_qs)));
    const auto* question = window->findChild<QMessageBox*>();
    ASSERT_NE(question, nullptr);
    for (QAbstractButton* choice : question->buttons()) {
        if (question->buttonRole(choice) == QMessageBox::AcceptRole) {
            choice->click();
        }
    }
    drainEvents();
    EXPECT_EQ(service.requests.back().operation, u"unlink");
    EXPECT_NE(button(u"Link Google"_qs), nullptr);
    EXPECT_FALSE(button(u"Unlink GitHub"_qs)->isEnabled());
}

TEST_F(AccountWindowTest, DeletionAsksFirstAndWithWhichLogin) {
    openSignedIn();
    press(u"Delete account"_qs);
    const auto* question = window->findChild<QMessageBox*>();
    ASSERT_NE(question, nullptr);
    EXPECT_EQ(question->buttons().size(), 3);
    EXPECT_THAT(asked(), Not(testing::Contains(u"createTransaction"_qs)));
}

TEST_F(AccountWindowTest, ADeletionThatFailedBehindItsProofCanBeTriedAgain) {
    openSignedIn();
    service.completeScript.answerWith(
        DeleteReauthentication{SecretText("proof-1"), clock.wallNow().addSecs(300)});
    service.deleteScript.failWith(AuthenticationError(AuthenticationError::Case::unavailable));
    press(u"Delete account"_qs);
    QAbstractButton* verify = choice(u"Verify with GitHub"_qs);
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

} // namespace lumivane::test
