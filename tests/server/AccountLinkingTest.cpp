#include "server/LoginFixture.h"
#include "server/accounts/AccountError.h"
#include "server/accounts/DeviceTakeover.h"
#include "server/accounts/Tokens.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

namespace lumivane::service::test {

using testing::HasSubstr;

/// What the end of a login does to accounts: codes, linking and unlinking.
class AccountLinkingTest : public LoginTest {
protected:
    AccountLinkingTest() { start(); }

    std::string tokenOf(const std::string& provider, const std::string& name) {
        return textIn(logIn(provider, name, name + "@example.org"), "access_token");
    }

    TestResponse unlink(const std::string& provider, const std::string& token) {
        return program().ask("DELETE", "/v1/auth/identities/" + provider, "", token);
    }

    static boost::json::value linked(const TestResponse& response) {
        const auto object = objectIn(response);
        const auto* user = object.if_contains("user");
        return (user != nullptr ? user->as_object() : object).at("linked_providers");
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, AccountLinkingTest, everyEngine(), engineName);

TEST_P(AccountLinkingTest, ACodeWorksOnce) {
    const ProgramLogin login = program().begin("google");
    const std::string handoff = handoffFor(login, "Ada", "ada@example.org");
    EXPECT_EQ(program().complete(login, handoff).status, 200);
    const TestResponse again = program().complete(login, handoff);
    EXPECT_EQ(again.status, 401);
    EXPECT_EQ(again.errorCode(), "unauthorized");
}

TEST_P(AccountLinkingTest, AWrongVerifierUsesTheCodeUp) {
    const ProgramLogin login = program().begin("google");
    const std::string handoff = handoffFor(login, "Ada", "ada@example.org");
    ProgramLogin stolen = login;
    stolen.verifier = makeToken();
    EXPECT_EQ(program().complete(stolen, handoff).status, 401);
    EXPECT_EQ(program().complete(login, handoff).status, 401);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 0);
}

TEST_P(AccountLinkingTest, AWrongCodeDoesNotUseTheLoginUp) {
    const ProgramLogin login = program().begin("google");
    const std::string handoff = handoffFor(login, "Ada", "ada@example.org");
    EXPECT_EQ(program().complete(login, makeToken()).status, 401);
    EXPECT_EQ(program().complete(login, handoff).status, 200);
}

TEST_P(AccountLinkingTest, ACodeEndsExactlyAfterTwoMinutes) {
    const ProgramLogin first = program().begin("google");
    const std::string late = handoffFor(first, "Ada", "ada@example.org");
    clock().advance(std::chrono::minutes(2));
    EXPECT_EQ(program().complete(first, late).status, 401);
    const ProgramLogin second = program().begin("google");
    const std::string handoff = handoffFor(second, "Ada", "ada@example.org");
    clock().advance(std::chrono::minutes(2) - std::chrono::milliseconds(1));
    EXPECT_EQ(program().complete(second, handoff).status, 200);
}

TEST_P(AccountLinkingTest, NoMachineNoLogin) {
    const ProgramLogin login = program().begin("google");
    const std::string handoff = handoffFor(login, "Ada", "ada@example.org");
    const TestResponse refused = program().complete(login, handoff, "");
    EXPECT_EQ(refused.status, 400);
    EXPECT_EQ(refused.errorCode(), "device_required");
    EXPECT_EQ(program().complete(login, handoff, "too-short").errorCode(), "device_required");
    EXPECT_EQ(program().complete(login, handoff).status, 200);
}

TEST_P(AccountLinkingTest, AnotherMachineIsOfferedATakeover) {
    logIn("google", "Ada", "ada@example.org");
    const ProgramLogin login = program().begin("google");
    const TestResponse offer = program().complete(
        login, handoffFor(login, "Ada", "ada@example.org"), "another-device-of-hers");
    EXPECT_EQ(offer.status, 200);
    EXPECT_EQ(textIn(offer, "status"), "device_takeover_required");
    EXPECT_EQ(objectIn(offer).at("current_device").as_object().at("name"), "Desk");
    EXPECT_EQ(textIn(offer, "access_token"), "");
}

TEST_P(AccountLinkingTest, OfManyWhoRaceWithACodeOneGetsTheLogin) {
    const ProgramLogin login = program().begin("google");
    const std::string handoff = handoffFor(login, "Ada", "ada@example.org");
    std::vector<std::future<int>> answers;
    for (int i = 0; i < 8; ++i) {
        answers.push_back(std::async(std::launch::async, [this, login, handoff] {
            return program().complete(login, handoff).status;
        }));
    }
    int good = 0;
    int refused = 0;
    for (auto& answer : answers) {
        const int status = answer.get();
        good += status == 200 ? 1 : 0;
        refused += status == 401 ? 1 : 0;
    }
    EXPECT_EQ(good, 1);
    EXPECT_EQ(refused, 7);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM sessions"), 1);
}

TEST_P(AccountLinkingTest, FirstLoginsOfOnePersonAtOnceMakeOneAccount) {
    std::vector<ProgramLogin> logins;
    std::vector<std::string> handoffs;
    for (int i = 0; i < 6; ++i) {
        logins.push_back(program().begin(i % 2 == 0 ? "google" : "github"));
        handoffs.push_back(handoffFor(logins.back(), "Ada", "ada@example.org"));
    }
    std::vector<std::future<int>> answers;
    for (std::size_t i = 0; i < logins.size(); ++i) {
        answers.push_back(
            std::async(std::launch::async, [this, login = logins[i], handoff = handoffs[i]] {
                return program().complete(login, handoff).status;
            }));
    }
    for (auto& answer : answers) {
        EXPECT_EQ(answer.get(), 200);
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities"), 2);
}

TEST_P(AccountLinkingTest, TwoPeopleOfOneNameHaveTwoHandles) {
    const auto handle = [](const TestResponse& response) {
        return std::string(objectIn(response).at("user").as_object().at("handle").as_string());
    };
    const std::string first = handle(logIn("google", "Ada", "ada@example.org"));
    const std::string second = handle(logIn("google", "Ada", "ada@elsewhere.example"));
    const std::string nameless = handle(logIn("google", "艾达", "ada@third.example"));
    const std::string reserved = handle(logIn("google", "Admin", "ada@fourth.example"));
    EXPECT_EQ(first, "ada");
    EXPECT_NE(second, first);
    EXPECT_THAT(second, testing::MatchesRegex("[a-z0-9._-]{2,39}"));
    EXPECT_THAT(nameless, testing::MatchesRegex("[a-z0-9._-]{2,39}"));
    EXPECT_NE(reserved, "admin");
}

TEST_P(AccountLinkingTest, LinkingAddsAProviderAndKeepsTheSession) {
    const std::string token = tokenOf("google", "ada");
    const TestResponse response = withToken("facebook", "link", token, "Ada", "other@example.org");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(linked(response), (boost::json::array{"google", "facebook"}));
    EXPECT_NE(textIn(response, "access_token"), "");
    EXPECT_EQ(unlink("github", token).status, 200);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM sessions WHERE ended_at IS NULL"), 1);
}

TEST_P(AccountLinkingTest, LinkingWhatIsLinkedIsNoMistake) {
    const std::string token = tokenOf("google", "ada");
    const TestResponse response = withToken("google", "link", token, "Ada", "ada@example.org");
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(linked(response), (boost::json::array{"google"}));
}

TEST_P(AccountLinkingTest, ALoginOfAnotherAccountCannotBeLinked) {
    tokenOf("facebook", "bob");
    const std::string token = tokenOf("google", "ada");
    const TestResponse response = withToken("facebook", "link", token, "Bob", "bob@example.org");
    EXPECT_EQ(response.status, 409);
    EXPECT_EQ(response.errorCode(), "identity_already_linked");
    EXPECT_EQ(linked(unlink("github", token)), (boost::json::array{"google"}));
}

TEST_P(AccountLinkingTest, ASecondLoginOfOneProviderCannotBeLinked) {
    const std::string token = tokenOf("google", "ada");
    const TestResponse response = withToken("google", "link", token, "Ada", "second@example.org");
    EXPECT_EQ(response.status, 409);
    EXPECT_EQ(response.errorCode(), "provider_already_linked");
}

TEST_P(AccountLinkingTest, ALinkOfASessionThatEndedDoesNothing) {
    const std::string token = tokenOf("google", "ada");
    const ProgramLogin login = program().begin("facebook", "link", token);
    const std::string handoff = handoffFor(login, "Ada", "other@example.org");
    store().execute("UPDATE sessions SET ended_at = 1, end_reason = 'signed_out'");
    const TestResponse response = program().complete(login, handoff, "");
    EXPECT_EQ(response.status, 401);
    EXPECT_EQ(response.errorCode(), "unauthorized");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities"), 1);
}

TEST_P(AccountLinkingTest, ALinkOfASessionThatWasSentAwaySaysSo) {
    const std::string token = tokenOf("google", "ada");
    const ProgramLogin login = program().begin("facebook", "link", token);
    const std::string handoff = handoffFor(login, "Ada", "other@example.org");
    store().execute("UPDATE sessions SET ended_at = 1, end_reason = 'evicted'");
    const TestResponse response = program().complete(login, handoff, "");
    EXPECT_EQ(response.status, 401);
    EXPECT_EQ(response.errorCode(), "device_evicted");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities"), 1);
}

TEST_P(AccountLinkingTest, ALinkThatMeetsAnotherMachineNamesItAndLinksNothing) {
    const std::string token = tokenOf("google", "ada");
    const ProgramLogin login = program().begin("facebook", "link", token);
    const std::string handoff = handoffFor(login, "Ada", "other@example.org");
    const ProgramLogin other = program().begin("google");
    const TestResponse offer = program().complete(
        other, handoffFor(other, "ada", "ada@example.org"), "another-device-of-hers");
    DeviceTakeover takeover(database(), TokenDerivation::load(database()), clock(), {});
    const DeviceRegistration desk{"another-device-of-hers", "Upstairs", "desktop", "Debian 12"};
    takeover.takeOver(textIn(offer, "takeover_ticket"), desk);

    const TestResponse response = program().complete(login, handoff, "");

    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(textIn(response, "status"), "device_takeover_required");
    EXPECT_EQ(objectIn(response).at("current_device").as_object().at("name"), "Upstairs");
    EXPECT_EQ(textIn(response, "access_token"), "");
    const DeviceRegistration own{"device-of-the-tests", "Desk", "desktop", "Debian 12"};
    EXPECT_THROW(takeover.takeOver(textIn(response, "takeover_ticket"), own), AccountError);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities"), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM sessions WHERE ended_at IS NULL"), 1);
}

TEST_P(AccountLinkingTest, ATicketDoesNotOutliveTheLoginItCameFrom) {
    const std::string token = tokenOf("google", "ada");
    withToken("facebook", "link", token, "Ada", "stolen@example.org");
    const ProgramLogin thief = program().begin("facebook");
    const TestResponse offer = program().complete(
        thief, handoffFor(thief, "Ada", "stolen@example.org"), "device-of-the-thief");
    const std::string ticket = textIn(offer, "takeover_ticket");
    ASSERT_NE(ticket, "");
    EXPECT_EQ(unlink("facebook", token).status, 200);

    DeviceTakeover takeover(database(), TokenDerivation::load(database()), clock(), {});
    const DeviceRegistration machine{"device-of-the-thief", "Desk", "desktop", "Debian 12"};
    EXPECT_THROW(takeover.takeOver(ticket, machine), AccountError);
    EXPECT_EQ(unlink("github", token).status, 200);
}

TEST_P(AccountLinkingTest, UnlinkingLeavesTheOther) {
    const std::string token = tokenOf("google", "ada");
    withToken("github", "link", token, "Ada", "other@example.org");
    EXPECT_EQ(linked(unlink("google", token)), (boost::json::array{"github"}));
    EXPECT_EQ(linked(unlink("google", token)), (boost::json::array{"github"}));
    const TestResponse last = unlink("github", token);
    EXPECT_EQ(last.status, 409);
    EXPECT_EQ(last.errorCode(), "last_identity");
    EXPECT_EQ(unlink("apple", token).errorCode(), "not_found");
}

TEST_P(AccountLinkingTest, AnAccountBeginsWithANameThatItsOwnerCanSaveAgain) {
    const auto nameOf = [this](const std::string& suggested, const std::string& email) {
        const TestResponse response = logIn("google", suggested, email);
        return std::string(
            objectIn(response).at("user").as_object().at("display_name").as_string());
    };
    EXPECT_EQ(nameOf(std::string(60, 'a'), "a@example.org"), std::string(60, 'a'));
    EXPECT_EQ(nameOf("Ada\u2028Lovelace", "c@example.org"), "Lumivane user");
}

TEST_P(AccountLinkingTest, AnUnlinkedLoginComesBackAtItsNextSignIn) {
    const std::string token = tokenOf("google", "ada");
    withToken("github", "link", token, "Ada", "ada@example.org");
    EXPECT_EQ(linked(unlink("github", token)), (boost::json::array{"google"}));

    const TestResponse response = logIn("github", "Ada", "ada@example.org");
    ASSERT_EQ(response.status, 200);
    EXPECT_EQ(objectIn(response).at("user").as_object().at("linked_providers"),
              (boost::json::array{"google", "github"}));
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 1);
}

TEST_P(AccountLinkingTest, UnlinkingBothAtOnceLeavesOne) {
    const std::string token = tokenOf("google", "ada");
    withToken("github", "link", token, "Ada", "other@example.org");
    auto first = std::async(std::launch::async, [&] { return unlink("google", token).status; });
    auto second = std::async(std::launch::async, [&] { return unlink("github", token).status; });
    EXPECT_EQ(first.get() + second.get(), 200 + 409);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM identities"), 1);
}

TEST_P(AccountLinkingTest, AFinishedLoginForgetsWhoItWas) {
    tokenOf("google", "ada");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM login_transactions"), 1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM login_transactions WHERE subject IS NOT NULL "
                             "OR email IS NOT NULL OR email_verified IS NOT NULL "
                             "OR suggested_name IS NOT NULL OR handoff_hash IS NOT NULL"),
              0);
}

TEST_P(AccountLinkingTest, NoSecretIsStoredAsItIs) {
    const ProgramLogin login = program().begin("google");
    const std::string handoff = handoffFor(login, "Ada", "ada@example.org");
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM login_transactions WHERE handoff_hash = '" +
                             tokenHash(handoff) + "'"),
              1);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM login_transactions WHERE handoff_hash = '" +
                             handoff + "' OR provider_verifier IS NOT NULL"),
              0);
}

} // namespace lumivane::service::test
