#pragma once

#include "async/Clock.h"
#include "platform/SecretItemStore.h"

#include <QThreadPool>

#include <chrono>
#include <stop_token>

namespace lumivane {

/// The keyring of a freedesktop session, through its Secret Service. It is encrypted at rest with
/// the user's password and stays on this machine, so the attributes of an item have nothing to
/// choose. There is nothing in its place where no such service answers.
class SecretServiceItemStore final : public SecretItemStore {
public:
    /// After which a service that does not answer counts as unavailable.
    static constexpr std::chrono::seconds callLimit{2};

    /// How long the user may take to answer a question; the keyring stays locked then. A login may
    /// stand in the middle meanwhile, and what it brought from the browser lives for two minutes.
    static constexpr std::chrono::seconds promptLimit{100};

    /// How many calls are under way at least before one has to wait for another.
    static constexpr int workers = 4;

    /// Both outlive this and the calls under way. A question keeps one worker of `pool` for as long
    /// as it stands, so the pool is best not shared, and it is made no smaller than `workers`.
    SecretServiceItemStore(Clock& clock, QThreadPool& pool);

    /// Ends every call under way on the workers, a question to the user with it, so that the pool
    /// can be waited for; these calls and all later ones are answered with `unavailable`.
    void shutDown();

    QCoro::Task<SecretItemCopy> copyMatching(SecretItemKey key, UnlockPrompt prompt,
                                             std::stop_token stop) override;
    QCoro::Task<SecretItemStatus> add(SecretItemKey key, SecretText data,
                                      SecretItemAttributes attributes, UnlockPrompt prompt,
                                      std::stop_token stop) override;
    QCoro::Task<SecretItemStatus> update(SecretItemKey key, SecretText data, UnlockPrompt prompt,
                                         std::stop_token stop) override;
    QCoro::Task<SecretItemStatus> remove(SecretItemKey key, UnlockPrompt prompt,
                                         std::stop_token stop) override;

private:
    Clock* m_clock;
    QThreadPool* m_pool;
    std::stop_source m_end;
};

} // namespace lumivane
