#pragma once

#include "server/StoreFixture.h"
#include "server/accounts/AccountError.h"
#include "server/accounts/DeviceTakeover.h"
#include "server/accounts/SessionIssuer.h"
#include "server/accounts/TokenExchange.h"

#include <string>
#include <variant>

namespace lumivane::service::test {

inline const DeviceRegistration laptop{"laptop-identifier-1", "Ada's laptop", "laptop",
                                       "Debian 12"};
inline const DeviceRegistration desktop{"desktop-identifier-2", "Büro", "desktop", "Debian 13"};
inline const DeviceRegistration tablet{"tablet-identifier-3", "Tablet", "tablet", "Other 1"};

inline const std::string operationX = "11111111-2222-4333-8444-555555555555";
inline const std::string operationY = "aaaaaaaa-bbbb-4ccc-8ddd-eeeeeeeeeeee";

/// Adds an account with a verified GitHub identity. `id` is its handle as well.
void storeAccount(Database& database, const std::string& id);

/// Logs in, or gives the offer to move the account.
std::variant<IssuedLogin, TakeoverOffer> signIn(Database& database, const std::string& account,
                                                const DeviceRegistration& device, WallTime now);

/// The code of the refusal that `work` ends with, "" where it ends well.
template <typename Work>
std::string refusalOf(Work work) {
    try {
        work();
    } catch (const AccountError& error) {
        return error.refusal().code;
    }
    return "";
}

/// A store with the account "ada" in it, and what works on its sessions.
class AccountTest : public StoreTest {
protected:
    AccountTest();

    /// A login that nothing stands against.
    IssuedLogin login(const DeviceRegistration& device = laptop);

    /// The ticket that a login on `device` gives while another machine holds the account.
    std::string ticketFor(const DeviceRegistration& device);

    IssuedLogin refresh(const std::string& token, const std::string& operation = operationX) {
        return tokens.refresh({token, operation});
    }

    /// Why the only session with that end ended, and how many there are.
    long long endedAs(const std::string& reason) {
        return store().number("SELECT COUNT(*) FROM sessions WHERE end_reason = '" + reason + "'");
    }

    long long openSessions() {
        return store().number("SELECT COUNT(*) FROM sessions WHERE ended_at IS NULL");
    }

    SessionSettings settings;
    TokenExchange tokens;
    DeviceTakeover takeover;
};

} // namespace lumivane::service::test
