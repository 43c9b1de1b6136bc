#include "server/LoginFixture.h"
#include "server/http/FormFields.h"

#include <boost/json/serialize.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

extern char** environ;

namespace lumivane::service::test {

using testing::HasSubstr;
using testing::StartsWith;

namespace {

constexpr auto publicAddress = "http://127.0.0.1:9";
constexpr int patienceMilliseconds = 30'000;

/// A provider's process, which ends with this object.
class OpenIdProvider {
public:
    OpenIdProvider() {
        std::array<int, 2> input{};
        std::array<int, 2> output{};
        if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::string callback = std::string(publicAddress) + "/v1/auth/callback/google";
        std::array<std::string, 4> words{"node", LUMIVANE_OPENID_PROVIDER, LUMIVANE_OPENID_MODULES,
                                         callback};
        std::array<char*, 5> arguments{words[0].data(), words[1].data(), words[2].data(),
                                       words[3].data(), nullptr};
        const int status =
            ::posix_spawnp(&m_process, "node", &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        m_input = input[1];
        m_output = output[0];
        if (status != 0) {
            throw std::runtime_error("node does not start");
        }
        m_issuer = readLine();
    }

    ~OpenIdProvider() {
        ::close(m_input);
        ::close(m_output);
        ::kill(m_process, SIGTERM);
        ::waitpid(m_process, nullptr, 0);
    }

    OpenIdProvider(const OpenIdProvider&) = delete;
    OpenIdProvider& operator=(const OpenIdProvider&) = delete;

    const std::string& issuer() const { return m_issuer; }

    std::uint16_t port() const {
        return static_cast<std::uint16_t>(std::stoi(m_issuer.substr(m_issuer.rfind(':') + 1)));
    }

private:
    std::string readLine() const {
        std::string line;
        char byte = 0;
        pollfd entry{m_output, POLLIN, 0};
        while (::poll(&entry, 1, patienceMilliseconds) == 1 && ::read(m_output, &byte, 1) == 1) {
            if (byte == '\n') {
                return line;
            }
            line.push_back(byte);
        }
        throw std::runtime_error("the provider says no address");
    }

    pid_t m_process = -1;
    int m_input = -1;
    int m_output = -1;
    std::string m_issuer;
};

} // namespace

/// Logging in at a real OpenID provider, through its own pages for login and consent.
class OpenIdLoginTest : public LoginTest {
protected:
    OpenIdLoginTest() {
        ProviderSettings google;
        google.provider = AuthProvider::google;
        google.clientId = "lumivane";
        google.clientSecret = "a secret of the tests & no other";
        google.issuer = provider.issuer();
        google.authorizationUrl = provider.issuer() + "/auth";
        google.tokenUrl = provider.issuer() + "/token";
        google.userUrl = provider.issuer() + "/me";
        google.keysUrl = provider.issuer() + "/jwks";
        settings.providers.push_back(google);
        settings.publicUrl = publicAddress;
        // The provider's tokens are of now, and so must the clock be.
        clock().set(SystemWallClock().now());
    }

    /// Follows the provider's redirects and fills in its forms until it leads back: the address.
    std::string walk(TestBrowser& visitor, std::string address, const std::string& login) {
        for (int step = 0; step < 12; ++step) {
            if (address.starts_with(publicAddress)) {
                return address;
            }
            TestResponse response = visitor.get(pathIn(address));
            while (response.status == 200) {
                response = submit(visitor, response, login);
            }
            address = response.headers["location"];
        }
        return "nowhere";
    }

    static std::string pathIn(const std::string& address) {
        return address.starts_with("/") ? address : pathOfUrl(address);
    }

    TestResponse submit(TestBrowser& visitor, const TestResponse& page, const std::string& login) {
        const auto begin = page.body.find("action=\"") + 8;
        const std::string action = page.body.substr(begin, page.body.find('"', begin) - begin);
        const bool isLogin = page.body.find("value=\"login\"") != std::string::npos;
        TextFields fields{{"prompt", isLogin ? "login" : "consent"}};
        if (isLogin) {
            ++passwords;
            fields.emplace_back("login", login);
            fields.emplace_back("password", "any");
        }
        return visitor.post(pathIn(action), fields);
    }

    OpenIdProvider provider;
    int passwords = 0; // how often the provider has asked for one
};

INSTANTIATE_TEST_SUITE_P(Engines, OpenIdLoginTest, everyEngine(), engineName);

TEST_P(OpenIdLoginTest, TheWholeWayEndsInALogin) {
    start();
    const ProgramLogin login = program().begin("google");
    TestBrowser atService = browser();
    TestBrowser atProvider(provider.port());
    const TestResponse begun = atService.get(login.path);
    const std::string back = walk(atProvider, begun.headers.at("location"), "ada");
    ASSERT_THAT(back, StartsWith(std::string(publicAddress) + "/v1/auth/callback/google?code="));
    const TestResponse response = atService.get(pathOfUrl(back));
    ASSERT_EQ(response.status, 302);
    const TestResponse finished =
        program().complete(login, redirectedValue(response, "handoff_code"));
    ASSERT_EQ(finished.status, 200) << redirectedValue(response, "error");
    const auto user = objectIn(finished).at("user").as_object();
    EXPECT_EQ(user.at("display_name"), "Real ada");
    EXPECT_EQ(user.at("verified_email"), "ada@example.org");
    EXPECT_EQ(user.at("handle"), "real-ada");
    EXPECT_EQ(atService.get(pathOfUrl(back)).status, 410);
}

TEST_P(OpenIdLoginTest, AConfirmationIsALoginOfItsOwn) {
    start();
    TestBrowser atService = browser();
    TestBrowser atProvider(provider.port());
    const auto goThrough = [&](const ProgramLogin& login) {
        const std::string back =
            walk(atProvider, atService.get(login.path).headers.at("location"), "ada");
        const TestResponse response = atService.get(pathOfUrl(back));
        return program().complete(login, redirectedValue(response, "handoff_code"));
    };
    goThrough(program().begin("google"));
    EXPECT_EQ(passwords, 1);
    // The browser is still logged in at the provider.
    const std::string token = textIn(goThrough(program().begin("google")), "access_token");
    EXPECT_EQ(passwords, 1);

    const TestResponse proof = goThrough(program().begin("google", "delete_reauth", token));
    EXPECT_EQ(proof.status, 200);
    EXPECT_NE(textIn(proof, "reauth_proof"), "");
    EXPECT_EQ(passwords, 2);
}

TEST_P(OpenIdLoginTest, AConfirmationIsNotHadByChangingTheAddress) {
    start();
    TestBrowser atService = browser();
    TestBrowser atProvider(provider.port());
    const auto goThrough = [&](const ProgramLogin& login) {
        std::string address = atService.get(login.path).headers.at("location");
        for (const std::string wish : {"&prompt=login", "&max_age=0"}) {
            const auto found = address.find(wish);
            address.erase(std::min(found, address.size()),
                          found == std::string::npos ? 0 : wish.size());
        }
        return atService.get(pathOfUrl(walk(atProvider, address, "ada")));
    };
    const ProgramLogin login = program().begin("google");
    const std::string handoff = redirectedValue(goThrough(login), "handoff_code");
    const std::string token = textIn(program().complete(login, handoff), "access_token");

    const TestResponse back = goThrough(program().begin("google", "delete_reauth", token));

    EXPECT_EQ(passwords, 1);
    EXPECT_EQ(redirectedValue(back, "error"), "server_error");
}

TEST_P(OpenIdLoginTest, AWrongSecretIsNoLogin) {
    settings.providers.front().clientSecret = "another";
    start();
    const ProgramLogin login = program().begin("google");
    TestBrowser atService = browser();
    TestBrowser atProvider(provider.port());
    const std::string back =
        walk(atProvider, atService.get(login.path).headers.at("location"), "ada");
    const TestResponse response = atService.get(pathOfUrl(back));
    EXPECT_EQ(redirectedValue(response, "error"), "server_error");
}

TEST_P(OpenIdLoginTest, ACodeOfAnotherBrowsersLoginIsRefusedByItsProofKey) {
    start();
    const ProgramLogin victim = program().begin("google");
    const ProgramLogin thief = program().begin("google");
    TestBrowser first = browser();
    TestBrowser second = browser();
    TestBrowser atProvider(provider.port());
    const std::string stolen =
        walk(atProvider, first.get(victim.path).headers.at("location"), "ada");
    const std::string code(*FormFields::decode(queryOf(stolen))->find("code"));
    const auto own = FormFields::decode(queryOf(second.get(thief.path).headers.at("location")));
    const TestResponse response =
        second.get("/v1/auth/callback/google?code=" + percentEncoded(code) +
                   "&state=" + percentEncoded(*own->find("state")));
    EXPECT_EQ(redirectedValue(response, "error"), "server_error");
}

} // namespace lumivane::service::test
