#pragma once

#include "server/memory_build/ExerciseFile.h"
#include "server/memory_build/SandboxedChild.h"

#include <filesystem>
#include <string>

namespace lumivane::service {

/// Where approaches are run.
struct PythonRuntime {
    std::filesystem::path interpreter;
    std::string harness; ///< the text of harness.py
    SandboxLimits limits;
};

/// What came of an approach.
struct ApproachReport {
    std::string failure; ///< empty when every test passed; else what is wrong
    SandboxResult run;   ///< how the process ended, and what was kept from it
};

/// Runs all tests of an exercise against one of its approaches, in a process of its own. Blocks.
/// Throws SandboxError.
ApproachReport runTests(const Exercise& exercise, const Approach& approach,
                        const PythonRuntime& runtime);

} // namespace lumivane::service
