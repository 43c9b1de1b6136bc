#pragma once

#include "server/accounts/SessionAuthorizer.h"
#include "server/http/StaticTokenAuthorizer.h"

namespace lumivane::service {

/// Lets in who bears the development token, where there is one, and whoever has a session.
class ServiceAuthorizer final : public Authorizer {
public:
    /// `sessions` must outlive the authorizer.
    ServiceAuthorizer(const std::optional<std::string>& developmentToken,
                      SessionAuthorizer& sessions);

    boost::asio::awaitable<Authorization> authorize(std::string token) override;

private:
    std::optional<StaticTokenAuthorizer> m_development;
    SessionAuthorizer& m_sessions;
};

} // namespace lumivane::service
