#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace lumivane::service::test {

/// A folder of its own for one test, removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "lumivane-XXXXXX").string();
        m_path = ::mkdtemp(name.data());
    }

    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

} // namespace lumivane::service::test
