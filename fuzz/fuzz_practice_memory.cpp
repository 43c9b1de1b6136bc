#include "server/memory/PracticeMemory.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace lumivane::service;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const auto memory = PracticeMemory::open(LUMIVANE_PRACTICE_MEMORY);
    const std::string_view screen(reinterpret_cast<const char*>(bytes), size);
    const auto found = memory->match(screen);
    // The same screen is the same exercise, and an answer is never half of one.
    const auto again = memory->match(screen);
    if (found.has_value() != again.has_value() || (found && found->title != again->title) ||
        (found && found->answer.find("# " + found->title + "\n") != 0)) {
        std::abort();
    }
    return 0;
}
