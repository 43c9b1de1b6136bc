#include "server/upstream/UpstreamUrl.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include <algorithm>
#include <charconv>
#include <locale>

namespace lumivane::service {

namespace urls = boost::urls;

namespace {

constexpr std::uint16_t httpPort = 80;
constexpr std::uint16_t httpsPort = 443;

// The library's own number wraps around beyond 65535.
std::uint16_t portOf(const std::string& digits) {
    std::uint16_t port = 0;
    const char* end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, port);
    if (error != std::errc() || rest != end || port == 0) {
        throw UpstreamUrlError("has no usable port");
    }
    return port;
}

std::string lower(std::string_view text) {
    return boost::algorithm::to_lower_copy(std::string(text), std::locale::classic());
}

// What the library has decoded could be anything.
bool isHost(std::string_view text) {
    const auto isAllowed = [](char character) {
        const bool isLetter = character >= 'a' && character <= 'z';
        const bool isDigit = character >= '0' && character <= '9';
        return isLetter || isDigit ||
               std::string_view("-._~:").find(character) != std::string_view::npos;
    };
    return !text.empty() && std::all_of(text.begin(), text.end(), isAllowed);
}

} // namespace

std::string UpstreamUrl::hostField() const {
    const bool isLiteral = host.find(':') != std::string::npos;
    const std::string name = isLiteral ? "[" + host + "]" : host;
    const bool isDefault = port == (isSecure ? httpsPort : httpPort);
    return isDefault ? name : name + ":" + std::to_string(port);
}

UpstreamUrl parseUpstreamUrl(std::string_view text) {
    const auto parsed = urls::parse_uri(urls::string_view{text.data(), text.size()});
    if (!parsed) {
        throw UpstreamUrlError("is not a URL");
    }
    const urls::url_view& url = *parsed;
    // The library takes "127.0.0.1.example.org" for the address with a path behind it.
    const std::string path(url.encoded_path());
    if (!path.empty() && !path.starts_with('/')) {
        throw UpstreamUrlError("is not a URL");
    }
    if (url.has_userinfo() || url.has_query() || url.has_fragment()) {
        throw UpstreamUrlError("must have no user, query or fragment");
    }
    const std::string scheme = lower(std::string(url.scheme()));
    UpstreamUrl result;
    result.isSecure = scheme == "https";
    result.host = lower(url.host_address());
    if ((scheme != "https" && scheme != "http") || !isHost(result.host)) {
        throw UpstreamUrlError("must begin with https:// or http:// and a host");
    }
    if (!result.isSecure && !isLoopbackHost(result.host)) {
        throw UpstreamUrlError("must use https for any host but a loopback one");
    }
    result.port = result.isSecure ? httpsPort : httpPort;
    if (url.has_port()) {
        result.port = portOf(std::string(url.port()));
    }
    result.target = path.empty() ? "/" : path;
    return result;
}

bool isLoopbackHost(std::string_view host) {
    return host == "127.0.0.1" || host == "localhost" || host == "::1";
}

} // namespace lumivane::service
