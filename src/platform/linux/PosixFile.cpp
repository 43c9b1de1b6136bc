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

void makeFolder(const std::filesystem::path& path, mode_t mode) {
    if (::mkdir(path.c_str(), mode) == 0) {
        const FileDescriptor parent(openFolder(path.parent_path()));
        synchroniseFolder(parent.number());
        return;
    }
    if (errno != EEXIST) {
        fail(errno);
    }
    if (!std::filesystem::is_directory(path)) { // else somebody else was faster
        fail(ENOTDIR);
    }
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
        if (errno == EPERM) {
            fail(ENOTSUP); // no links either, which is no refusal of the user
        }
    }
    if (errno == EEXIST) {
        return false;
    }
    fail(errno);
}

void writeNewFile(int folder, const std::string& name, const QByteArray& content,
                  const std::stop_token& stop) {
    const FileDescriptor file(
        ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    writeAll(file.number(), content, stop);
    checked(::fsync(file.number()));
}

std::string uniqueName() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString();
}

} // namespace lumivane::PosixFile
