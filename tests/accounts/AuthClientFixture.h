#pragma once

#include "accounts/AccountSamples.h"
#include "accounts/AuthClient.h"
#include "accounts/AuthenticationError.h"
#include "support/FakeHttpTransport.h"
#include "support/LogCapture.h"
#include "support/Outcome.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace lumivane::test {

using Headers = std::vector<std::pair<QByteArray, QByteArray>>;

inline QByteArray envelopeBody(const QByteArray& code) {
    return R"({"error":{"code":")" + code + R"(","message":"The message","request_id":"r-1"}})";
}

inline DeviceRegistration sampleRegistration() {
    DeviceRegistration device;
    device.identifier = u"0123456789abcdef"_qs;
    device.name = u"Studio"_qs;
    device.kind = DeviceKind::desktop;
    device.osVersion = u"macOS 15.2"_qs;
    return device;
}

inline const QByteArray filterBody =
    R"({"version":"v1","m":8,"k":1,"hash":"sha256","seed":"00","bits":"AA"})";

/// What came of a call, whatever it yields.
struct Ending {
    bool hasEnded = false;
    bool hasValue = false;
    bool isCancelled = false;
    std::optional<AuthenticationError> error;

    bool isErrorOnly(AuthenticationError::Case expected) const {
        return !hasValue && !isCancelled && error == AuthenticationError(expected);
    }
};

/// A client over a played transport, with every log line kept.
class AuthClientFixture : public testing::Test {
protected:
    /// One operation of the client, by name, with a body that it takes for success.
    struct Operation {
        std::string name;
        QByteArray method;
        QByteArray path;
        std::optional<QByteArray> token; ///< behind "Bearer "
        QByteArray body;                 ///< of the request
        QByteArray reply;
        std::function<Ending(AuthClient&, std::stop_token)> run;
    };

    template <typename Value>
    static Ending endingOf(QCoro::Task<Value> flow) {
        const auto outcome = outcomeOf(std::move(flow));
        return {outcome.hasEnded(), outcome.value.has_value(), outcome.isCancelled,
                outcome.template errorAs<AuthenticationError>()};
    }

    static Ending endingOf(QCoro::Task<void> flow) { return endingOf(flagged(std::move(flow))); }

    /// All of them, in the order of the port.
    static const std::vector<Operation>& operations();

    static const Operation& operation(const std::string& name) {
        for (const Operation& each : operations()) {
            if (each.name == name) {
                return each;
            }
        }
        throw std::out_of_range(name);
    }

    Ending run(const Operation& operation, int status, const QByteArray& reply) {
        transport.answer(status, reply);
        return operation.run(client, {});
    }

    Ending run(const std::string& name, int status, const QByteArray& reply = {}) {
        return run(operation(name), status, reply);
    }

    const HttpRequest& lastRequest() { return transport.requests().back(); }

    LogCapture log;
    FakeHttpTransport transport;
    ApplicationInformation information;
    AuthClient client{std::nullopt, information, transport};
};

inline const std::vector<AuthClientFixture::Operation>& AuthClientFixture::operations() {
    static const QUuid operationID(u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}"_qs);
    static const std::vector<Operation> all{
        {"providers", "GET", "/v1/auth/providers", std::nullopt, "",
         R"({"providers":["github","google"]})",
         [](AuthClient& client, std::stop_token stop) { return endingOf(client.providers(stop)); }},
        {"createTransaction", "POST", "/v1/auth/transactions", "access-1",
         R"({"provider":"github","intent":"link","code_challenge":"challenge-1",)"
         R"("code_challenge_method":"S256"})",
         transactionBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.createTransaction(AuthProvider::github, AuthIntent::link,
                                                      u"challenge-1"_qs, secret("access-1"), stop));
         }},
        {"complete", "POST", "/v1/auth/complete", std::nullopt,
         R"({"transaction_id":"t-1","handoff_code":"code-1","code_verifier":"verifier-1",)"
         R"("device_id":"0123456789abcdef","device_name":"Studio","device_kind":"desktop",)"
         R"("device_os":"macOS 15.2"})",
         credentialsBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.complete(u"t-1"_qs, secret("code-1"), secret("verifier-1"),
                                             AuthIntent::signIn, sampleRegistration(), stop));
         }},
        {"refresh", "POST", "/v1/auth/refresh", std::nullopt,
         R"({"refresh_token":"refresh-1","operation_id":"0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9"})",
         credentialsBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.refresh(secret("refresh-1"), operationID, stop));
         }},
        {"revoke", "POST", "/v1/auth/revoke", std::nullopt, R"({"refresh_token":"refresh-1"})", "",
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.revoke(secret("refresh-1"), stop));
         }},
        {"logout", "POST", "/v1/auth/logout", "access-1", "", "",
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.logout(secret("access-1"), stop));
         }},
        {"me", "GET", "/v1/auth/me", "access-1", "", userBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.me(secret("access-1"), stop));
         }},
        {"unlink", "DELETE", "/v1/auth/identities/facebook", "access-1", "", userBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.unlink(AuthProvider::facebook, secret("access-1"), stop));
         }},
        {"deleteAccount", "DELETE", "/v1/account", "access-1", R"({"reauth_proof":"proof-1"})", "",
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.deleteAccount(secret("access-1"), secret("proof-1"), stop));
         }},
        {"devices", "GET", "/v1/auth/devices", "access-1", "", devicesBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.devices(secret("access-1"), stop));
         }},
        {"takeover", "POST", "/v1/auth/takeover", "ticket-1",
         R"({"device_id":"0123456789abcdef","device_name":"Studio","device_kind":"desktop",)"
         R"("device_os":"macOS 15.2"})",
         credentialsBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.takeover(secret("ticket-1"), sampleRegistration(), stop));
         }},
        {"updateProfile", "PATCH", "/v1/auth/profile", "access-1",
         R"({"handle":"ada","display_name":"Ada \"L\""})", userBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(
                 client.updateProfile(u"ada"_qs, u"Ada \"L\""_qs, secret("access-1"), stop));
         }},
        {"handleAvailability", "POST", "/v1/auth/handles/availability", "access-1",
         R"({"handle":"ada"})", R"({"handle":"ada","available":true})",
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.handleAvailability(u"ada"_qs, secret("access-1"), stop));
         }},
        {"handleFilter", "GET", "/v1/auth/handles/filter", "access-1", "", filterBody,
         [](AuthClient& client, std::stop_token stop) {
             return endingOf(client.handleFilter(std::nullopt, secret("access-1"), stop));
         }}};
    return all;
}

} // namespace lumivane::test
