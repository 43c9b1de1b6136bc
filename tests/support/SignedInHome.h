#pragma once

#include "async/SystemClock.h"
#include "support/KeyringDaemon.h"
#include "support/LumivaneProgram.h"
#include "support/PrivateBus.h"
#include "support/ScriptedAccountServer.h"

namespace lumivane::test {

/// A home whose user logged in before: its bus has a keyring with the session of an account, and
/// the program finds the service that knows it. Tokens start with "canary-". The programs in
/// `home` go first.
class SignedInHome {
public:
    explicit SignedInHome(const XServer& display);

    LumivaneHome& home() { return m_home; }

    ScriptedAccountServer& accounts() { return m_accounts; }

    /// The service as a whole: health and analyses are up to the test.
    ScriptedHttpServer& service() { return m_accounts.http(); }

    /// The session bus.
    PrivateBus& bus() { return m_bus; }

    KeyringDaemon& keyring() { return m_keyring; }

private:
    SystemClock m_clock;
    ScriptedAccountServer m_accounts{m_clock, "canary-"};
    PrivateBus m_bus;
    KeyringDaemon m_keyring{m_bus};
    LumivaneHome m_home;
};

} // namespace lumivane::test
