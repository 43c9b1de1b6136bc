#include "server/login/LoginSettings.h"

namespace lumivane::service {

namespace {

ProviderSettings defaultsOf(AuthProvider provider) {
    ProviderSettings defaults;
    switch (provider) {
    case AuthProvider::google:
        defaults.authorizationUrl = "https://accounts.google.com/o/oauth2/v2/auth";
        defaults.tokenUrl = "https://oauth2.googleapis.com/token";
        defaults.userUrl = "https://openidconnect.googleapis.com/v1/userinfo";
        defaults.issuer = "https://accounts.google.com";
        defaults.keysUrl = "https://www.googleapis.com/oauth2/v3/certs";
        break;
    case AuthProvider::facebook:
        defaults.authorizationUrl = "https://www.facebook.com/v22.0/dialog/oauth";
        defaults.tokenUrl = "https://graph.facebook.com/v22.0/oauth/access_token";
        defaults.userUrl = "https://graph.facebook.com/v22.0/me";
        break;
    case AuthProvider::github:
        defaults.authorizationUrl = "https://github.com/login/oauth/authorize";
        defaults.tokenUrl = "https://github.com/login/oauth/access_token";
        defaults.userUrl = "https://api.github.com/user";
        defaults.emailsUrl = "https://api.github.com/user/emails";
        break;
    }
    return defaults;
}

void fill(std::string& address, const std::string& otherwise) {
    if (address.empty()) {
        address = otherwise;
    }
}

} // namespace

ProviderSettings withDefaultAddresses(ProviderSettings settings) {
    const ProviderSettings defaults = defaultsOf(settings.provider);
    fill(settings.authorizationUrl, defaults.authorizationUrl);
    fill(settings.tokenUrl, defaults.tokenUrl);
    fill(settings.userUrl, defaults.userUrl);
    fill(settings.emailsUrl, defaults.emailsUrl);
    fill(settings.issuer, defaults.issuer);
    fill(settings.keysUrl, defaults.keysUrl);
    return settings;
}

} // namespace lumivane::service
