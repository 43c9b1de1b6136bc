#pragma once

#include "server/store/DatabaseSettings.h"

#include <memory>

namespace lumivane::service {

class StoreEngine;

/// A server that many replicas share: serializable transactions, tried again with growing pauses
/// when they met. A connection that broke is made anew at its next use. Throws StoreError.
std::unique_ptr<StoreEngine> openPostgres(const DatabaseSettings& settings);

} // namespace lumivane::service
