#include "platform/linux/PosixFile.h"

#include "async/Cancelled.h"

#include <QUuid>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace lumivane::PosixFile {

namespace {

constexpr std::size_t chunkBytes = 1024 * 1024; ///< between two looks at the stop

void synchroniseParent(const std::filesystem::path& path) {
    const int number = openFolder(path.parent_path());
    if (number < 0 && errno == EACCES) {
        return; // one that may be written, but not read
    }
    const FileDescriptor parent(number);
    synchroniseFolder(parent.number());
}

void makeFolder(const std::filesystem::path& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) == 0) {
        synchroniseParent(path);
        return;
    }
    if (errno != EEXIST) {
        fail(errno);
    }
    if (!std::filesystem::is_directory(path)) { // else somebody else was faster
        fail(ENOTDIR);
    }
}

/// Takes the name with a file of its own first, and then puts the other one in its place.
bool renameOverOwn(int folder, const std::string& from, const std::string& to) {
    const int number = openNewFile(folder, to);
    if (number < 0 && errno == EEXIST) {
        return false;
    }
    const FileDescriptor placeholder(number);
    if (::renameat(folder, from.c_str(), folder, to.c_str()) != 0) {
        const int error = errno;
        ::unlinkat(folder, to.c_str(), 0);
        fail(error);
    }
    return true;
}

} // namespace

void fail(int error) { throw std::system_error(error, std::generic_category()); }

int checked(int result) {
    if (result < 0) {
        fail(errno);
    }
    return result;
}

FileDescriptor::~FileDescriptor() { ::close(m_number); }

int openFolder(const std::filesystem::path& path) {
    return ::open(path.empty() ? "." : path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

void makeFolders(const std::filesystem::path& path, mode_t mode) {
    if (path.empty() || std::filesystem::is_directory(path)) {
        return;
    }
    makeFolders(path.parent_path(), mode);
    makeFolder(path, mode);
}

void synchroniseFolder(int folder) {
    // Some file systems keep folders safe by themselves and know no such request.
    if (::fsync(folder) != 0 && errno != EINVAL && errno != ENOTSUP) {
        fail(errno);
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

bool renameToNew(int folder, const std::string& from, const std::string& to) {
    if (::renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno == EINVAL || errno == ENOSYS) { // not on this file system
        if (::linkat(folder, from.c_str(), folder, to.c_str(), 0) == 0) {
            ::unlinkat(folder, from.c_str(), 0);
            return true;
        }
        if (errno == EPERM || errno == ENOTSUP || errno == ENOSYS) { // no links either
            return renameOverOwn(folder, from, to);
        }
    }
    if (errno == EEXIST) {
        return false;
    }
    fail(errno);
}

int openUnnamedFile(int folder) {
    return ::openat(folder, ".", O_WRONLY | O_TMPFILE | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

bool nameUnnamedFile(int file, int folder, const std::string& name) {
    const std::string itself = "/proc/self/fd/" + std::to_string(file);
    if (::linkat(AT_FDCWD, itself.c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        return true;
    }
    if (errno == EEXIST) {
        return false;
    }
    fail(errno);
}

int openNewFile(int folder, const std::string& name) {
    return ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                    S_IRUSR | S_IWUSR);
}

void writeNewFile(int folder, const std::string& name, const QByteArray& content,
                  const std::stop_token& stop) {
    const FileDescriptor file(openNewFile(folder, name));
    writeAll(file.number(), content, stop);
    checked(::fsync(file.number()));
}

std::string uniqueName() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
}

} // namespace lumivane::PosixFile
