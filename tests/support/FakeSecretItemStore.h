#pragma once

#include "async/Completion.h"
#include "platform/SecretItemStore.h"

#include <QStringList>

#include <deque>
#include <optional>
#include <vector>

namespace lumivane::test {

/// A keyring in memory, which fails and locks as the test says. By default it is unlocked and every
/// call has its effect at once.
class FakeSecretItemStore final : public SecretItemStore {
public:
    struct Item {
        SecretItemKey key;
        SecretText data;
        SecretItemAttributes attributes;
    };

    QCoro::Task<SecretItemCopy> copyMatching(SecretItemKey key, UnlockPrompt prompt,
                                             std::stop_token stop) override;
    QCoro::Task<SecretItemStatus> add(SecretItemKey key, SecretText data,
                                      SecretItemAttributes attributes, UnlockPrompt prompt,
                                      std::stop_token stop) override;
    QCoro::Task<SecretItemStatus> update(SecretItemKey key, SecretText data, UnlockPrompt prompt,
                                         std::stop_token stop) override;
    QCoro::Task<SecretItemStatus> remove(SecretItemKey key, UnlockPrompt prompt,
                                         std::stop_token stop) override;

    /// "copy SERVICE ACCOUNT", "add ...", "update ...", "remove ..." in order of arrival.
    const QStringList& requests() const { return m_requests; }

    /// How each of them might ask the user.
    const std::vector<UnlockPrompt>& prompts() const { return m_prompts; }

    /// How often the user was asked.
    int questionCount() const { return m_questionCount; }

    const std::vector<Item>& items() const { return m_items; }

    /// Puts an item there behind the program's back.
    void put(const SecretItemKey& key, const QByteArray& data);

    void lock() { m_isLocked = true; }

    void unlock() { m_isLocked = false; }

    /// From now on calls wait for `release`, one each, before they have their effect.
    void hold() { m_isHeld = true; }

    void release();

    std::size_t heldCount() const { return m_held.size(); }

    // What further calls of each kind come back with, without an effect; none lets them through.
    std::optional<SecretItemStatus> copyFailure;
    std::optional<SecretItemStatus> addFailure;
    std::optional<SecretItemStatus> updateFailure;
    std::optional<SecretItemStatus> removeFailure;

    bool copiesWithoutData = false;
    bool userUnlocks = true; ///< when asked

private:
    /// Records a request and waits for its turn; what it says ends the call.
    QCoro::Task<std::optional<SecretItemStatus>> admit(QString operation, SecretItemKey key,
                                                       std::optional<SecretItemStatus> failure,
                                                       UnlockPrompt prompt, std::stop_token stop);
    std::optional<SecretItemStatus> answerOfLock(UnlockPrompt prompt);
    Item* find(const SecretItemKey& key);

    std::vector<Item> m_items;
    QStringList m_requests;
    std::vector<UnlockPrompt> m_prompts;
    int m_questionCount = 0;
    bool m_isLocked = false;
    bool m_isHeld = false;
    std::deque<Completion<void>> m_held;
};

} // namespace lumivane::test
