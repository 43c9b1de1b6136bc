// The login of the program itself: what a user of it sees begin and end.

#include "accounts/KeychainCredentialStore.h"
#include "integration/LoginDesktop.h"
#include "support/AccessibilityBus.h"
#include "support/AtspiReader.h"
#include "support/EventLoop.h"
#include "support/ScriptedLogins.h"
#include "support/SignedInHome.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace lumivane::test {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

namespace {

const QByteArray healthy = R"({"status":"ok","version":"1"})";
const QByteArray answered = R"({"request_id":"r-1","result":"canary-answer","result_kind":"text"})";

void collectWords(const AccessibleNode& node, std::vector<QString>& words) {
    if (node.is(AccessibleState::showing)) {
        words.push_back(node.name);
        words.push_back(node.text.value_or(QString()));
    }
    for (const AccessibleNode& child : node.children) {
        collectWords(child, words);
    }
}

const AccessibleNode* findShown(const AccessibleNode& node, const QString& role,
                                const QString& name) {
    if (node.role == role && node.name == name && node.is(AccessibleState::showing)) {
        return &node;
    }
    for (const AccessibleNode& child : node.children) {
        if (const AccessibleNode* found = findShown(child, role, name)) {
            return found;
        }
    }
    return nullptr;
}

/// The program as its user sees it, by way of assistive technology.
class SeenProgram {
public:
    /// The home has this session bus.
    SeenProgram(LumivaneHome& home, PrivateBus& bus, const XServer& display)
        : m_display(display)
        , m_accessibility(bus) {
        home.environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_qs, u"1"_qs);
        AppSettings settings;
        settings.configured = true;
        settings.activationMode = ActivationMode::hotkey;
        settings.analysisMode = AnalysisMode::hyperAccurate;
        settings.keepUntilDismissed = true;
        home.store(settings);
    }

    void start(const LumivaneHome& home, const QByteArray& signedIn) {
        m_program.emplace(home);
        m_program->requireLog("Service health check completed; healthy=1");
        m_program->requireLog("Looked for a session; signedIn=" + signedIn);
    }

    void trigger() const { m_display.run(u"xdotool"_qs, {u"key"_qs, u"super+alt+e"_qs}); }

    /// Everything that is on screen.
    std::vector<QString> words() {
        std::vector<QString> words;
        collectWords(screen(), words);
        return words;
    }

    bool shows(const QString& text) {
        return waitUntil([&] {
            const auto all = words();
            return std::find(all.begin(), all.end(), text) != all.end();
        });
    }

    void press(const QString& name) {
        const bool isPressed = waitUntil([&] {
            const AccessibleNode all = screen();
            const AccessibleNode* button = findShown(all, u"push button"_qs, name);
            return button != nullptr && m_reader.press(*button);
        });
        if (!isPressed) {
            throw std::runtime_error("there is no button \"" + name.toStdString() + "\"");
        }
    }

    QByteArray clipboard() const {
        return m_display.run(u"sh"_qs, {u"-c"_qs, u"xclip -selection clipboard -out || true"_qs});
    }

    LumivaneProgram& program() { return *m_program; }

private:
    AccessibleNode screen() {
        std::optional<AccessibleNode> seen;
        const bool isSeen = waitUntil([&] {
            try {
                seen = m_reader.application(m_program->processID());
            } catch (const std::runtime_error&) { // something went while it was read
            }
            return seen.has_value();
        });
        if (!isSeen) {
            throw std::runtime_error("the program does not show itself");
        }
        return *seen;
    }

    const XServer& m_display;
    AccessibilityBus m_accessibility;
    AtspiReader m_reader{m_accessibility.address()};
    std::optional<LumivaneProgram> m_program;
};

bool hasSession(const KeyringDaemon& keyring) {
    return !keyring.readByTool(KeychainCredentialStore::service, KeychainCredentialStore::account)
                .isEmpty();
}

} // namespace

/// The program of a user who logged in before.
class SessionEndTest : public testing::Test {
protected:
    SessionEndTest() {
        service.always("/healthz", ScriptedAnswer::json(200, healthy));
        service.script("/v1/analyze", ScriptedAnswer::json(200, answered));
    }

    ~SessionEndTest() override {
        EXPECT_FALSE(seen.program().log().contains("canary"));
        EXPECT_EQ(seen.program().terminate(), 0);
    }

    /// An answer is on screen and on the clipboard.
    void getAnswer() {
        seen.start(user.home(), "1");
        seen.trigger();
        ASSERT_TRUE(seen.shows(u"canary-answer"_qs)) << seen.program().log().toStdString();
        ASSERT_EQ(seen.clipboard(), "canary-answer");
        ASSERT_TRUE(hasSession(user.keyring()));
    }

    void expectNothingOfTheSession() {
        EXPECT_THAT(seen.words(), Not(Contains(u"canary-answer"_qs)));
        EXPECT_EQ(seen.clipboard(), "");
        EXPECT_TRUE(waitUntil([this] { return !hasSession(user.keyring()); }));
    }

    XServer display{QSize(1280, 800)};
    SignedInHome user{display};
    ScriptedHttpServer& service = user.service();
    SeenProgram seen{user.home(), user.bus(), display};
};

TEST_F(SessionEndTest, AnAccountThatMovedTakesItsAnswerAlongAndSaysWhereItIs) {
    service.script("/v1/analyze",
                   ScriptedAnswer::json(401, R"({"error":{"code":"device_evicted",)"
                                             R"("message":"canary","request_id":"r-2"}})"));
    getAnswer();
    seen.trigger();
    EXPECT_TRUE(seen.shows(u"Log in again"_qs)) << seen.program().log().toStdString();
    expectNothingOfTheSession();
    seen.press(u"Log in again"_qs);
    EXPECT_TRUE(seen.shows(u"You signed in on another Mac. Lumivane is signed in there now."_qs));
    EXPECT_TRUE(seen.shows(u"Continue with GitHub"_qs));
}

TEST_F(SessionEndTest, ARefusedRefreshTakesTheAnswerAlongAndAsksForALogin) {
    user.accounts().setLifetimes(std::chrono::seconds(30), std::chrono::hours(1));
    getAnswer();
    user.accounts().scriptRefresh({RefreshFault::refused});
    seen.trigger();
    EXPECT_TRUE(seen.shows(u"Nothing was captured or sent."_qs))
        << seen.program().log().toStdString();
    EXPECT_EQ(service.requestsFor("/v1/analyze").size(), 1U);
    expectNothingOfTheSession();
    seen.press(u"Log in"_qs);
    EXPECT_TRUE(seen.shows(u"Continue with GitHub"_qs));
}

/// The program of a user who has not logged in yet, on a desktop with a real browser.
class FirstLoginTest : public testing::Test {
protected:
    FirstLoginTest() {
        accounts.http().always("/healthz", ScriptedAnswer::json(200, healthy));
        accounts.http().script("/v1/analyze", ScriptedAnswer::json(200, answered));
        desktop.home.setService(accounts.baseURL());
    }

    ~FirstLoginTest() override { EXPECT_EQ(seen.program().terminate(), 0); }

    SystemClock clock;
    ScriptedAccountServer accounts{clock};
    ScriptedLogins logins{accounts, clock};
    LoginDesktop desktop{accounts.baseURL()};
    SeenProgram seen{desktop.home, desktop.bus, desktop.display};
};

TEST_F(FirstLoginTest, ATriggerLeadsByTheBrowserToTheAnswerAndSigningOutTakesItAway) {
    seen.start(desktop.home, "0");
    seen.trigger();
    ASSERT_TRUE(seen.shows(u"Nothing was captured or sent."_qs));
    seen.press(u"Log in"_qs);
    seen.press(u"Continue with GitHub"_qs);
    ASSERT_TRUE(seen.shows(u"Sign out"_qs)) << seen.program().log().toStdString();
    EXPECT_EQ(desktop.handlerCount(), 1);
    EXPECT_TRUE(hasSession(desktop.keyring));
    seen.trigger();
    ASSERT_TRUE(seen.shows(u"canary-answer"_qs)) << seen.program().log().toStdString();
    seen.press(u"Sign out"_qs);
    EXPECT_TRUE(seen.shows(u"Continue with GitHub"_qs));
    EXPECT_THAT(seen.words(), Not(Contains(u"canary-answer"_qs)));
    EXPECT_TRUE(waitUntil([this] { return !hasSession(desktop.keyring); }));
}

TEST_F(FirstLoginTest, ALoginWhosePageWasLeftIsGivenUpInTheWindow) {
    logins.setPageEnd(ScriptedLogins::PageEnd::nowhere);
    seen.start(desktop.home, "0");
    seen.trigger();
    seen.press(u"Log in"_qs);
    seen.press(u"Continue with GitHub"_qs);
    ASSERT_TRUE(seen.shows(u"Waiting for GitHub…"_qs));
    ASSERT_TRUE(waitUntil([this] { return logins.pageCount() == 1; }));
    seen.press(u"Cancel"_qs);
    EXPECT_TRUE(seen.shows(u"Continue with GitHub"_qs));
    EXPECT_THAT(logins.machines(), IsEmpty());
}

} // namespace lumivane::test
