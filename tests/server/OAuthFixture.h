#pragma once

#include "server/LoginFixture.h"
#include "server/ScriptedServer.h"
#include "server/TokenMaker.h"
#include "server/http/FormFields.h"

#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

#include <functional>

namespace lumivane::service::test {

/// Logging in at providers that play by a script, all three of them unless a test says otherwise.
class OAuthTest : public LoginTest {
protected:
    OAuthTest() {
        for (const AuthProvider provider : allProviders) {
            ProviderSettings one;
            one.provider = provider;
            one.clientId = "client 1";
            one.clientSecret = "secret&1";
            one.authorizationUrl = remote.url("/authorize?tenant=1");
            one.tokenUrl = remote.url("/token");
            one.userUrl = remote.url("/user");
            one.emailsUrl = remote.url("/emails");
            one.issuer = "https://issuer.example";
            one.keysUrl = remote.url("/keys");
            settings.providers.push_back(one);
        }
        remote.answer("/token", 200, R"({"access_token":"at-1","token_type":"bearer"})");
    }

    /// Begins a login and opens it in `visitor`: the fields of the provider's address.
    FormFields open(TestBrowser& visitor, const ProgramLogin& login) {
        const TestResponse response = visitor.get(login.path);
        EXPECT_EQ(response.status, 303);
        address = response.headers.at("location");
        return FormFields::decode(queryOf(address)).value();
    }

    /// The browser comes back with a code.
    TestResponse comeBack(TestBrowser& visitor, const std::string& provider,
                          const std::string& query) {
        return visitor.get("/v1/auth/callback/" + provider + "?" + query);
    }

    /// The whole way to the program.
    TestResponse logInAt(const std::string& provider) {
        TestBrowser visitor = browser();
        const ProgramLogin login = program().begin(provider);
        const FormFields asked = open(visitor, login);
        if (prepare) {
            prepare(asked);
        }
        const TestResponse back =
            comeBack(visitor, provider, "code=c-1&state=" + std::string(*asked.find("state")));
        lastError = redirectedValue(back, "error");
        return program().complete(login, redirectedValue(back, "handoff_code"));
    }

    static boost::json::object userOf(const TestResponse& response) {
        const boost::json::object object = objectIn(response);
        const boost::json::value* user = object.if_contains("user");
        return user == nullptr ? boost::json::object() : user->as_object();
    }

    void answerAsGitHub() {
        remote.answer("/user", 200, R"({"id":583231,"login":"octo","name":"Octo Cat"})");
        remote.answer("/emails", 200,
                      R"([{"email":"old@example.org","primary":false,"verified":true},)"
                      R"({"email":"octo@example.org","primary":true,"verified":true}])");
    }

    /// A token as Google would send it, with changed claims.
    void answerAsGoogle(const boost::json::object& changes) {
        prepare = [this, changes](const FormFields& asked) {
            boost::json::object claims;
            claims["iss"] = "https://issuer.example";
            claims["aud"] = "client 1";
            claims["sub"] = "g-1";
            claims["nonce"] = std::string(asked.find("nonce").value_or(""));
            claims["email"] = "ada@example.org";
            claims["email_verified"] = true;
            claims["name"] = "Ada";
            const std::int64_t now = storedTime(clock().now()) / 1000;
            claims["iat"] = now;
            claims["exp"] = now + 300;
            for (const auto& change : changes) {
                claims[change.key()] = change.value();
                if (change.value().is_null()) {
                    claims.erase(change.key());
                }
            }
            boost::json::object tokens;
            tokens["access_token"] = "at-1";
            tokens["id_token"] = maker.sign(claims);
            remote.answer("/token", 200, boost::json::serialize(tokens));
            remote.answer("/keys", 200, maker.keySet());
        };
    }

    ScriptedServer remote;
    TokenMaker maker{TokenMaker::Kind::rsa};
    std::function<void(const FormFields&)> prepare;
    std::string address;
    std::string lastError;
};

} // namespace lumivane::service::test
