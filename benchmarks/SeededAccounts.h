#pragma once

#include "server/accounts/DeviceRegistration.h"
#include "server/accounts/SessionIssuer.h"
#include "server/store/Database.h"

#include <memory>
#include <string>
#include <variant>

namespace lumivane::bench {

/// One login of one machine.
struct SeededSession {
    std::string accountId;
    service::DeviceRegistration device;
    std::string accessToken;
    std::string refreshToken;
};

/// Accounts and logins put straight into the database of a service, in place of the pages of a
/// provider: what is measured begins behind them. Any thread.
class SeededAccounts {
public:
    explicit SeededAccounts(const std::string& database);

    service::Database& database() { return *m_database; }

    /// A new account whose handle is `handle`, signed in on a machine of its own.
    SeededSession add(const std::string& handle);

    /// What a finished login of a machine comes to: tokens, or the offer to move the account.
    std::variant<service::IssuedLogin, service::TakeoverOffer>
    logIn(const std::string& accountId, const service::DeviceRegistration& device);

    /// The first column of the first row of `query`.
    long long number(const std::string& query);

private:
    service::SessionIssuer m_issuer{service::SessionSettings{}};
    std::unique_ptr<service::Database> m_database;
};

/// A machine nobody has seen before.
service::DeviceRegistration makeDevice();

} // namespace lumivane::bench
