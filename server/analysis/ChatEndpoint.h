#pragma once

#include "server/upstream/UpstreamUrl.h"

#include <string_view>

namespace lumivane::service {

/// The address of a model server cannot be used. `what()` says why and does not repeat it.
using ChatEndpointError = UpstreamUrlError;

/// Where chat completions are asked for; the target is the path of the completions form.
using ChatEndpoint = UpstreamUrl;

/// Takes "https://models.example.org", the same with a prefix or ending in "/v1" or in
/// "/v1/chat/completions", by the rules of `parseUpstreamUrl`. Throws ChatEndpointError.
ChatEndpoint parseChatEndpoint(std::string_view baseUrl);

} // namespace lumivane::service
