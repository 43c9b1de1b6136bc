#pragma once

#include "server/memory_build/ExerciseFile.h"

#include <filesystem>
#include <vector>

namespace lumivane::service {

/// Writes the memory file, in one step for whoever opens it meanwhile. The same exercises give the
/// same answers in the same order. Throws SqliteError or std::filesystem::filesystem_error.
void writeMemory(const std::vector<Exercise>& exercises, const std::filesystem::path& path);

} // namespace lumivane::service
