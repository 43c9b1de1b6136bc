#pragma once

#include <QByteArray>

#include <sys/types.h>

#include <filesystem>
#include <stop_token>
#include <string>

/// Files by system calls, for what must stand on the disk for good. Failures are
/// std::system_error. Any thread.
namespace lumivane::PosixFile {

[[noreturn]] void fail(int error);

/// The result of a system call, unless that failed.
int checked(int result);

/// An open file or folder, closed in the end.
class FileDescriptor {
public:
    explicit FileDescriptor(int number)
        : m_number(checked(number)) {}

    ~FileDescriptor();

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int number() const { return m_number; }

private:
    int m_number;
};

/// A number for FileDescriptor.
int openFolder(const std::filesystem::path& path);

/// Also its parents, where they are missing, all for good. What is there already stays as it is.
void makeFolders(const std::filesystem::path& path, mode_t mode);

/// Names that were made, changed or removed in the folder are on the disk on return.
void synchroniseFolder(int folder);

/// Throws Cancelled at a requested stop, in time even for a long content.
void writeAll(int file, const QByteArray& content, const std::stop_token& stop = {});

/// Renames without replacing; false when the new name is taken. A file system that can neither do
/// that in one step nor link shows an empty file of the new name for a moment.
bool renameToNew(int folder, const std::string& from, const std::string& to);

/// Makes a file that only its owner reads and that has no name, so that nothing of it is left when
/// its process ends. Negative, with `errno`, where the file system has no such files.
int openUnnamedFile(int folder);

/// The first name of such a file, once and for good; false when the name is taken.
bool nameUnnamedFile(int file, int folder, const std::string& name);

/// Makes a file that only its owner reads: a number for FileDescriptor.
int openNewFile(int folder, const std::string& name);

/// Makes such a file, writes it and has it on the disk on return. What stands
/// there after a failure is the caller's to remove.
void writeNewFile(int folder, const std::string& name, const QByteArray& content,
                  const std::stop_token& stop = {});

/// Part of a file's name that no other file has.
std::string uniqueName();

} // namespace lumivane::PosixFile
