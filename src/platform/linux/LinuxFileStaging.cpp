#include "platform/linux/LinuxFileStaging.h"

#include "async/Cancelled.h"
#include "platform/linux/PosixFile.h"

#include <QFile>
#include <QLatin1String>
#include <QUuid>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace lumivane {

namespace {

using namespace PosixFile;

namespace fs = std::filesystem;

constexpr std::string_view hiddenPrefix = ".lumivane-";
constexpr std::string_view hiddenSuffix = ".tmp";
constexpr time_t staleSeconds = 3600;

bool isHiddenName(std::string_view name) {
    if (name.size() <= hiddenPrefix.size() + hiddenSuffix.size() ||
        !name.starts_with(hiddenPrefix) || !name.ends_with(hiddenSuffix)) {
        return false;
    }
    name.remove_prefix(hiddenPrefix.size());
    name.remove_suffix(hiddenSuffix.size());
    return !QUuid::fromString(QLatin1String(name.data(), static_cast<int>(name.size()))).isNull();
}

/// Removes what a process left that was ended while it staged. Nothing depends on it. `now` is a
/// moment of the file system's own clock.
void removeStale(int folder, const fs::path& path, time_t now) {
    std::error_code unread;
    std::vector<std::string> stale;
    for (fs::directory_iterator entry(path, unread), end; !unread && entry != end;
         entry.increment(unread)) {
        const std::string name = entry->path().filename();

        struct stat status {};

        if (isHiddenName(name) &&
            ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode) && status.st_mtim.tv_sec <= now - staleSeconds) {
            stale.push_back(name);
        }
    }
    for (const std::string& name : stale) {
        ::unlinkat(folder, name.c_str(), 0);
    }
}

/// A file that goes unless it gets the name it was made for.
class StagedFile {
public:
    StagedFile(int folder, const QByteArray& content, const std::stop_token& stop)
        : m_folder(folder)
        , m_content(content)
        , m_hiddenName(std::string(hiddenPrefix) + uniqueName() + std::string(hiddenSuffix)) {
        const int unnamed = openUnnamedFile(folder);
        if (unnamed < 0) {
            makeHidden(stop);
            return;
        }
        m_unnamed.emplace(unnamed);
        write(unnamed, stop);
    }

    ~StagedFile() { removeHidden(); }

    StagedFile(const StagedFile&) = delete;
    StagedFile& operator=(const StagedFile&) = delete;

    time_t lastWrite() const { return m_lastWrite; }

    bool publish(const std::string& name) {
        if (m_unnamed) {
            try {
                const bool isNamed = nameUnnamedFile(m_unnamed->number(), m_folder, name);
                if (isNamed) {
                    m_unnamed.reset();
                }
                return isNamed;
            } catch (const std::system_error&) {
                // Made without a name and refused one: the other road has the last word.
                makeHidden({});
                m_unnamed.reset();
            }
        }
        m_isHidden = !renameToNew(m_folder, m_hiddenName, name);
        return !m_isHidden;
    }

    /// What had a name cannot be without one again, so it becomes a hidden file.
    void takeBack(const std::string& name) {
        m_isHidden = true;
        ::renameat(m_folder, name.c_str(), m_folder, m_hiddenName.c_str());
    }

private:
    void makeHidden(const std::stop_token& stop) {
        const FileDescriptor file(openNewFile(m_folder, m_hiddenName));
        m_isHidden = true;
        try {
            write(file.number(), stop);
        } catch (...) {
            removeHidden();
            throw;
        }
    }

    void write(int file, const std::stop_token& stop) {
        writeAll(file, m_content, stop);
        checked(::fsync(file));

        struct stat status {};

        checked(::fstat(file, &status));
        m_lastWrite = status.st_mtim.tv_sec;
    }

    void removeHidden() const {
        if (m_isHidden) {
            ::unlinkat(m_folder, m_hiddenName.c_str(), 0);
        }
    }

    int m_folder;
    QByteArray m_content;
    std::string m_hiddenName;
    bool m_isHidden = false;
    std::optional<FileDescriptor> m_unnamed;
    time_t m_lastWrite = 0;
};

class LinuxStagedFiles final : public StagedFiles {
public:
    explicit LinuxStagedFiles(const fs::path& folder)
        : m_folder(openFolder(folder)) {}

    void add(const QByteArray& content, const std::stop_token& stop) {
        m_files.push_back(std::make_unique<StagedFile>(m_folder.number(), content, stop));
    }

    void removeStale(const fs::path& path) const {
        if (!m_files.empty()) {
            lumivane::removeStale(m_folder.number(), path, m_files.front()->lastWrite());
        }
    }

    bool publish(const std::vector<QString>& names) override {
        std::vector<std::string> published;
        try {
            for (const QString& name : names) {
                const std::string wanted = QFile::encodeName(name).toStdString();
                if (!m_files.at(published.size())->publish(wanted)) {
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
        return true;
    }

private:
    void takeBack(const std::vector<std::string>& published) const {
        for (std::size_t index = 0; index < published.size(); ++index) {
            m_files[index]->takeBack(published[index]);
        }
    }

    FileDescriptor m_folder;
    std::vector<std::unique_ptr<StagedFile>> m_files;
};

} // namespace

std::unique_ptr<StagedFiles> LinuxFileStaging::stage(const QString& folder,
                                                     const std::vector<QByteArray>& contents,
                                                     const std::stop_token& stop) {
    throwIfStopped(stop);
    const fs::path path(QFile::encodeName(folder).toStdString());
    makeFolders(path, S_IRWXU | S_IRWXG | S_IRWXO);
    auto files = std::make_unique<LinuxStagedFiles>(path);
    for (const QByteArray& content : contents) {
        files->add(content, stop);
    }
    files->removeStale(path);
    return files;
}

} // namespace lumivane
