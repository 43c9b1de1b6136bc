#pragma once

#include "server/store/WallClock.h"

#include <string>

namespace lumivane::service {

/// The form of a date in answers: RFC 3339 in UTC with milliseconds, "2026-11-15T06:25:30.123Z".
std::string wireTime(WallTime time);

} // namespace lumivane::service
