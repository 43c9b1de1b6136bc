#include "platform/linux/FileUserDefaults.h"

#include "platform/linux/PosixFile.h"

#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace lumivane {

namespace {

using namespace PosixFile;
using UserDefaultsText::Entries;
using UserDefaultsText::maximumBytes;
namespace fs = std::filesystem;

constexpr int keptDamagedFiles = 5;

/// A name in a folder.
struct Place {
    fs::path folder;
    std::string name;

    fs::path path() const { return folder / name; }

    bool operator==(const Place&) const = default;
};

/// None for a file that is damaged as a whole.
using Content = std::optional<Entries>;

/// Where a link ends, whether a file is there or not; none for links that go in circles.
std::optional<fs::path> followed(fs::path path) {
    constexpr int mostLinks = 40; // as many as the system itself follows
    for (int links = 0; links < mostLinks; ++links) {
        std::error_code noLink;
        const fs::path next = fs::read_symlink(path, noLink);
        if (noLink) {
            return path;
        }
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    return std::nullopt;
}

/// The name that a write replaces.
Place written(const Place& entry) {
    const auto target = followed(entry.path());
    if (!target) {
        return entry;
    }
    const fs::file_status status = fs::status(*target);
    // A device must never be renamed, only the link to it.
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        return entry;
    }
    return {target->parent_path(), target->filename()};
}

std::optional<QByteArray> readBounded(int file) {
    struct stat status {};

    checked(::fstat(file, &status));
    if (!S_ISREG(status.st_mode) || status.st_size > maximumBytes) {
        return std::nullopt;
    }
    QByteArray text(maximumBytes + 1, Qt::Uninitialized);
    qsizetype size = 0;
    while (size < text.size()) {
        const ssize_t count =
            ::read(file, text.data() + size, static_cast<std::size_t>(text.size() - size));
        if (count == 0) {
            text.truncate(size);
            return text;
        }
        if (count < 0 && errno != EINTR) {
            fail(errno);
        }
        size += std::max<ssize_t>(count, 0);
    }
    return std::nullopt;
}

/// Fails for what may well be there and whole, such as when too many files are open.
Content read(const Place& entry) {
    // Without O_NONBLOCK a named pipe would wait for its other end.
    const int number = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (number < 0) {
        switch (errno) {
        case ENOENT:
        case ENOTDIR:
            return Entries();
        case EACCES:
        case ELOOP:
        case ENODEV:
        case ENXIO:
            return std::nullopt;
        default:
            fail(errno);
        }
    }
    const FileDescriptor file(number);
    const auto text = readBounded(file.number());
    return text ? UserDefaultsText::read(*text) : std::nullopt;
}

/// When a name in the folder was last made, changed or removed.
std::pair<time_t, long> lastChange(int folder) {
    struct stat status {};

    checked(::fstat(folder, &status));
    return {status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

/// Holds until the folder is closed. False when somebody else does not let go of it, or the file
/// system knows no locks.
bool lockFolder(int folder) {
    // Never waits without an end: the holder may have been stopped. One that is at work makes and
    // renames files, so the folder tells it from one that hangs.
    constexpr int mostAttempts = 1000;
    constexpr int mostIdleAttempts = 250;
    constexpr int pauseMilliseconds = 1;
    auto seen = lastChange(folder);
    for (int attempts = 1, idle = 1; attempts <= mostAttempts; ++attempts, ++idle) {
        if (::flock(folder, LOCK_EX | LOCK_NB) == 0) {
            return true;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return false;
        }
        if (std::exchange(seen, lastChange(folder)) != seen) {
            idle = 0;
        } else if (idle >= mostIdleAttempts) {
            return false;
        }
        ::poll(nullptr, 0, pauseMilliseconds);
    }
    return false;
}

std::string temporaryPrefix(const Place& place) { return "." + place.name + "-"; }

constexpr std::string_view temporarySuffix = ".tmp";

std::string damagedName(const Place& place, int number) {
    const std::string name = place.name + ".damaged";
    return number == 1 ? name : name + "-" + std::to_string(number);
}

void removeName(int folder, const std::string& name) {
    if (::unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT) {
        return;
    }
    if (errno != EISDIR) {
        fail(errno);
    }
    // What lies in a folder is somebody else's.
    if (::unlinkat(folder, name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOTEMPTY) {
        fail(errno);
    }
}

void removeTemporaryFiles(int folder, const Place& place) {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(place.folder)) {
        const std::string name = entry.path().filename();
        if (name.starts_with(temporaryPrefix(place)) && name.ends_with(temporarySuffix)) {
            found.push_back(name);
        }
    }
    for (const std::string& name : found) {
        removeName(folder, name);
    }
}

void setAside(int folder, const Place& place) {
    for (int number = 1; number < keptDamagedFiles; ++number) {
        if (renameToNew(folder, place.name, damagedName(place, number))) {
            return;
        }
    }
    const std::string last = damagedName(place, keptDamagedFiles);
    checked(::renameat(folder, place.name.c_str(), folder, last.c_str()));
}

/// A temporary file that goes unless it gets the name it was made for.
class NewFile {
public:
    NewFile(int folder, const Place& place, const QByteArray& content)
        : m_folder(folder)
        , m_name(temporaryPrefix(place) + uniqueName() + std::string(temporarySuffix)) {
        try {
            writeNewFile(folder, m_name, content);
        } catch (...) {
            ::unlinkat(m_folder, m_name.c_str(), 0);
            throw;
        }
    }

    ~NewFile() {
        if (!m_isPublished) {
            ::unlinkat(m_folder, m_name.c_str(), 0);
        }
    }

    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void publish(const std::string& name) {
        checked(::renameat(m_folder, m_name.c_str(), m_folder, name.c_str()));
        m_isPublished = true;
    }

private:
    int m_folder;
    std::string m_name;
    bool m_isPublished = false;
};

void removeEverything(const Place& place) {
    if (!fs::is_directory(place.folder)) {
        return;
    }
    const FileDescriptor folder(openFolder(place.folder));
    lockFolder(folder.number());
    removeName(folder.number(), place.name);
    for (int number = 1; number <= keptDamagedFiles; ++number) {
        removeName(folder.number(), damagedName(place, number));
    }
    removeTemporaryFiles(folder.number(), place);
    synchroniseFolder(folder.number());
}

} // namespace

FileUserDefaults::FileUserDefaults(const QString& folder, const QString& suite)
    : m_folder(QFile::encodeName(folder).toStdString())
    , m_name(QFile::encodeName(suite + u".json"_qs).toStdString()) {}

std::optional<QByteArray> FileUserDefaults::data(const QString& key) const {
    try {
        if (const Content content = read({m_folder, m_name})) {
            const auto found = content->find(key);
            return found == content->end() ? std::nullopt : std::optional(found->second);
        }
    } catch (const std::system_error&) {
        // As with no file at all; the next write tells.
    }
    return std::nullopt;
}

void FileUserDefaults::set(const QByteArray& data, const QString& key) {
    change([&](Entries& entries) { entries[key] = data; });
}

void FileUserDefaults::removeObject(const QString& key) {
    const Content content = read({m_folder, m_name});
    if (content && content->contains(key)) {
        change([&key](Entries& entries) { entries.erase(key); });
    }
}

void FileUserDefaults::removePersistentDomain() {
    const Place entry{m_folder, m_name};
    const Place target = written(entry);
    removeEverything(target);
    if (!(target == entry)) {
        removeEverything(entry);
    }
}

void FileUserDefaults::change(const std::function<void(Entries&)>& edit) {
    makeFolders(m_folder, S_IRWXU);
    const Place entry{m_folder, m_name};
    const Place place = written(entry);
    const FileDescriptor folder(openFolder(place.folder));
    if (lockFolder(folder.number())) {
        removeTemporaryFiles(folder.number(), place); // nobody else is writing one
    }
    const Content before = read(entry);
    Entries entries = before.value_or(Entries());
    edit(entries);
    const QByteArray text = UserDefaultsText::write(entries);
    if (text.size() > maximumBytes) {
        fail(EFBIG);
    }
    NewFile file(folder.number(), place, text);
    if (!before) {
        setAside(folder.number(), place);
    }
    file.publish(place.name);
    ::flock(folder.number(), LOCK_UN); // the slow rest needs no turn
    // Whoever reads now finds the new data: a failure would say that the old one is still there.
    ::fsync(folder.number());
}

} // namespace lumivane
