#include "server/analysis/PromptLibrary.h"

#include "server/text/Utf8.h"

#include <fstream>
#include <sstream>

namespace lumivane::service {

namespace {

constexpr std::size_t fileBytes = 64 * 1024;

std::string readPrompt(const std::filesystem::path& folder, std::string_view name) {
    const auto path = folder / (std::string(name) + ".txt");
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || !hasContent(text.str()) || text.str().size() > fileBytes) {
        throw PromptError("no usable prompt in " + path.string());
    }
    const std::string whole = text.str();
    return std::string(trimmed(whole));
}

} // namespace

PromptLibrary PromptLibrary::load(const std::filesystem::path& folder) {
    PromptLibrary library;
    for (const Preset preset : {Preset::mcq, Preset::summary, Preset::custom, Preset::leetCode}) {
        library.m_instructions[preset] = readPrompt(folder, rawValue(preset));
    }
    library.m_repair = readPrompt(folder, "repair");
    return library;
}

const std::string& PromptLibrary::instructions(Preset preset) const {
    return m_instructions.at(preset);
}

const std::string& PromptLibrary::repair() const { return m_repair; }

} // namespace lumivane::service
