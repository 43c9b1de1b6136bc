#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumivane::service {

/// The memory file is missing, damaged or of another version. `what()` is one sentence for the
/// person who runs the service.
class PracticeMemoryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// An exercise as it is answered.
struct WorkedExercise {
    std::string title;
    std::string answer; ///< Markdown
};

/// The exercises whose solutions were run when the memory was made. Never changes; any thread may
/// ask, one search at a time.
class PracticeMemory {
public:
    /// Reads and checks the whole file. Throws PracticeMemoryError.
    static std::unique_ptr<PracticeMemory> open(const std::filesystem::path& path);

    ~PracticeMemory();
    PracticeMemory(const PracticeMemory&) = delete;
    PracticeMemory& operator=(const PracticeMemory&) = delete;

    std::size_t size() const;

    /// The exercise that the screen shows, when there is no doubt about it: at least the words in
    /// common that full-text search asks for, and at least the evidence of ExerciseMatch.h, for
    /// this exercise more than for any other. Blocks; linear in the text, some tens of
    /// milliseconds for the longest one.
    std::optional<WorkedExercise> match(std::string_view screenText) const;

private:
    struct State;

    explicit PracticeMemory(std::unique_ptr<State> state);

    std::unique_ptr<State> m_state;
};

} // namespace lumivane::service
