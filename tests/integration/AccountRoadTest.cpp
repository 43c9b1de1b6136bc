// An account's whole life: the client's parts on two machines against the real service, with a real
// browser in which somebody fills in the pages.

#include "accounts/HandleFormat.h"
#include "domain/LumivaneError.h"
#include "integration/AccountMachine.h"
#include "integration/LocalService.h"
#include "support/EventLoop.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <memory>

namespace lumivane {

using test::AccountMachine;
using test::BrowserHand;
using test::LocalService;
using test::waitUntil;
using Field = ProfileFieldState;
using Providers = std::vector<AuthProvider>;
using State = AuthenticationState;
using namespace std::chrono_literals;

namespace {

const QString words = u"Every library in town opens at nine in the morning."_qs;
const QString handle = u"ada.canary"_qs;
const QString takenHandle = u"Grace.Canary"_qs;

const QString logInTitle = u"Log in to Lumivane"_qs;
const QString linkTitle = u"Link Google to your account"_qs;
const QString deleteTitle = u"Confirm that it is you"_qs;

struct Person {
    QString name;
    QString email;
};

const Person ada{u"Ada Canary"_qs, u"ada@canary.example"_qs};
const Person grace{u"Grace Canary"_qs, u"grace@canary.example"_qs};

void expectTitle(BrowserHand& page, const QString& title) {
    EXPECT_TRUE(waitUntil([&] { return page.words().contains(title); }))
        << page.words().toStdString();
}

/// Says who one is, in the page that stands in for a provider.
AccountMachine::InPage as(const Person& person, const QString& title = logInTitle) {
    return [person, title](BrowserHand& page) {
        expectTitle(page, title);
        page.type(u"#name"_qs, person.name);
        page.type(u"#email"_qs, person.email);
        page.press(u"button[value=continue]"_qs);
    };
}

/// The same, and the browser remembers nobody afterwards.
AccountMachine::InPage asGuest(const Person& person) {
    return [person](BrowserHand& page) {
        page.press(u"#remember"_qs);
        as(person)(page);
    };
}

/// Presses the button with the name that the browser remembers.
AccountMachine::InPage asRemembered(const QString& title) {
    return [title](BrowserHand& page) {
        expectTitle(page, title);
        page.press(u"button[value=remembered]"_qs);
    };
}

/// Says that one is not who the browser remembers.
AccountMachine::InPage asAnother(const Person& person, const QString& title) {
    return [person, title](BrowserHand& page) {
        page.press(u"summary"_qs);
        as(person, title)(page);
    };
}

} // namespace

class AccountRoadTest : public testing::Test {
public:
    struct Station {
        const char* name;
        void (AccountRoadTest::*pass)();
    };

    static UserSummary userOf(const AccountMachine& machine) {
        return machine.status().state().user().value_or(UserSummary{});
    }

    static std::vector<QString> namesOfDevices(const AccountMachine& machine) {
        std::vector<QString> names;
        for (const LinkedDevice& device : machine.status().devices()) {
            names.push_back(device.name + (device.isCurrent ? u", here"_qs : QString()));
        }
        return names;
    }

    static void logIn(AccountMachine& machine, const AccountMachine::InPage& inPage) {
        ASSERT_TRUE(machine.runInBrowser(machine.program->signIn(AuthProvider::github), inPage));
    }

    /// Types a draft and waits for the field's word on it.
    static Field judged(AccountMachine& machine, const QString& draft) {
        machine.program->handleDraftChanged(draft);
        waitUntil([&] {
            const Field& shown = machine.status().handleState();
            return !shown.is(Field::Case::editing) && !shown.is(Field::Case::checking);
        });
        return machine.status().handleState();
    }

    static void takeHandle(AccountMachine& machine, const QString& wanted) {
        ASSERT_EQ(judged(machine, wanted), Field::available());
        ASSERT_TRUE(machine.run(machine.program->commitHandle(wanted)));
        EXPECT_EQ(machine.status().handleState(), Field::saved());
        EXPECT_EQ(userOf(machine).handle, wanted);
    }

    // The stations, in their order

    void somebodyElseHasAHandle() {
        notebook.sitDown();
        logIn(notebook, asGuest(grace));
        ASSERT_TRUE(notebook.program->isSignedIn());
        takeHandle(notebook, takenHandle);
    }

    void somebodyElseSignsOut() {
        EXPECT_TRUE(notebook.storedSession().contains("refresh_token"));
        ASSERT_TRUE(notebook.run(notebook.program->signOut()));
        EXPECT_EQ(notebook.status().state(), State::signedOut());
        EXPECT_EQ(notebook.status().errorMessage(), std::nullopt);
        EXPECT_EQ(notebook.storedSession(), QByteArray());
        EXPECT_NE(notebook.deviceIdentifier(), QByteArray());
    }

    void logsIn() {
        studio.sitDown();
        logIn(studio, as(ada));
        ASSERT_TRUE(studio.program->isSignedIn());
        const UserSummary user = userOf(studio);
        EXPECT_EQ(user.displayName, ada.name);
        EXPECT_EQ(user.verifiedEmail, ada.email);
        EXPECT_EQ(user.linkedProviders, Providers{AuthProvider::github});
        EXPECT_TRUE(HandleFormat::isWellFormed(user.handle)) << user.handle.toStdString();
        EXPECT_EQ(studio.desktop.handlerCount(), 1);
        EXPECT_TRUE(studio.storedSession().contains("refresh_token"));
        EXPECT_NE(studio.deviceIdentifier(), notebook.deviceIdentifier());
        EXPECT_EQ(studio.analyze(words, studio.token()).value.value_or(AnalyzeResponse{}).result,
                  words);
    }

    void seesItsOnlyMachine() {
        ASSERT_TRUE(studio.run(studio.program->loadDevices(Loading::again)));
        EXPECT_EQ(namesOfDevices(studio), std::vector{u"Studio, here"_qs});
    }

    void refreshes() {
        const SecretText before = studio.token();
        const QByteArray storedBefore = studio.storedSession();
        EXPECT_EQ(studio.token(), before);
        // No token is good for longer than a quarter of an hour.
        const SecretText after = studio.token(15min);
        EXPECT_FALSE(after == before);
        EXPECT_NE(studio.storedSession(), storedBefore);
        EXPECT_FALSE(studio.storedSession().contains("pending_refresh_operation_id"));
        EXPECT_TRUE(studio.analyze(words, after).value);
        EXPECT_TRUE(studio.program->isSignedIn());
    }

    void startsAgain() {
        const UserSummary before = userOf(studio);
        studio.restart();
        EXPECT_EQ(studio.status().state(), State::signedIn(before));
    }

    void linksAnotherProvider() {
        ASSERT_TRUE(studio.runInBrowser(studio.program->link(AuthProvider::google),
                                        asRemembered(linkTitle)));
        EXPECT_EQ(studio.status().errorMessage(), std::nullopt);
        EXPECT_EQ(userOf(studio).linkedProviders,
                  (Providers{AuthProvider::google, AuthProvider::github}));
    }

    void unlinksIt() {
        ASSERT_TRUE(studio.run(studio.program->unlink(AuthProvider::google)));
        EXPECT_EQ(studio.status().errorMessage(), std::nullopt);
        EXPECT_EQ(userOf(studio).linkedProviders, Providers{AuthProvider::github});
    }

    void changesTheDisplayName() {
        ASSERT_TRUE(studio.run(studio.program->commitDisplayName(u"  Countess Canary "_qs)));
        EXPECT_EQ(studio.status().displayNameState(), Field::saved());
        EXPECT_EQ(userOf(studio).displayName, u"Countess Canary"_qs);
    }

    void hasTheFilterOfHandles() {
        using Verdict = HandleLocalVerdict;
        service.ageHandleFilter();
        ASSERT_TRUE(studio.run(studio.program->primeHandleFilter(Loading::again)));
        ASSERT_TRUE(studio.checker.hasSnapshot());
        const auto version = studio.checker.snapshotVersion();
        const QString own = userOf(studio).handle;
        EXPECT_EQ(studio.checker.verdict(takenHandle.toLower(), own), Verdict::needsServerCheck);
        EXPECT_EQ(studio.checker.verdict(own, u"x"_qs), Verdict::needsServerCheck);
        EXPECT_EQ(studio.checker.verdict(handle, own), Verdict::available);
        // The service keeps to it when asked again.
        ASSERT_TRUE(studio.run(studio.program->primeHandleFilter(Loading::again)));
        EXPECT_EQ(studio.checker.snapshotVersion(), version);
    }

    void changesTheHandle() {
        EXPECT_EQ(judged(studio, u"no handle"_qs), Field::invalidFormat());
        EXPECT_EQ(judged(studio, u"admin"_qs), Field::reserved());
        EXPECT_EQ(judged(studio, u"@"_qs + takenHandle.toUpper()), Field::taken());
        takeHandle(studio, handle);
    }

    void theOtherMachineAsks() {
        firstToken = studio.token();
        notebook.sitDown();
        logIn(notebook, as(ada));
        const auto question = notebook.status().state().takeoverContext();
        ASSERT_TRUE(question);
        EXPECT_EQ(question->currentDevice.name, u"Studio"_qs);
        EXPECT_EQ(question->provider, AuthProvider::github);
        EXPECT_EQ(notebook.storedSession(), QByteArray());
        // A question moves nothing yet.
        EXPECT_TRUE(studio.analyze(words, firstToken).value);
    }

    void theOtherMachineTakesOver() {
        ASSERT_TRUE(notebook.run(notebook.program->confirmTakeover()));
        ASSERT_TRUE(notebook.program->isSignedIn());
        EXPECT_EQ(notebook.status().errorMessage(), std::nullopt);
        EXPECT_EQ(userOf(notebook).displayName, u"Countess Canary"_qs);
        EXPECT_EQ(userOf(notebook).handle, handle);
        EXPECT_TRUE(notebook.analyze(words, notebook.token()).value);
        ASSERT_TRUE(notebook.run(notebook.program->loadDevices(Loading::again)));
        EXPECT_THAT(namesOfDevices(notebook),
                    testing::UnorderedElementsAre(u"Notebook, here"_qs, u"Studio"_qs));
    }

    void theFirstMachineIsTold() {
        studio.sitDown();
        const auto refused = studio.analyze(words, firstToken).errorAs<LumivaneError>();
        ASSERT_TRUE(refused);
        EXPECT_EQ(*refused, LumivaneError(LumivaneError::Case::deviceEvicted));
        ASSERT_TRUE(studio.run(studio.program->signOutLocallyAfterEviction()));
        EXPECT_EQ(studio.status().state(), State::signedOut());
        EXPECT_EQ(studio.status().errorMessage(),
                  u"You signed in on another Mac. Lumivane is signed in there now."_qs);
        EXPECT_EQ(studio.storedSession(), QByteArray());
    }

    void nobodyElseDeletesTheAccount() {
        notebook.sitDown();
        ASSERT_TRUE(notebook.runInBrowser(notebook.program->deleteAccount(AuthProvider::github),
                                          asAnother(grace, deleteTitle)));
        EXPECT_NE(notebook.status().errorMessage(), std::nullopt);
        EXPECT_FALSE(notebook.status().deletionRetryAvailable());
        ASSERT_TRUE(notebook.program->isSignedIn());
        EXPECT_TRUE(notebook.analyze(words, notebook.token()).value);
    }

    void deletesTheAccount() {
        lastToken = notebook.token();
        ASSERT_TRUE(notebook.runInBrowser(notebook.program->deleteAccount(AuthProvider::github),
                                          asAnother(ada, deleteTitle)));
        EXPECT_EQ(notebook.status().state(), State::signedOut());
        EXPECT_EQ(notebook.status().errorMessage(), std::nullopt);
        EXPECT_FALSE(notebook.status().deletionRetryAvailable());
        EXPECT_EQ(notebook.storedSession(), QByteArray());
        EXPECT_EQ(notebook.analyze(words, lastToken).errorAs<LumivaneError>(),
                  LumivaneError(LumivaneError::Case::authenticationRequired));
    }

    void beginsAnew() {
        studio.sitDown();
        logIn(studio, asRemembered(logInTitle));
        ASSERT_TRUE(studio.program->isSignedIn());
        EXPECT_EQ(userOf(studio).displayName, ada.name);
        EXPECT_NE(userOf(studio).handle, handle);
        ASSERT_TRUE(studio.run(studio.program->loadDevices(Loading::again)));
        EXPECT_EQ(namesOfDevices(studio), std::vector{u"Studio, here"_qs});
        takeHandle(studio, handle);
    }

    void expectNothingOfItInLogs() const {
        const QByteArray served = service.log();
        EXPECT_TRUE(served.contains("route=analyze"));
        for (const char* secret :
             {"anary", "library", "handoff", "refresh_token", "oauth:", "Studio", "Notebook"}) {
            EXPECT_FALSE(served.contains(secret)) << secret;
            EXPECT_FALSE(log.holds(secret)) << secret;
        }
    }

    test::LogCapture log;
    LocalService service;
    AccountMachine studio{service.baseURL(), u"Studio"_qs};
    AccountMachine notebook{service.baseURL(), u"Notebook"_qs};
    SecretText firstToken;
    SecretText lastToken;
};

TEST_F(AccountRoadTest, AnAccountLivesFromItsFirstLoginToItsDeletion) {
    using Road = AccountRoadTest;
    const std::array stations{
        Station{"somebody else has a handle", &Road::somebodyElseHasAHandle},
        Station{"somebody else signs out", &Road::somebodyElseSignsOut},
        Station{"logs in", &Road::logsIn},
        Station{"sees its only machine", &Road::seesItsOnlyMachine},
        Station{"refreshes", &Road::refreshes},
        Station{"starts again", &Road::startsAgain},
        Station{"links another provider", &Road::linksAnotherProvider},
        Station{"unlinks it", &Road::unlinksIt},
        Station{"changes the display name", &Road::changesTheDisplayName},
        Station{"has the filter of handles", &Road::hasTheFilterOfHandles},
        Station{"changes the handle", &Road::changesTheHandle},
        Station{"the other machine asks", &Road::theOtherMachineAsks},
        Station{"the other machine takes over", &Road::theOtherMachineTakesOver},
        Station{"the first machine is told", &Road::theFirstMachineIsTold},
        Station{"nobody else deletes the account", &Road::nobodyElseDeletesTheAccount},
        Station{"deletes the account", &Road::deletesTheAccount},
        Station{"begins anew", &Road::beginsAnew},
    };
    for (const Station& station : stations) {
        SCOPED_TRACE(station.name);
        try {
            (this->*station.pass)();
        } catch (const std::exception& error) {
            FAIL() << error.what();
        }
        if (HasFailure()) {
            return;
        }
    }
    expectNothingOfItInLogs();
}

} // namespace lumivane
