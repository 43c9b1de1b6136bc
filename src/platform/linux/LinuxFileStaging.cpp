#include "platform/linux/LinuxFileStaging.h"

#include "async/Cancelled.h"

#include <QFile>
#include <QUuid>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace lumivane {

namespace {

constexpr std::size_t chunkBytes = 1024 * 1024; ///< between two looks at the stop

[[noreturn]] void fail(int error) { throw std::system_error(error, std::generic_category()); }

/// The result of a system call, unless that failed.
int checked(int result) {
    if (result < 0) {
        fail(errno);
    }
    return result;
}

class FileDescriptor {
public:
    explicit FileDescriptor(int number)
        : m_number(checked(number)) {}

    ~FileDescriptor() { ::close(m_number); }

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int number() const { return m_number; }

private:
    int m_number;
};

/// Some file systems keep folders safe by themselves and know no such request.
void synchroniseFolder(int folder) {
    if (::fsync(folder) != 0 && errno != EINVAL && errno != ENOTSUP) {
        fail(errno);
    }
}

int openFolder(const std::filesystem::path& path) {
    return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

void makeFolder(const std::filesystem::path& path) {
    std::error_code error;
    const bool isNew = std::filesystem::create_directories(path, error);
    if (error) {
        throw std::system_error(error);
    }
    if (isNew) {
        const FileDescriptor parent(openFolder(path.parent_path()));
        synchroniseFolder(parent.number());
    }
}

void writeAll(int file, const QByteArray& content, const std::stop_token& stop) {
    const char* next = content.constData();
    const char* const end = next + content.size();
    while (next < end) {
        throwIfStopped(stop);
        const auto size = std::min(chunkBytes, static_cast<std::size_t>(end - next));
        const ssize_t written = ::write(file, next, size);
        if (written < 0 && errno != EINTR) {
            fail(errno);
        }
        next += std::max<ssize_t>(written, 0);
    }
}

/// Renames without replacing; false when the new name is taken.
bool renameToNew(int folder, const std::string& from, const std::string& to) {
    if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno == EINVAL || errno == ENOSYS) { // not on this file system
        if (::linkat(folder, from.c_str(), folder, to.c_str(), 0) == 0) {
            ::unlinkat(folder, from.c_str(), 0);
            return true;
        }
        if (errno == EPERM) {
            fail(ENOTSUP); // no links either, which is no refusal of the user
        }
    }
    if (errno == EEXIST) {
        return false;
    }
    fail(errno);
}

class LinuxStagedFiles final : public StagedFiles {
public:
    explicit LinuxStagedFiles(const std::filesystem::path& folder)
        : m_folder(openFolder(folder)) {}

    ~LinuxStagedFiles() override {
        for (const std::string& name : m_hiddenNames) {
            ::unlinkat(m_folder.number(), name.c_str(), 0);
        }
    }

    LinuxStagedFiles(const LinuxStagedFiles&) = delete;
    LinuxStagedFiles& operator=(const LinuxStagedFiles&) = delete;

    void add(const QByteArray& content, const std::stop_token& stop) {
        const QString unique = QUuid::createUuid().toString(QUuid::WithoutBraces);
        const std::string name = ".lumivane-" + unique.toStdString() + ".tmp";
        const FileDescriptor file(::openat(m_folder.number(), name.c_str(),
                                           O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                           S_IRUSR | S_IWUSR));
        m_hiddenNames.push_back(name);
        writeAll(file.number(), content, stop);
        checked(::fsync(file.number()));
    }

    bool publish(const std::vector<QString>& names) override {
        std::vector<std::string> published;
        try {
            for (const QString& name : names) {
                const std::string wanted = QFile::encodeName(name).toStdString();
                if (!renameToNew(m_folder.number(), m_hiddenNames.at(published.size()), wanted)) {
                    takeBack(published);
                    return false;
                }
                published.push_back(wanted);
            }
            synchroniseFolder(m_folder.number());
        } catch (...) {
            takeBack(published);
            throw;
        }
        m_hiddenNames.clear();
        return true;
    }

private:
    void takeBack(const std::vector<std::string>& published) const {
        for (std::size_t index = 0; index < published.size(); ++index) {
            ::renameat(m_folder.number(), published[index].c_str(), m_folder.number(),
                       m_hiddenNames[index].c_str());
        }
    }

    FileDescriptor m_folder;
    std::vector<std::string> m_hiddenNames;
};

} // namespace

std::unique_ptr<StagedFiles> LinuxFileStaging::stage(const QString& folder,
                                                     const std::vector<QByteArray>& contents,
                                                     const std::stop_token& stop) {
    throwIfStopped(stop);
    const std::filesystem::path path(QFile::encodeName(folder).toStdString());
    makeFolder(path);
    auto files = std::make_unique<LinuxStagedFiles>(path);
    for (const QByteArray& content : contents) {
        files->add(content, stop);
    }
    return files;
}

} // namespace lumivane
