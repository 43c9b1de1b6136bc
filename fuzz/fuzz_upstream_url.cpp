#include "server/analysis/ChatEndpoint.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace lumivane::service;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

bool isVisible(char character) { return character > ' ' && character < '\x7F'; }

// Whatever a request is made of must stay in its own line, and in its own place there.
void check(const UpstreamUrl& url) {
    const std::string field = url.hostField();
    require(!url.host.empty() && url.port != 0);
    require(std::all_of(field.begin(), field.end(), isVisible));
    require(field.find_first_of("/?#@") == std::string::npos);
    require(url.target.starts_with('/'));
    require(std::all_of(url.target.begin(), url.target.end(), isVisible));
    require(url.isSecure || isLoopbackHost(url.host));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    try {
        const UpstreamUrl url = parseUpstreamUrl(text);
        check(url);
        const std::string scheme = url.isSecure ? "https://" : "http://";
        require(parseUpstreamUrl(scheme + url.hostField() + url.target) == url);
        const UpstreamUrl chat = parseChatEndpoint(text);
        check(chat);
        require(chat.target.ends_with("/chat/completions"));
    } catch (const UpstreamUrlError&) {
        // Most inputs are no address.
    }
    return 0;
}
