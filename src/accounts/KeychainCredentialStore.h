#pragma once

#include "accounts/CredentialStoring.h"
#include "accounts/KeychainItem.h"
#include "async/SerialCalls.h"

namespace lumivane {

/// Keeps the session in the user's keyring, in one item of its own as JSON. Nothing else of a login
/// is ever stored. Main thread.
class KeychainCredentialStore final : public CredentialStoring {
public:
    static constexpr QLatin1String service{"com.marnoth.Lumivane.authentication"};
    static constexpr QLatin1String account{"session"};

    /// `items` outlives this and the calls under way. A process that is tested gives its item
    /// another service name, so that the user's own session stays out of its reach.
    explicit KeychainCredentialStore(SecretItemStore& items, const QString& itsService = service);

    QCoro::Task<std::optional<StoredSession>> load(UnlockPrompt prompt,
                                                   std::stop_token stop) override;

    /// A date that cannot be written throws EncodingError.
    QCoro::Task<void> save(StoredSession session, UnlockPrompt prompt,
                           std::stop_token stop) override;
    QCoro::Task<void> clear(UnlockPrompt prompt, std::stop_token stop) override;

private:
    KeychainItem m_item;
    SerialCalls m_calls;
};

} // namespace lumivane
