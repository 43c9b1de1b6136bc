#include "server/analysis/ChatEndpoint.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <charconv>
#include <locale>

namespace lumivane::service {

namespace urls = boost::urls;

namespace {

constexpr std::uint16_t httpPort = 80;
constexpr std::uint16_t httpsPort = 443;

bool isLoopbackName(const std::string& host) {
    return host == "127.0.0.1" || host == "localhost" || host == "::1";
}

std::string completionsTarget(std::string path) {
    while (path.ends_with('/')) {
        path.pop_back();
    }
    if (path.ends_with("/chat/completions")) {
        return path;
    }
    return path + (path.ends_with("/v1") ? "/chat/completions" : "/v1/chat/completions");
}

// The library's own number wraps around beyond 65535.
std::uint16_t portOf(const std::string& digits) {
    std::uint16_t port = 0;
    const char* end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, port);
    if (error != std::errc() || rest != end || port == 0) {
        throw ChatEndpointError("has no usable port");
    }
    return port;
}

std::string lower(std::string_view text) {
    return boost::algorithm::to_lower_copy(std::string(text), std::locale::classic());
}

} // namespace

std::string ChatEndpoint::hostField() const {
    const bool isLiteral = host.find(':') != std::string::npos;
    const std::string name = isLiteral ? "[" + host + "]" : host;
    const bool isDefault = port == (isSecure ? httpsPort : httpPort);
    return isDefault ? name : name + ":" + std::to_string(port);
}

ChatEndpoint parseChatEndpoint(std::string_view baseUrl) {
    const auto parsed = urls::parse_uri(urls::string_view{baseUrl.data(), baseUrl.size()});
    if (!parsed) {
        throw ChatEndpointError("is not a URL");
    }
    const urls::url_view& url = *parsed;
    // The library takes "127.0.0.1.example.org" for the address with a path behind it.
    const std::string path(url.encoded_path());
    if (!path.empty() && !path.starts_with('/')) {
        throw ChatEndpointError("is not a URL");
    }
    if (url.has_userinfo() || url.has_query() || url.has_fragment()) {
        throw ChatEndpointError("must have no user, query or fragment");
    }
    const std::string scheme = lower(std::string(url.scheme()));
    ChatEndpoint endpoint;
    endpoint.isSecure = scheme == "https";
    endpoint.host = lower(url.host_address());
    if ((scheme != "https" && scheme != "http") || endpoint.host.empty()) {
        throw ChatEndpointError("must begin with https:// or http:// and a host");
    }
    if (!endpoint.isSecure && !isLoopbackName(endpoint.host)) {
        throw ChatEndpointError("must use https for any host but a loopback one");
    }
    endpoint.port = endpoint.isSecure ? httpsPort : httpPort;
    if (url.has_port()) {
        endpoint.port = portOf(std::string(url.port()));
    }
    endpoint.target = completionsTarget(path);
    return endpoint;
}

} // namespace lumivane::service
