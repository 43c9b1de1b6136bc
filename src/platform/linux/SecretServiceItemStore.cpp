#include "platform/linux/SecretServiceItemStore.h"

#include "async/BoundedJob.h"
#include "platform/linux/SecretServiceCalls.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace lumivane {

namespace {

using Call = std::function<SecretItemCopy(const std::stop_token&)>;

constexpr SecretItemStatus unavailable = SecretItemStatus::unavailable;

/// The call with `end` as one more reason to stop. It is the worker that listens to it: nothing of
/// a flow is touched then.
Call endedBy(std::stop_token end, Call call) {
    return [end = std::move(end), call = std::move(call)](const std::stop_token& stop) {
        std::stop_source either;
        const auto forward = [&either] { either.request_stop(); };
        const std::stop_callback<decltype(forward)> onStop(stop, forward);
        const std::stop_callback<decltype(forward)> onEnd(end, forward);
        return call(either.get_token());
    };
}

/// Where the calls of one store run.
struct Workers {
    Clock* clock;
    QThreadPool* pool;
    std::stop_token end;
};

/// One attempt on a worker; none at its limit. A call that is at its limit is on its way out by
/// itself.
QCoro::Task<std::optional<SecretItemCopy>> attempt(Workers workers, std::chrono::nanoseconds limit,
                                                   Call call, std::stop_token stop) {
    const Call job = endedBy(workers.end, call);
    co_return co_await runOnPoolWithin(*workers.clock, limit, *workers.pool, job, stop);
}

/// What stands for the answer of a service that gave none in time.
SecretItemCopy answerOr(const std::optional<SecretItemCopy>& answer, SecretItemStatus status) {
    return answer.value_or(SecretItemCopy{status, std::nullopt});
}

/// The call, and once more after the user has unlocked what stood in its way. The service is asked
/// to prompt only when it has just answered, so one that hangs is not waited for any longer.
QCoro::Task<SecretItemCopy> perform(Workers workers, Call call, SecretItemKey key,
                                    UnlockPrompt prompt, std::stop_token stop) {
    const auto first = co_await attempt(workers, SecretServiceItemStore::callLimit, call, stop);
    const SecretItemCopy answer = answerOr(first, unavailable);
    if (answer.status != SecretItemStatus::interactionNotAllowed || prompt == UnlockPrompt::never) {
        co_return answer;
    }
    const Call unlock = [key](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::unlock(key, stop), std::nullopt};
    };
    const auto asked = co_await attempt(workers, SecretServiceItemStore::promptLimit, unlock, stop);
    // Nobody has answered the question, so it is locked as before.
    const SecretItemCopy unlocked = answerOr(asked, SecretItemStatus::interactionNotAllowed);
    if (unlocked.status != SecretItemStatus::success) {
        co_return unlocked;
    }
    const auto second = co_await attempt(workers, SecretServiceItemStore::callLimit, call, stop);
    co_return answerOr(second, unavailable);
}

} // namespace

SecretServiceItemStore::SecretServiceItemStore(Clock& clock, QThreadPool& pool)
    : m_clock(&clock)
    , m_pool(&pool) {
    pool.setMaxThreadCount(std::max(pool.maxThreadCount(), workers));
}

void SecretServiceItemStore::shutDown() { m_end.request_stop(); }

QCoro::Task<SecretItemCopy>
SecretServiceItemStore::copyMatching(SecretItemKey key, UnlockPrompt prompt, std::stop_token stop) {
    const Workers workers{m_clock, m_pool, m_end.get_token()};
    const Call call = [key](const std::stop_token& stop) {
        return SecretServiceCalls::copyMatching(key, stop);
    };
    SecretItemCopy answer = co_await perform(workers, call, key, prompt, stop);
    co_return answer;
}

QCoro::Task<SecretItemStatus> SecretServiceItemStore::add(SecretItemKey key, SecretText data,
                                                          SecretItemAttributes /*attributes*/,
                                                          UnlockPrompt prompt,
                                                          std::stop_token stop) {
    const Workers workers{m_clock, m_pool, m_end.get_token()};
    const Call call = [key, data](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::add(key, data, stop), std::nullopt};
    };
    const SecretItemCopy answer = co_await perform(workers, call, key, prompt, stop);
    co_return answer.status;
}

QCoro::Task<SecretItemStatus> SecretServiceItemStore::update(SecretItemKey key, SecretText data,
                                                             UnlockPrompt prompt,
                                                             std::stop_token stop) {
    const Workers workers{m_clock, m_pool, m_end.get_token()};
    const Call call = [key, data](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::update(key, data, stop), std::nullopt};
    };
    const SecretItemCopy answer = co_await perform(workers, call, key, prompt, stop);
    co_return answer.status;
}

QCoro::Task<SecretItemStatus> SecretServiceItemStore::remove(SecretItemKey key, UnlockPrompt prompt,
                                                             std::stop_token stop) {
    const Workers workers{m_clock, m_pool, m_end.get_token()};
    const Call call = [key](const std::stop_token& stop) {
        return SecretItemCopy{SecretServiceCalls::remove(key, stop), std::nullopt};
    };
    const SecretItemCopy answer = co_await perform(workers, call, key, prompt, stop);
    co_return answer.status;
}

} // namespace lumivane
