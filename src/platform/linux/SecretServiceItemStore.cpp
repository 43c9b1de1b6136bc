#include "platform/linux/SecretServiceItemStore.h"

#include "async/BoundedJob.h"
#include "platform/linux/SecretServiceCalls.h"

#include <functional>
#include <optional>
#include <utility>

namespace lumivane {

namespace {

using Call = std::function<SecretItemCopy(const std::stop_token&)>;

constexpr SecretItemStatus unavailable = SecretItemStatus::unavailable;

/// One attempt on a worker. A call that is at its limit is on its way out by itself.
QCoro::Task<SecretItemCopy> attempt(Clock* clock, std::chrono::nanoseconds limit, QThreadPool* pool,
                                    Call call, std::stop_token stop) {
    const auto answer = co_await runOnPoolWithin(*clock, limit, *pool, call, stop);
    co_return answer.value_or(SecretItemCopy{unavailable, std::nullopt});
}

/// The call, and once more after the user has unlocked what stood in its way. The service is asked
/// to prompt only when it has just answered, so one that hangs is not waited for any longer.
QCoro::Task<SecretItemCopy> perform(Clock* clock, QThreadPool* pool, Call call, SecretItemKey key,
                                    UnlockPrompt prompt, std::stop_token stop) {
    SecretItemCopy answer =
        co_await attempt(clock, SecretServiceItemStore::callLimit, pool, call, stop);
    if (answer.status != SecretItemStatus::interactionNotAllowed || prompt == UnlockPrompt::never) {
        co_return answer;
    }
    const Call unlock = [key](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::unlock(key, stop), std::nullopt};
    };
    const SecretItemCopy unlocked =
        co_await attempt(clock, SecretServiceItemStore::promptLimit, pool, unlock, stop);
    if (unlocked.status != SecretItemStatus::success) {
        co_return unlocked;
    }
    SecretItemCopy again =
        co_await attempt(clock, SecretServiceItemStore::callLimit, pool, call, stop);
    co_return again;
}

} // namespace

SecretServiceItemStore::SecretServiceItemStore(Clock& clock, QThreadPool& pool)
    : m_clock(&clock)
    , m_pool(&pool) {}

QCoro::Task<SecretItemCopy>
SecretServiceItemStore::copyMatching(SecretItemKey key, UnlockPrompt prompt, std::stop_token stop) {
    const Call call = [key](const std::stop_token& stop) {
        return SecretServiceCalls::copyMatching(key, stop);
    };
    SecretItemCopy answer = co_await perform(m_clock, m_pool, call, key, prompt, stop);
    co_return answer;
}

QCoro::Task<SecretItemStatus> SecretServiceItemStore::add(SecretItemKey key, SecretText data,
                                                          SecretItemAttributes /*attributes*/,
                                                          UnlockPrompt prompt,
                                                          std::stop_token stop) {
    const Call call = [key, data](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::add(key, data, stop), std::nullopt};
    };
    const SecretItemCopy answer = co_await perform(m_clock, m_pool, call, key, prompt, stop);
    co_return answer.status;
}

QCoro::Task<SecretItemStatus> SecretServiceItemStore::update(SecretItemKey key, SecretText data,
                                                             UnlockPrompt prompt,
                                                             std::stop_token stop) {
    const Call call = [key, data](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::update(key, data, stop), std::nullopt};
    };
    const SecretItemCopy answer = co_await perform(m_clock, m_pool, call, key, prompt, stop);
    co_return answer.status;
}

QCoro::Task<SecretItemStatus> SecretServiceItemStore::remove(SecretItemKey key, UnlockPrompt prompt,
                                                             std::stop_token stop) {
    const Call call = [key](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::remove(key, stop), std::nullopt};
    };
    const SecretItemCopy answer = co_await perform(m_clock, m_pool, call, key, prompt, stop);
    co_return answer.status;
}

} // namespace lumivane
