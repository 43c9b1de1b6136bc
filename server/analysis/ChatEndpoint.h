#pragma once

#include "server/upstream/UpstreamUrl.h"

#include <string_view>

namespace lumivane::service {

/// Where chat completions are asked for; the target is the path of the completions form.
///
/// Takes "https://models.example.org", the same with a prefix or ending in "/v1" or in
/// "/v1/chat/completions", by the rules of `parseUpstreamUrl`. Throws UpstreamUrlError.
UpstreamUrl parseChatEndpoint(std::string_view baseUrl);

} // namespace lumivane::service
