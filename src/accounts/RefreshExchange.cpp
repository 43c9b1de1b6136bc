#include "accounts/RefreshExchange.h"

#include "async/Cancelled.h"

#include <utility>

namespace lumivane {

void RefreshExchange::cancel() {
    m_stop.request_stop();
    fail(std::make_exception_ptr(Cancelled{}));
}

void RefreshExchange::resolve(const AuthCredentials& answer) {
    if (hasEnded()) {
        return;
    }
    m_answer = answer;
    for (const auto& waiting : std::exchange(m_waiting, {})) {
        waiting.resolve(answer);
    }
}

void RefreshExchange::fail(const std::exception_ptr& error) {
    if (hasEnded()) {
        return;
    }
    m_error = error;
    for (const auto& waiting : std::exchange(m_waiting, {})) {
        waiting.fail(error);
    }
}

QCoro::Task<AuthCredentials> RefreshExchange::wait(std::shared_ptr<RefreshExchange> exchange,
                                                   std::stop_token stop) {
    const Completion<AuthCredentials> completion;
    if (exchange->m_answer) {
        completion.resolve(*exchange->m_answer);
    } else if (exchange->m_error) {
        completion.fail(exchange->m_error);
    } else {
        exchange->m_waiting.push_back(completion);
    }
    co_return co_await completion.wait(stop);
}

} // namespace lumivane
