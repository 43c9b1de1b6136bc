#include "platform/linux/SystemRandomSource.h"

#include <sys/random.h>

#include <cerrno>

namespace lumivane {

bool SystemRandomSource::fill(std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::getrandom(bytes.data(), bytes.size(), 0);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes = bytes.subspan(count < 0 ? 0 : static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace lumivane
