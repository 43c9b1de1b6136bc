// Loaded into a program under test: for that program, a folder is on a file system that does not
// answer. LUMIVANE_STALLED_FOLDER is its path; once the program waits there, "STALLED" stands
// beside it.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace {

bool isStalled(const char* path) {
    const char* const stalled = std::getenv("LUMIVANE_STALLED_FOLDER");
    return stalled != nullptr && std::string(path) == stalled;
}

[[noreturn]] void stall() {
    const std::string mark = std::string(std::getenv("LUMIVANE_STALLED_FOLDER")) + ".STALLED";
    ::close(::open(mark.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR));
    for (;;) {
        ::pause();
    }
}

} // namespace

extern "C" int mkdir(const char* path, mode_t mode) noexcept {
    if (isStalled(path)) {
        stall();
    }
    const auto itself = reinterpret_cast<int (*)(const char*, mode_t)>(::dlsym(RTLD_NEXT, "mkdir"));
    return itself(path, mode);
}
