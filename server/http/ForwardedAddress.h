#pragma once

#include <optional>
#include <string>

namespace lumivane::service {

/// Whether the client's address is what a proxy before the service says it is.
enum class ForwardedAddress { ignored, believed };

/// The last address of an X-Forwarded-For header: the one that the nearest proxy has seen itself.
/// None when the header is absent or does not end in a literal IP address.
std::optional<std::string> forwardedAddress(const std::optional<std::string>& forwardedFor);

} // namespace lumivane::service
