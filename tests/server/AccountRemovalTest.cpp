#include "server/LoginFixture.h"
#include "server/accounts/Tokens.h"

#include <gtest/gtest.h>

#include <future>

namespace lumivane::service::test {

/// Deleting an account with the proof of a fresh login.
class AccountRemovalTest : public LoginTest {
protected:
    AccountRemovalTest() { start(); }

    std::string tokenOf(const std::string& provider, const std::string& name) {
        return textIn(logIn(provider, name, name + "@example.org"), "access_token");
    }

    TestResponse remove(const std::string& proof, const std::string& token) {
        return program().ask("DELETE", "/v1/account", R"({"reauth_proof":")" + proof + "\"}",
                             token);
    }
};

INSTANTIATE_TEST_SUITE_P(Engines, AccountRemovalTest, everyEngine(), engineName);

TEST_P(AccountRemovalTest, AnAccountIsDeletedWithAllThatBelongsToIt) {
    const std::string token = tokenOf("google", "ada");
    tokenOf("google", "bob");
    const TestResponse proof =
        withToken("google", "delete_reauth", token, "Ada", "ada@example.org");
    EXPECT_EQ(proof.status, 200);
    EXPECT_EQ(textIn(proof, "expires_at"), "2026-11-15T06:30:30.000Z");
    EXPECT_EQ(remove(textIn(proof, "reauth_proof"), token).status, 204);
    EXPECT_EQ(program().ask("DELETE", "/v1/auth/identities/google", "", token).errorCode(),
              "unauthorized");
    for (const char* table : {"accounts", "identities", "devices", "sessions"}) {
        EXPECT_EQ(store().number("SELECT COUNT(*) FROM " + std::string(table)), 1) << table;
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM reauth_proofs"), 0);
}

TEST_P(AccountRemovalTest, ADeletedAccountTakesItsUnfinishedLoginsWithIt) {
    const std::string token = tokenOf("google", "ada");
    const ProgramLogin pending = program().begin("google");
    const std::string handoff = handoffFor(pending, "Ada", "ada@example.org");
    const ProgramLogin others = program().begin("google");
    handoffFor(others, "Bob", "bob@example.org");
    const std::string proof = textIn(
        withToken("google", "delete_reauth", token, "Ada", "ada@example.org"), "reauth_proof");
    EXPECT_EQ(remove(proof, token).status, 204);

    EXPECT_EQ(
        store().number("SELECT COUNT(*) FROM login_transactions WHERE email = 'ada@example.org'"),
        0);
    EXPECT_EQ(
        store().number("SELECT COUNT(*) FROM login_transactions WHERE email = 'bob@example.org'"),
        1);
    EXPECT_EQ(program().complete(pending, handoff).status, 401);
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 0);
}

TEST_P(AccountRemovalTest, AnotherAccountConfirmsNothing) {
    tokenOf("google", "bob");
    const std::string token = tokenOf("google", "ada");
    for (const char* email : {"bob@example.org", "nobody@example.org"}) {
        const TestResponse proof = withToken("google", "delete_reauth", token, "Bob", email);
        EXPECT_EQ(proof.status, 403);
        EXPECT_EQ(proof.errorCode(), "reauthentication_failed");
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 2);
}

TEST_P(AccountRemovalTest, AProofIsForItsSessionAndFiveMinutesOnly) {
    const std::string ada = tokenOf("google", "ada");
    const std::string bob = tokenOf("google", "bob");
    const auto proofFor = [&] {
        return textIn(withToken("google", "delete_reauth", ada, "Ada", "ada@example.org"),
                      "reauth_proof");
    };
    const std::string proof = proofFor();
    EXPECT_EQ(remove(proof, bob).errorCode(), "reauthentication_failed");
    EXPECT_EQ(remove(makeToken(), ada).errorCode(), "reauthentication_failed");
    clock().advance(std::chrono::minutes(5));
    EXPECT_EQ(remove(proof, ada).errorCode(), "reauthentication_failed");
    const std::string last = proofFor();
    clock().advance(std::chrono::minutes(5) - std::chrono::milliseconds(1));
    EXPECT_EQ(remove(last, ada).status, 204);
}

TEST_P(AccountRemovalTest, OneProofDeletesOnce) {
    for (int round = 0; round < 5; ++round) {
        const std::string token = tokenOf("google", "ada");
        const std::string proof = textIn(
            withToken("google", "delete_reauth", token, "Ada", "ada@example.org"), "reauth_proof");
        const auto removing = [&] { return remove(proof, token).status; };
        auto first = std::async(std::launch::async, removing);
        auto second = std::async(std::launch::async, removing);
        EXPECT_EQ(first.get() + second.get(), 204 + 401);
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM accounts"), 0);
}

TEST_P(AccountRemovalTest, AProofOfAnEarlierSessionIsWorthNothing) {
    const std::string token = tokenOf("google", "ada");
    const std::string proof = textIn(
        withToken("google", "delete_reauth", token, "Ada", "ada@example.org"), "reauth_proof");
    const std::string later = tokenOf("google", "ada");
    EXPECT_EQ(remove(proof, later).errorCode(), "reauthentication_failed");
}

TEST_P(AccountRemovalTest, ALoginOfADeletedAccountComesToNothing) {
    const std::string token = tokenOf("google", "ada");
    const ProgramLogin login = program().begin("facebook", "link", token);
    const std::string handoff = handoffFor(login, "Ada", "other@example.org");
    store().execute("DELETE FROM accounts");
    EXPECT_EQ(program().complete(login, handoff, "").status, 401);
}

} // namespace lumivane::service::test
