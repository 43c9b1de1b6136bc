#pragma once

#include "server/http/Authorizer.h"

#include <string>
#include <utility>

namespace lumivane::service::test {

/// Accepts one token. Whoever bears it is the account "tester".
class TestAuthorizer final : public Authorizer {
public:
    explicit TestAuthorizer(std::string token)
        : m_token(std::move(token)) {}

    boost::asio::awaitable<Authorization> authorize(std::string token) override {
        if (token != m_token) {
            co_return unauthorized();
        }
        Principal principal;
        principal.accountId = "tester";
        principal.sessionId = "session";
        co_return principal;
    }

private:
    std::string m_token;
};

} // namespace lumivane::service::test
