#pragma once

#include "accounts/SessionKeeper.h"
#include "async/Cancelled.h"

#include <exception>
#include <functional>
#include <type_traits>

namespace lumivane {

/// The session in which a flow began. The flow copies it before it waits and asks after each wait
/// whether it still stands; what comes back to another session must touch nothing. Main thread.
class SessionEpoch {
public:
    /// The present one.
    explicit SessionEpoch(SessionKeeper& keeper)
        : SessionEpoch(keeper, keeper.generation()) {}

    SessionEpoch(SessionKeeper& keeper, std::uint64_t generation)
        : m_keeper(&keeper)
        , m_generation(generation) {}

    bool stands() const { return m_keeper && m_keeper->generation() == m_generation; }

    /// Whether it stands, or what ended it leaves room for a word about it.
    bool maySpeak() const { return m_keeper && m_keeper->isUnfollowed(m_generation); }

    /// Throws Cancelled when it does not stand.
    void require() const {
        if (!stands()) {
            throw Cancelled{};
        }
    }

    /// Throws what SessionKeeper::validAccessToken throws.
    QCoro::Task<SecretText> accessToken(UnlockPrompt prompt, std::stop_token stop) const {
        require();
        return m_keeper->validAccessToken(SessionKeeper::defaultMinimumValidity, prompt,
                                          std::move(stop));
    }

private:
    QPointer<SessionKeeper> m_keeper;
    std::uint64_t m_generation;
};

/// One request to the service with the token that it is given.
template <typename Answer>
using SessionRequest = std::function<QCoro::Task<Answer>(SecretText accessToken)>;

/// Makes a request in the name of the session.
///
/// Throws Cancelled when the session has gone meanwhile or a stop was requested. An
/// AuthenticationError is one of this session, with one exception: when the token itself was
/// refused, the keeper has ended the session by then, and the error is the reason.
template <typename Answer>
QCoro::Task<Answer> requestInSession(SessionEpoch epoch, UnlockPrompt prompt,
                                     SessionRequest<Answer> request, std::stop_token stop) {
    const SecretText token = co_await epoch.accessToken(prompt, stop);
    throwIfStopped(stop);
    epoch.require();
    try {
        if constexpr (std::is_void_v<Answer>) {
            co_await request(token);
            epoch.require();
        } else {
            Answer answer = co_await request(token);
            epoch.require();
            throwIfStopped(stop);
            co_return answer;
        }
    } catch (const std::exception&) {
        epoch.require();
        throw;
    }
}

} // namespace lumivane
