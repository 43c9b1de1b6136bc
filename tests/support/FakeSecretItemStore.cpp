#include "support/FakeSecretItemStore.h"

#include <algorithm>
#include <utility>

namespace lumivane::test {

QCoro::Task<SecretItemCopy>
FakeSecretItemStore::copyMatching(SecretItemKey key, UnlockPrompt prompt, std::stop_token stop) {
    const auto refused = co_await admit(u"copy"_qs, key, copyFailure, prompt, stop);
    if (refused) {
        co_return SecretItemCopy{*refused, std::nullopt};
    }
    const Item* item = find(key);
    if (item == nullptr) {
        co_return SecretItemCopy{SecretItemStatus::itemNotFound, std::nullopt};
    }
    if (copiesWithoutData) {
        co_return SecretItemCopy{SecretItemStatus::success, std::nullopt};
    }
    co_return SecretItemCopy{SecretItemStatus::success, item->data};
}

QCoro::Task<SecretItemStatus> FakeSecretItemStore::add(SecretItemKey key, SecretText data,
                                                       SecretItemAttributes attributes,
                                                       UnlockPrompt prompt, std::stop_token stop) {
    const auto refused = co_await admit(u"add"_qs, key, addFailure, prompt, stop);
    if (refused) {
        co_return *refused;
    }
    if (find(key) != nullptr) {
        co_return SecretItemStatus::duplicateItem;
    }
    m_items.push_back({key, data, attributes});
    co_return SecretItemStatus::success;
}

QCoro::Task<SecretItemStatus> FakeSecretItemStore::update(SecretItemKey key, SecretText data,
                                                          UnlockPrompt prompt,
                                                          std::stop_token stop) {
    const auto refused = co_await admit(u"update"_qs, key, updateFailure, prompt, stop);
    if (refused) {
        co_return *refused;
    }
    Item* item = find(key);
    if (item == nullptr) {
        co_return SecretItemStatus::itemNotFound;
    }
    item->data = data;
    co_return SecretItemStatus::success;
}

QCoro::Task<SecretItemStatus> FakeSecretItemStore::remove(SecretItemKey key, UnlockPrompt prompt,
                                                          std::stop_token stop) {
    const auto refused = co_await admit(u"remove"_qs, key, removeFailure, prompt, stop);
    if (refused) {
        co_return *refused;
    }
    const auto count = std::erase_if(m_items, [&key](const Item& item) { return item.key == key; });
    co_return count == 0 ? SecretItemStatus::itemNotFound : SecretItemStatus::success;
}

void FakeSecretItemStore::put(const SecretItemKey& key, const QByteArray& data) {
    std::erase_if(m_items, [&key](const Item& item) { return item.key == key; });
    m_items.push_back({key, SecretText(data), {}});
}

void FakeSecretItemStore::release() {
    const Completion<void> first = m_held.front();
    m_held.pop_front();
    first.resolve();
}

QCoro::Task<std::optional<SecretItemStatus>>
FakeSecretItemStore::admit(QString operation, SecretItemKey key,
                           std::optional<SecretItemStatus> failure, UnlockPrompt prompt,
                           std::stop_token stop) {
    throwIfStopped(stop);
    m_requests.append(operation + u' ' + key.service + u' ' + key.account);
    m_prompts.push_back(prompt);
    if (m_isHeld) {
        const Completion<void> turn;
        m_held.push_back(turn);
        co_await turn.wait(stop);
    }
    co_return failure ? failure : answerOfLock(prompt);
}

std::optional<SecretItemStatus> FakeSecretItemStore::answerOfLock(UnlockPrompt prompt) {
    if (m_isLocked && prompt == UnlockPrompt::allowed) {
        ++m_questionCount;
        m_isLocked = !userUnlocks;
    }
    return m_isLocked ? std::optional(SecretItemStatus::interactionNotAllowed) : std::nullopt;
}

FakeSecretItemStore::Item* FakeSecretItemStore::find(const SecretItemKey& key) {
    const auto found = std::find_if(m_items.begin(), m_items.end(),
                                    [&key](const Item& item) { return item.key == key; });
    return found == m_items.end() ? nullptr : &*found;
}

} // namespace lumivane::test
