#pragma once

#include "server/login/AuthIntent.h"

#include <optional>
#include <string>
#include <vector>

namespace lumivane::service {

/// How one provider is reached. An address left empty is the provider's own; any can be another
/// server's that speaks the same way, as one within a company does.
struct ProviderSettings {
    AuthProvider provider = AuthProvider::github;
    std::string clientId;
    std::string clientSecret;
    std::string authorizationUrl; ///< where the browser goes
    std::string tokenUrl;         ///< where a code becomes an access token
    std::string userUrl;          ///< who the access token stands for
    std::string emailsUrl;        ///< GitHub only: the user's addresses
    std::string issuer;           ///< Google only: whose identity tokens are believed
    std::string keysUrl;          ///< Google only: the issuer's public keys
};

/// How users prove who they are.
struct LoginSettings {
    std::vector<ProviderSettings> providers;
    /// Where browsers find the service, "https://lumivane.example.org", without a slash at its
    /// end. Absent, it is what the request was sent to, which must then be this machine.
    std::optional<std::string> publicUrl;
    /// Whether nobody but programs of this machine can reach the service. Only then do local
    /// pages stand in for the providers, and only while none is configured and `publicUrl` names
    /// no other machine.
    bool isLoopbackOnly = false;
};

/// The same with every empty address filled in.
ProviderSettings withDefaultAddresses(ProviderSettings settings);

} // namespace lumivane::service
