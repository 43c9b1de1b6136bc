#pragma once

#include "accounts/SessionEpoch.h"
#include "async/SerialCalls.h"

namespace lumivane {

/// Sends what the user changes of the account, one change after another: each answer is the whole
/// user, so only in this order is the last answer also the newest. Main thread only.
class UserChanges {
public:
    struct Change {
        std::function<bool()> isWanted;   ///< asked when its turn has come
        SessionRequest<UserSummary> send; ///< what it yields is the user from then on
    };

    explicit UserChanges(SessionKeeper& keeper)
        : m_keeper(keeper)
        , m_lineGeneration(keeper.generation()) {}

    /// Makes the change and shows its user. Throws as requestInSession does, and Cancelled when the
    /// change is not wanted any more. May ask for the keyring, since a user waits for it.
    QCoro::Task<void> make(Change change);

private:
    SessionKeeper& m_keeper;
    std::uint64_t m_lineGeneration;
    SerialCalls m_line; ///< of this generation: a new session does not wait for an old one
};

} // namespace lumivane
