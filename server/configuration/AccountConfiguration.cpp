#include "server/configuration/AccountConfiguration.h"

#include "server/upstream/UpstreamUrl.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

namespace lumivane::service {

namespace fs = std::filesystem;

namespace {

constexpr std::uint32_t mostPerMinute = 100'000;

bool isOfOtherMachines(const std::string& origin) {
    return !isLoopbackHost(boost::urls::url_view(origin).host_address());
}

// Programs take the answer of a login from this address alone, so it must be exact.
std::string originOf(const SettingText& setting) {
    std::string text = setting.text;
    if (text.ends_with('/')) {
        text.pop_back();
    }
    const auto parsed = boost::urls::parse_uri(text);
    const bool isOrigin = parsed && !parsed->has_userinfo() && !parsed->has_query() &&
                          !parsed->has_fragment() && parsed->encoded_path().empty() &&
                          !parsed->host_address().empty();
    if (!isOrigin) {
        throw ConfigurationError(setting.source + " must be a scheme, a host and maybe a port");
    }
    const bool isPlain = parsed->scheme_id() == boost::urls::scheme::http;
    const bool isPermitted = parsed->scheme_id() == boost::urls::scheme::https ||
                             (isPlain && isLoopbackHost(parsed->host_address()));
    if (!isPermitted) {
        throw ConfigurationError(setting.source +
                                 " must use https for any host but a loopback one");
    }
    return text;
}

std::string databaseOf(const SettingTexts& settings, const fs::path& dataFolder) {
    const auto setting = take(settings, "database_url");
    if (!setting) {
        return (dataFolder / "service.sqlite3").string();
    }
    const bool isServer =
        setting->text.starts_with("postgresql://") || setting->text.starts_with("postgres://");
    if (!isServer && !fs::path(setting->text).is_absolute()) {
        throw ConfigurationError(setting->source +
                                 " must be a postgresql:// URL or an absolute path");
    }
    return setting->text;
}

std::string textUnder(const SettingTexts& settings, const std::string& key) {
    const auto setting = take(settings, key);
    return setting ? headerSafe(*setting, 1) : std::string();
}

std::optional<SettingText> anyUnder(const SettingTexts& settings, const std::string& prefix) {
    const auto found = settings.lower_bound(prefix);
    const bool isThere = found != settings.end() && found->first.starts_with(prefix);
    return isThere ? std::optional(found->second) : std::nullopt;
}

std::optional<ProviderConfiguration> providerOf(const SettingTexts& settings,
                                                const std::string& name) {
    const auto any = anyUnder(settings, name + "_");
    if (!any) {
        return std::nullopt;
    }
    for (const char* ending : {"_client_id", "_client_secret"}) {
        if (!take(settings, name + ending)) {
            throw ConfigurationError(any->source + " is set, and \"" + name + ending + "\" is not");
        }
    }
    ProviderConfiguration provider;
    provider.provider = name;
    provider.clientId = textUnder(settings, name + "_client_id");
    provider.clientSecret = textUnder(settings, name + "_client_secret");
    provider.authorizationUrl = textUnder(settings, name + "_authorization_url");
    provider.tokenUrl = textUnder(settings, name + "_token_url");
    provider.userUrl = textUnder(settings, name + "_user_url");
    provider.emailsUrl = textUnder(settings, name + "_emails_url");
    provider.issuer = textUnder(settings, name + "_issuer");
    provider.keysUrl = textUnder(settings, name + "_keys_url");
    return provider;
}

} // namespace

AccountConfiguration accountConfiguration(const SettingTexts& settings,
                                          const fs::path& dataFolder) {
    AccountConfiguration accounts;
    const auto readNumber = [&settings](const char* key, auto& target, std::uint32_t least,
                                        std::uint32_t most) {
        if (const auto setting = take(settings, key)) {
            target = std::decay_t<decltype(target)>(numberOf(*setting, least, most));
        }
    };
    accounts.databaseLocation = databaseOf(settings, dataFolder);
    if (const auto url = take(settings, "public_base_url")) {
        accounts.publicBaseUrl = originOf(*url);
    }
    if (const auto proxy = take(settings, "behind_proxy")) {
        accounts.isBehindProxy = flagOf(*proxy);
    }
    // Without it everybody would be taken for a user of this machine, who is believed a name.
    if (accounts.publicBaseUrl && !accounts.isBehindProxy &&
        isOfOtherMachines(*accounts.publicBaseUrl)) {
        throw ConfigurationError(take(settings, "public_base_url")->source +
                                 " is for users of other machines and needs \"behind_proxy\"");
    }
    // A client wants more than a minute left, and a ticket is repeated for five.
    readNumber("access_token_minutes", accounts.accessTokenLifetime, 5, 1440);
    readNumber("refresh_token_days", accounts.refreshTokenLifetime, 1, 3650);
    readNumber("logins_per_minute", accounts.loginsPerMinute, 0, mostPerMinute);
    readNumber("refreshes_per_minute", accounts.refreshesPerMinute, 0, mostPerMinute);
    readNumber("handles_per_minute", accounts.handlesPerMinute, 0, mostPerMinute);
    for (const char* name : {"google", "facebook", "github"}) {
        if (auto provider = providerOf(settings, name)) {
            accounts.providers.push_back(std::move(*provider));
        }
    }
    return accounts;
}

} // namespace lumivane::service
