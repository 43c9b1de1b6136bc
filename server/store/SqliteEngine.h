#pragma once

#include "server/store/DatabaseSettings.h"

#include <memory>

namespace lumivane::service {

class StoreEngine;

/// A file in write-ahead mode that is flushed at every commit: one writer, whose callers share
/// commits, and readers beside it that never wait for it. File and folder are for the owner only.
/// Throws StoreError.
std::unique_ptr<StoreEngine> openSqlite(const DatabaseSettings& settings);

} // namespace lumivane::service
