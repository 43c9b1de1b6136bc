#pragma once

#include "accounts/AccountRecords.h"
#include "async/Completion.h"

#include <qcoro/qcorotask.h>

#include <exception>
#include <memory>
#include <optional>
#include <stop_token>
#include <vector>

namespace lumivane {

/// One login on its way, from what is written before the request to the answer: whoever asks for a
/// token meanwhile waits for it here. Main thread only.
///
/// Whoever started it is its owner, who takes the answer over and stores it. The owner may leave
/// early: the exchange goes on for those who joined.
class RefreshExchange {
public:
    /// Asks what works for the exchange to stop.
    std::stop_token stopToken() const { return m_stop.get_token(); }

    /// Nobody wants it any more: all who wait end with Cancelled, and so does all work for it.
    void cancel();

    bool isCancelled() const { return m_stop.stop_requested(); }

    void resolve(const AuthCredentials& answer);
    void fail(const std::exception_ptr& error);

    bool hasEnded() const { return m_answer || m_error; }

    /// The error it ended with; none on success and before the end.
    const std::exception_ptr& error() const { return m_error; }

    /// The answer, now or when it comes, or the error. Throws Cancelled once a stop is requested,
    /// which ends this wait alone.
    static QCoro::Task<AuthCredentials> wait(std::shared_ptr<RefreshExchange> exchange,
                                             std::stop_token stop);

    bool isOwned = true;   ///< until the owner has stored the answer, failed or left
    bool isStored = false; ///< what goes in front of the request is safe

private:
    std::stop_source m_stop;
    std::optional<AuthCredentials> m_answer;
    std::exception_ptr m_error;
    std::vector<Completion<AuthCredentials>> m_waiting;
};

} // namespace lumivane
