#include "server/login/LoginService.h"

#include "server/login/LocalIdentityProvider.h"
#include "server/login/OAuthProviders.h"

#include <algorithm>

namespace lumivane::service {

LoginService::LoginService(LoginDependencies dependencies, SessionIssuer issuer,
                           const LoginSettings& settings, LoginLifetimes lifetimes)
    : m_dependencies(std::move(dependencies))
    , m_lifetimes(lifetimes)
    , m_completion(issuer, lifetimes)
    , m_origin(settings.publicUrl) {
    if (!settings.isLoopbackOnly && !settings.publicUrl) {
        throw LoginSettingsError(
            "\"public_base_url\" is needed where other machines reach the service");
    }
    for (const ProviderSettings& provider : settings.providers) {
        if (find(provider.provider) != nullptr) {
            throw LoginSettingsError("a provider is set up twice");
        }
        m_providers.push_back(
            makeOAuthProvider(provider, m_dependencies.upstream, m_dependencies.clock));
    }
    if (settings.providers.empty() && settings.isLoopbackOnly && m_origin.isOfThisMachine()) {
        for (const AuthProvider provider : allProviders) {
            m_providers.push_back(makeLocalIdentityProvider(provider));
        }
    }
}

std::vector<AuthProvider> LoginService::providers() const {
    std::vector<AuthProvider> result;
    for (const AuthProvider provider : allProviders) {
        if (find(provider) != nullptr) {
            result.push_back(provider);
        }
    }
    return result;
}

UsableLogins LoginService::usableLogins() const {
    UsableLogins usable;
    usable.providers = providers();
    usable.areLocal = std::any_of(m_providers.begin(), m_providers.end(), [](const auto& one) {
        return one->answersBy() == AnswersBy::form;
    });
    return usable;
}

IdentityProvider* LoginService::find(AuthProvider provider) const {
    for (const auto& candidate : m_providers) {
        if (candidate->provider() == provider) {
            return candidate.get();
        }
    }
    return nullptr;
}

} // namespace lumivane::service
