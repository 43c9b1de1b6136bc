#include "server/memory_build/ExerciseFile.h"

#include <cstdint>
#include <cstdlib>

using namespace lumivane::service;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    try {
        const Exercise exercise = readExercise(text);
        require(!exercise.title().empty());
        require(exercise.approaches.size() == approachesPerExercise);
        require(!exercise.tests.empty());
        require(answerOf(exercise).find(exercise.title()) != std::string::npos);
        require(decodeSigns(encodeSigns(exercise.signs)) == exercise.signs);
    } catch (const ExerciseError&) {
        // Most inputs are no exercise.
    }
    return 0;
}
