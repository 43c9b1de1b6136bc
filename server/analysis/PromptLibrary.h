#pragma once

#include "server/analysis/AnalyzeRecords.h"

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>

namespace lumivane::service {

/// A prompt file is missing or empty. `what()` names it.
class PromptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The words that tell a model what to do: one file per preset, named by its raw value, and
/// repair.txt for an answer in the wrong form.
class PromptLibrary {
public:
    /// Reads all files of the folder at once. Throws PromptError.
    static PromptLibrary load(const std::filesystem::path& folder);

    const std::string& instructions(Preset preset) const;
    const std::string& repair() const;

private:
    std::map<Preset, std::string> m_instructions;
    std::string m_repair;
};

} // namespace lumivane::service
