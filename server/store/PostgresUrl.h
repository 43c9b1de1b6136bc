#pragma once

#include <string>

namespace lumivane::service {

/// The address of a PostgreSQL server with bounds to every wait for its machine: five seconds to
/// connect, ten until what was sent is acknowledged, 25 until an idle connection is known to be
/// dead. The client library knows no bound of its own, and the kernel's is a quarter of an hour.
/// What the address says already stays as it is.
std::string withPostgresTimeouts(std::string url);

} // namespace lumivane::service
