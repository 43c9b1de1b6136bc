#include "SystemCallFaults.h"

#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

namespace lumivane::test {

namespace {

SystemCallFaults* present = nullptr;

bool isFolder(int file) {
    struct stat status {};

    return ::fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

SystemCallFaults::SystemCallFaults() {
    if (present != nullptr) {
        throw std::logic_error("two at once");
    }
    present = this;
}

SystemCallFaults::~SystemCallFaults() { present = nullptr; }

} // namespace lumivane::test

// The program's own come before those of the system's library.

extern "C" int fsync(int file) {
    using lumivane::test::present;
    if (present != nullptr && lumivane::test::isFolder(file)) {
        ++present->foldersSynchronised;
        if (present->failsFolders) {
            errno = EIO;
            return -1;
        }
    }
    return static_cast<int>(::syscall(SYS_fsync, file));
}

extern "C" int flock(int file, int operation) noexcept {
    using lumivane::test::present;
    if (present != nullptr && (operation & LOCK_EX) != 0) {
        ++present->locksTried;
        if (present->onLock) {
            present->onLock();
        }
    }
    return static_cast<int>(::syscall(SYS_flock, file, operation));
}
