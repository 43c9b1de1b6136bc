#pragma once

#include <array>
#include <filesystem>
#include <string>

namespace lumivane::service {

/// What keeps a program from the files of this machine. Made before a fork; its operations are
/// for the child, allocate nothing and leave the reason of a failure in errno.
class FileConfinement {
public:
    explicit FileConfinement(const std::filesystem::path& program);

    /// Lets no file be changed in any way, the permissions and times of one included. Wants a mount
    /// namespace of the process's own, and the right to mount in it.
    static bool makeAllReadOnly();

    /// Lets nothing be read but the program itself and the libraries of the system and beside it.
    /// Nothing can be made, written or removed, either, but this alone does not keep permissions.
    /// Needs PR_SET_NO_NEW_PRIVS. Lasts for all that the process becomes.
    bool hideAllButLibraries() const;

private:
    std::string m_program;
    std::array<std::string, 2> m_besideProgram; ///< folders of libraries that came with it
};

} // namespace lumivane::service
