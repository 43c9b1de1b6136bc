#pragma once

#include <string>

namespace lumivane::service {

/// A random identifier in the form of a version 4 UUID, in lower case. Any thread may call it.
std::string makeRequestId();

} // namespace lumivane::service
