#include "server/LoginFixture.h"

#include <gtest/gtest.h>

#include <future>

namespace lumivane::service::test {

/// Two replicas that share nothing but the database, and a browser that meets either of them.
class LoginReplicasTest : public LoginTest {
protected:
    LoginReplicasTest() {
        // Behind one address, as a proxy would give it to both.
        settings.publicUrl = "http://localhost:8787";
        start();
        second = std::make_unique<LoginServer>(*another, clock(), settings, nullptr);
    }

    std::unique_ptr<Database> another = store().openAnother();
    std::unique_ptr<LoginServer> second;
};

INSTANTIATE_TEST_SUITE_P(Engines, LoginReplicasTest, everyEngine(), engineName);

TEST_P(LoginReplicasTest, ALoginGoesOnAtWhicheverReplicaIsAsked) {
    TestProgram atFirst(server->port());
    TestProgram atSecond(second->port());
    const ProgramLogin login = atFirst.begin("github");
    TestBrowser visitor(second->port());
    const TestResponse page = visitor.get(login.path);
    ASSERT_EQ(page.status, 200);

    TestBrowser sending(server->port());
    sending.cookies = visitor.cookies;
    const TestResponse back = sending.post(login.path, {{"form_token", formTokenIn(page)},
                                                        {"name", "Ada"},
                                                        {"email", "ada@example.org"},
                                                        {"action", "continue"}});
    const std::string handoff = redirectedValue(back, "handoff_code");
    ASSERT_EQ(handoff.size(), 43U);

    const TestResponse finished = atSecond.complete(login, handoff);
    EXPECT_EQ(finished.status, 200);
    const std::string token = textIn(finished, "access_token");
    EXPECT_EQ(atFirst.ask("DELETE", "/v1/auth/identities/github", "", token).errorCode(),
              "last_identity");
    EXPECT_EQ(atFirst.complete(login, handoff).status, 401);
}

TEST_P(LoginReplicasTest, OfTwoReplicasThatGetOneCodeOneGivesTheLogin) {
    for (int round = 0; round < 5; ++round) {
        const ProgramLogin login = program().begin("github");
        const std::string handoff = handoffFor(login, "Ada", "ada@example.org");
        const auto completing = [&login, &handoff](std::uint16_t port) {
            return TestProgram(port).complete(login, handoff).status;
        };
        auto one = std::async(std::launch::async, completing, server->port());
        auto other = std::async(std::launch::async, completing, second->port());
        EXPECT_EQ(one.get() + other.get(), 200 + 401);
    }
    EXPECT_EQ(store().number("SELECT COUNT(*) FROM sessions WHERE ended_at IS NULL"), 1);
}

TEST_P(LoginReplicasTest, OfTwoReplicasThatGetOneFormOneLeadsBack) {
    const ProgramLogin login = program().begin("github");
    TestBrowser visitor = browser();
    const std::string token = formTokenIn(visitor.get(login.path));
    const auto sending = [&](std::uint16_t port) {
        TestBrowser passed(port);
        passed.cookies = visitor.cookies;
        return passed
            .post(login.path, {{"form_token", token}, {"name", "Ada"}, {"email", "a@b.example"}})
            .status;
    };
    auto one = std::async(std::launch::async, sending, server->port());
    auto other = std::async(std::launch::async, sending, second->port());
    EXPECT_EQ(one.get() + other.get(), 302 + 410);
}

} // namespace lumivane::service::test
