#pragma once

#include <functional>

namespace lumivane::test {

/// Stands before two of the system calls of this whole program while it lives: what a disk or
/// another process does to them at a bad moment. One at a time; not while other threads make files.
class SystemCallFaults {
public:
    SystemCallFaults();
    ~SystemCallFaults();

    SystemCallFaults(const SystemCallFaults&) = delete;
    SystemCallFaults& operator=(const SystemCallFaults&) = delete;

    /// Folders can be made permanent no longer: the disk has an error.
    bool failsFolders = false;

    /// Hears of each try to take a lock, before it is made.
    std::function<void()> onLock;

    int foldersSynchronised = 0; ///< the ones that failed count as well
    int locksTried = 0;
};

} // namespace lumivane::test
