#include "server/analysis/ChatEndpoint.h"

namespace lumivane::service {

namespace {

std::string completionsTarget(std::string path) {
    while (path.ends_with('/')) {
        path.pop_back();
    }
    if (path.ends_with("/chat/completions")) {
        return path;
    }
    return path + (path.ends_with("/v1") ? "/chat/completions" : "/v1/chat/completions");
}

} // namespace

UpstreamUrl parseChatEndpoint(std::string_view baseUrl) {
    UpstreamUrl endpoint = parseUpstreamUrl(baseUrl);
    endpoint.target = completionsTarget(std::move(endpoint.target));
    return endpoint;
}

} // namespace lumivane::service
