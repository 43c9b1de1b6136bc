#pragma once

#include "server/login/IdentityProvider.h"
#include "server/login/LoginSettings.h"
#include "server/store/WallClock.h"
#include "server/upstream/UpstreamTransport.h"

#include <memory>
#include <stdexcept>

namespace lumivane::service {

/// A provider is configured wrongly. `what()` names the setting and never its value.
class LoginSettingsError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// GitHub by authorization code and proof key. It knows no OpenID: the user and the addresses are
/// asked for. The one address that counts is the primary one, once GitHub has verified it.
std::unique_ptr<IdentityProvider> makeGitHubProvider(const ProviderSettings& settings,
                                                     UpstreamTransport& transport);

/// Facebook by authorization code. Its documents promise nothing about an address having been
/// verified, so none counts as such.
std::unique_ptr<IdentityProvider> makeFacebookProvider(const ProviderSettings& settings,
                                                       UpstreamTransport& transport);

/// Google, or another OpenID provider, by authorization code, proof key and a checked identity
/// token. What the token leaves out of name and address is asked for.
std::unique_ptr<IdentityProvider> makeGoogleProvider(const ProviderSettings& settings,
                                                     UpstreamTransport& transport,
                                                     const WallClock& clock);

/// The provider that the settings name, with its addresses filled in. Transport and clock must
/// outlive it. Throws LoginSettingsError.
std::unique_ptr<IdentityProvider> makeOAuthProvider(const ProviderSettings& settings,
                                                    UpstreamTransport& transport,
                                                    const WallClock& clock);

} // namespace lumivane::service
