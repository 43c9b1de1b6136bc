#include "server/memory_build/FileConfinement.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

namespace lumivane::service {

namespace {

constexpr std::uint64_t runsFiles = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE;
constexpr std::uint64_t readsFolders = runsFiles | LANDLOCK_ACCESS_FS_READ_DIR;

long landlockVersion() {
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
}

// Everything that this kernel can refuse. The headers may be older than the kernel.
std::uint64_t allAccess(long version) {
    constexpr std::uint64_t linksElsewhere = 1ULL << 13;
    constexpr std::uint64_t truncates = 1ULL << 14;
    constexpr std::uint64_t controlsDevices = 1ULL << 15;
    std::uint64_t all = linksElsewhere - 1; // of the first version
    all |= version >= 2 ? linksElsewhere : 0;
    all |= version >= 3 ? truncates : 0;
    all |= version >= 5 ? controlsDevices : 0;
    return all;
}

// What is not there needs no rule.
bool allow(int rules, const char* path, std::uint64_t access) {
    const int place = ::open(path, O_PATH | O_CLOEXEC);
    if (place < 0) {
        return true;
    }
    landlock_path_beneath_attr rule{};
    rule.allowed_access = access;
    rule.parent_fd = place;
    const bool isAllowed =
        ::syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
    ::close(place);
    return isAllowed;
}

} // namespace

FileConfinement::FileConfinement(const std::filesystem::path& program) {
    std::error_code error;
    const auto whole = std::filesystem::canonical(program, error);
    const auto prefix = whole.parent_path().parent_path();
    m_program = whole.string();
    m_besideProgram = {(prefix / "lib").string(), (prefix / "lib64").string()};
}

bool FileConfinement::makeAllReadOnly() {
    mount_attr attributes{};
    attributes.attr_set = MOUNT_ATTR_RDONLY;
    attributes.propagation = MS_PRIVATE; // or other namespaces would see it
    return ::mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &attributes, sizeof attributes) == 0;
}

bool FileConfinement::hideAllButLibraries() const {
    const long version = landlockVersion();
    if (version < 1) {
        return false;
    }
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = allAccess(version);
    const int rules =
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0));
    bool isReady = rules >= 0 && allow(rules, m_program.c_str(), runsFiles) &&
                   allow(rules, "/etc/ld.so.cache", LANDLOCK_ACCESS_FS_READ_FILE);
    for (const char* folder : {"/lib", "/lib64", "/usr/lib", "/usr/lib64"}) {
        isReady = isReady && allow(rules, folder, readsFolders);
    }
    for (const std::string& folder : m_besideProgram) {
        isReady = isReady && allow(rules, folder.c_str(), readsFolders);
    }
    isReady = isReady && ::syscall(SYS_landlock_restrict_self, rules, 0) == 0;
    ::close(rules);
    return isReady;
}

} // namespace lumivane::service
