#pragma once

#include "platform/SecretItemStore.h"

#include <qcoro/qcorotask.h>

#include <optional>
#include <stop_token>

namespace lumivane {

/// One item of the keyring, which stays on this machine and is read only while it is unlocked. Main
/// thread. A value: flows carry a copy, and the store outlives them.
///
/// Every operation throws AuthenticationError::Case::unavailable for a status that it does not
/// expect, which it logs, with the KeyringTrouble where it is one, and Cancelled once a stop is
/// requested.
class KeychainItem {
public:
    KeychainItem(SecretItemStore& store, SecretItemKey key);

    /// None when there is no such item.
    QCoro::Task<std::optional<SecretText>> load(UnlockPrompt prompt, std::stop_token stop) const;

    /// Changes the item, or adds it where there is none. The change comes first: it is what mostly
    /// happens, and it keeps one item with its attributes.
    QCoro::Task<void> save(SecretText data, UnlockPrompt prompt, std::stop_token stop) const;

    /// No item counts as removed.
    QCoro::Task<void> clear(UnlockPrompt prompt, std::stop_token stop) const;

private:
    SecretItemStore* m_store;
    SecretItemKey m_key;
};

} // namespace lumivane
