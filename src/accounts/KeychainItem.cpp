#include "accounts/KeychainItem.h"

#include "accounts/AuthenticationError.h"
#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

namespace {

KeyringTrouble troubleOf(SecretItemStatus status) {
    if (status == SecretItemStatus::unavailable) {
        return KeyringTrouble::missing;
    }
    return status == SecretItemStatus::interactionNotAllowed ? KeyringTrouble::locked
                                                             : KeyringTrouble::none;
}

[[noreturn]] void refuse(SecretItemStatus status) {
    LumivaneLog::lifecycle.error("Keychain item not usable; status=%{public}s", status);
    throw AuthenticationError(AuthenticationError::Case::unavailable, troubleOf(status));
}

void require(SecretItemStatus status) {
    if (status != SecretItemStatus::success) {
        refuse(status);
    }
}

} // namespace

KeychainItem::KeychainItem(SecretItemStore& store, SecretItemKey key)
    : m_store(&store)
    , m_key(std::move(key)) {}

// A member coroutine reads its object before its first wait only, or keeps what it needs.

QCoro::Task<std::optional<SecretText>> KeychainItem::load(UnlockPrompt prompt,
                                                          std::stop_token stop) const {
    SecretItemCopy found = co_await m_store->copyMatching(m_key, prompt, stop);
    if (found.status == SecretItemStatus::itemNotFound) {
        co_return std::nullopt;
    }
    if (found.status != SecretItemStatus::success || !found.data) {
        refuse(found.status);
    }
    co_return std::move(found.data);
}

QCoro::Task<void> KeychainItem::save(SecretText data, UnlockPrompt prompt,
                                     std::stop_token stop) const {
    const KeychainItem item = *this;
    const SecretItemStatus updated = co_await item.m_store->update(item.m_key, data, prompt, stop);
    if (updated != SecretItemStatus::itemNotFound) {
        require(updated);
        co_return;
    }
    const SecretItemAttributes attributes{.accessibility =
                                              SecretItemAccessibility::whenUnlockedThisDeviceOnly,
                                          .synchronisation = SecretItemSynchronisation::no};
    require(co_await item.m_store->add(item.m_key, data, attributes, prompt, stop));
}

QCoro::Task<void> KeychainItem::clear(UnlockPrompt prompt, std::stop_token stop) const {
    const SecretItemStatus removed = co_await m_store->remove(m_key, prompt, stop);
    if (removed != SecretItemStatus::itemNotFound) {
        require(removed);
    }
}

} // namespace lumivane
