#pragma once

#include "server/login/IdentityProvider.h"
#include "server/login/LoginSettings.h"
#include "server/upstream/UpstreamTransport.h"

#include <boost/asio/awaitable.hpp>
#include <boost/json/value.hpp>

#include <utility>

namespace lumivane::service {

/// What a login by authorization code needs of its provider, checked once at the start.
struct AuthorizationServer {
    AuthProvider provider = AuthProvider::github;
    std::string clientId;
    std::string clientSecret;
    std::string authorizationUrl;
    UpstreamUrl tokenUrl;
};

/// What a provider answered: JSON, or why there is none.
using ProviderAnswer = std::variant<boost::json::value, LoginFailure>;

using QueryItems = std::vector<std::pair<std::string, std::string>>;

/// Text for a form body or a query.
std::string formEncoded(const QueryItems& items);

/// The address with the items added to its query.
std::string withQuery(const std::string& url, const QueryItems& items);

/// The part of the authorization code flow that all providers share. For the network thread alone.
class AuthorizationCode {
public:
    /// The transport must outlive this.
    AuthorizationCode(AuthorizationServer server, UpstreamTransport& transport);

    const AuthorizationServer& server() const { return m_server; }

    /// Where the browser goes, with `more` beside what every provider is told.
    std::string authorizationUrl(const LoginAttempt& attempt, const QueryItems& more) const;

    /// The code that the browser brought back, or why there is none.
    static std::variant<std::string, LoginFailure> codeIn(const FormFields& fields);

    /// Changes the code for the provider's token record, an object without an "error".
    boost::asio::awaitable<ProviderAnswer> exchange(std::string code, QueryItems more,
                                                    MonotonicTime deadline);

    /// Reads a record as the bearer of a token. `stage` is for those who look into a failure.
    boost::asio::awaitable<ProviderAnswer> fetch(UpstreamUrl url, std::string accessToken,
                                                 LoginStage stage, MonotonicTime deadline);

    /// Reads a record that is there for everyone.
    boost::asio::awaitable<ProviderAnswer> fetchOpenly(UpstreamUrl url, LoginStage stage,
                                                       MonotonicTime deadline);

private:
    boost::asio::awaitable<ProviderAnswer> ask(UpstreamRequest request, LoginStage stage,
                                               MonotonicTime deadline);

    AuthorizationServer m_server;
    UpstreamTransport& m_transport;
};

/// How long the provider has for all its answers together.
MonotonicTime providerDeadline();

} // namespace lumivane::service
