#pragma once

#include "server/accounts/DeviceRegistration.h"
#include "server/accounts/LoginRecords.h"
#include "server/accounts/SessionSettings.h"
#include "server/accounts/Tokens.h"

#include <string>

namespace lumivane::service {

class Database;

/// Moves an account to another machine. Calls block; any thread, any replica.
class DeviceTakeover {
public:
    DeviceTakeover(Database& database, TokenDerivation derivation, const WallClock& clock,
                   SessionSettings settings);

    /// Signs `device` in by a ticket of a login on it and ends the session of the machine that held
    /// the account. The ticket works once; the same machine that asks with it again within its time
    /// gets the same login again. Throws AccountError (device_required, unauthorized) and
    /// StoreError.
    IssuedLogin takeOver(const std::string& ticket, const DeviceRegistration& device);

private:
    Database& m_database;
    const TokenDerivation m_derivation;
    const WallClock& m_clock;
    const SessionSettings m_settings;
};

} // namespace lumivane::service
