#pragma once

#include "accounts/AccountRecords.h"
#include "platform/SecretItemStore.h"

#include <qcoro/qcorotask.h>

#include <optional>
#include <stop_token>

namespace lumivane {

/// The one thing that a login leaves behind for the next start. Main thread only.
///
/// Calls have their effect one after another, in the order in which they are made. Each ends within
/// a few seconds of its turn unless it asks the user something; its turn comes when those before it
/// have ended, a question that one of them asks included. Each throws
/// AuthenticationError::Case::unavailable when the keyring does not do as it is told, and Cancelled
/// once a stop is requested; a call that has begun by then still has its turn, and whether it has
/// its effect is open.
class CredentialStoring {
public:
    virtual ~CredentialStoring() = default;

    /// None when nothing is stored. Throws DecodingError for what is no session; it stays stored.
    virtual QCoro::Task<std::optional<StoredSession>> load(UnlockPrompt prompt,
                                                           std::stop_token stop) = 0;

    /// Puts the session in place of the one before.
    virtual QCoro::Task<void> save(StoredSession session, UnlockPrompt prompt,
                                   std::stop_token stop) = 0;

    /// Leaves nothing stored, whether something was or not.
    virtual QCoro::Task<void> clear(UnlockPrompt prompt, std::stop_token stop) = 0;
};

} // namespace lumivane
