#include "server/application/ServiceAuthorizer.h"

namespace lumivane::service {

ServiceAuthorizer::ServiceAuthorizer(const std::optional<std::string>& developmentToken,
                                     SessionAuthorizer& sessions)
    : m_sessions(sessions) {
    if (developmentToken) {
        m_development.emplace(*developmentToken);
    }
}

boost::asio::awaitable<Authorization> ServiceAuthorizer::authorize(std::string token) {
    if (m_development) {
        auto judging = m_development->authorize(token);
        Authorization judged = co_await std::move(judging);
        if (std::holds_alternative<Principal>(judged)) {
            co_return judged;
        }
    }
    auto judging = m_sessions.authorize(std::move(token));
    co_return co_await std::move(judging);
}

} // namespace lumivane::service
