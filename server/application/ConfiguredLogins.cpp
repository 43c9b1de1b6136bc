#include "server/application/ConfiguredLogins.h"

#include "server/login/OAuthProviders.h"

namespace lumivane::service {

namespace {

ProviderSettings providerSettings(const ProviderConfiguration& configured) {
    const auto provider = providerNamed(configured.provider);
    if (!provider) {
        throw ConfigurationError("a provider of logins is none that the service knows");
    }
    ProviderSettings settings;
    settings.provider = *provider;
    settings.clientId = configured.clientId;
    settings.clientSecret = configured.clientSecret;
    settings.authorizationUrl = configured.authorizationUrl;
    settings.tokenUrl = configured.tokenUrl;
    settings.userUrl = configured.userUrl;
    settings.emailsUrl = configured.emailsUrl;
    settings.issuer = configured.issuer;
    settings.keysUrl = configured.keysUrl;
    return settings;
}

LoginSettings loginSettings(const AccountConfiguration& accounts) {
    LoginSettings settings;
    settings.publicUrl = accounts.publicBaseUrl;
    settings.isLoopbackOnly = !accounts.isBehindProxy;
    for (const ProviderConfiguration& provider : accounts.providers) {
        settings.providers.push_back(providerSettings(provider));
    }
    return settings;
}

} // namespace

std::unique_ptr<LoginService> makeConfiguredLogins(const ServiceConfiguration& configuration,
                                                   const LoginDependencies& dependencies,
                                                   const SessionSettings& sessions) {
    try {
        return std::make_unique<LoginService>(dependencies, SessionIssuer(sessions),
                                              loginSettings(configuration.accounts));
    } catch (const LoginSettingsError& error) {
        throw ConfigurationError(error.what());
    }
}

} // namespace lumivane::service
