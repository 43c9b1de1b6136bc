#include "server/login/ServiceOrigin.h"

#include "server/login/OAuthProviders.h"
#include "server/upstream/UpstreamUrl.h"

namespace lumivane::service {

namespace {

constexpr std::string_view loginPath = "/v1/auth";

UpstreamUrl parsed(const std::string& url) {
    try {
        return parseUpstreamUrl(url);
    } catch (const UpstreamUrlError& error) {
        throw LoginSettingsError(std::string("\"public_base_url\" ") + error.what());
    }
}

} // namespace

ServiceOrigin::ServiceOrigin(const std::optional<std::string>& publicUrl)
    : m_scope{std::string(loginPath), false} {
    if (!publicUrl) {
        return;
    }
    UpstreamUrl url = parsed(*publicUrl);
    while (url.target.ends_with('/')) {
        url.target.pop_back();
    }
    m_publicUrl = (url.isSecure ? "https://" : "http://") + url.hostField() + url.target;
    m_isOfThisMachine = isLoopbackHost(url.host);
    m_scope = {url.target + std::string(loginPath), url.isSecure};
}

std::optional<std::string> ServiceOrigin::baseFor(const RequestHead& head) const {
    if (m_publicUrl) {
        return m_publicUrl;
    }
    try {
        const UpstreamUrl url = parseUpstreamUrl("http://" + head.host.value_or(""));
        const bool isOriginOnly = url.target == "/" && !head.host->ends_with('/');
        return isOriginOnly ? std::optional("http://" + url.hostField()) : std::nullopt;
    } catch (const UpstreamUrlError&) {
        return std::nullopt;
    }
}

} // namespace lumivane::service
