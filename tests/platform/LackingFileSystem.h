#pragma once

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <vector>

namespace lumivane::test {

/// What some file systems cannot do.
enum class FileSystemLack {
    unnamedFiles,
    namesForUnnamedFiles, ///< they can be made, and never get a name
    renamingWithoutReplacing,
    links,
};

/// From now on all file systems of the calling thread lack these, and of threads that it starts.
inline void takeFromFileSystems(const std::set<FileSystemLack>& lacks) {
    struct Rule {
        std::uint32_t call;
        std::uint32_t argument;
        std::uint32_t bits; ///< any of them set in the argument
        std::uint32_t error;
    };

    const auto ruleFor = [](FileSystemLack lack) -> Rule {
        switch (lack) {
        case FileSystemLack::unnamedFiles:
            return {SYS_openat, 2, O_TMPFILE & ~O_DIRECTORY, EOPNOTSUPP};
        case FileSystemLack::namesForUnnamedFiles:
            return {SYS_linkat, 4, AT_SYMLINK_FOLLOW, EPERM};
        case FileSystemLack::renamingWithoutReplacing:
            return {SYS_renameat2, 4, RENAME_NOREPLACE, EINVAL};
        case FileSystemLack::links:
            return {SYS_linkat, 0, 0xFFFFFFFF, EPERM}; // no folder has the number 0
        }
        return {};
    };
    std::vector<sock_filter> filter;
    for (const FileSystemLack lack : lacks) {
        const Rule rule = ruleFor(lack);
        const auto argument = offsetof(seccomp_data, args) + rule.argument * sizeof(std::uint64_t);
        const std::array steps{
            sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, rule.call, 0, 3),
            sock_filter BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(argument)),
            sock_filter BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, rule.bits, 0, 1),
            sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | rule.error)};
        filter.insert(filter.end(), steps.begin(), steps.end());
    }
    filter.push_back(sock_filter BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        throw std::runtime_error("system calls cannot be refused");
    }
}

} // namespace lumivane::test
