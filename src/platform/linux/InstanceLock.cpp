#include "platform/linux/InstanceLock.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

namespace lumivane {

namespace {

/// `path` as a folder that is the user's own and that nobody else can write into, or none.
OwnedDescriptor openOwnFolder(const QString& path) {
    // Relative paths differ from process to process.
    if (!path.startsWith(u'/')) {
        return {};
    }
    OwnedDescriptor folder(
        ::open(QFile::encodeName(path).constData(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));

    struct stat facts {};

    if (!folder || ::fstat(folder.get(), &facts) != 0 || facts.st_uid != ::geteuid() ||
        (facts.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return {};
    }
    return folder;
}

/// A folder of our own where everybody may write.
OwnedDescriptor makeOwnFolder(const QString& temporaryFolder) {
    const QString path = temporaryFolder + u"/lumivane-"_qs + QString::number(::geteuid());
    ::mkdir(QFile::encodeName(path).constData(), S_IRWXU);
    return openOwnFolder(path);
}

QByteArray fileName(const InstancePlace& place) {
    return "lumivane-" + place.name().toLatin1() + ".lock";
}

/// Whether the name still stands for the file that was opened: a cleaner may have taken it away.
bool isFileOf(int folder, const QByteArray& name, int descriptor) {
    struct stat opened {};

    struct stat named {};

    return ::fstat(descriptor, &opened) == 0 &&
           ::fstatat(folder, name.constData(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

InstanceLock::InstanceLock(InstancePlace place)
    : m_place(std::move(place)) {}

InstanceLock::Outcome InstanceLock::take() {
    if (m_lock) {
        return Outcome::ours;
    }
    const Outcome outcome = takeIn(openOwnFolder(m_place.runtimeFolder));
    return outcome != Outcome::unavailable ? outcome
                                           : takeIn(makeOwnFolder(m_place.temporaryFolder));
}

InstanceLock::Outcome InstanceLock::takeIn(OwnedDescriptor folder) {
    m_folder = std::move(folder);
    const QByteArray name = fileName(m_place);
    while (m_folder) {
        OwnedDescriptor lock(::openat(m_folder.get(), name.constData(),
                                      O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                                      S_IRUSR | S_IWUSR));
        if (!lock) {
            break;
        }
        if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EWOULDBLOCK) {
                return Outcome::taken;
            }
            break;
        }
        if (isFileOf(m_folder.get(), name, lock.get())) {
            // The sticky bit keeps those that clean up runtime folders from it.
            ::fchmod(lock.get(), S_ISVTX | S_IRUSR | S_IWUSR);
            m_lock = std::move(lock);
            return Outcome::ours;
        }
    }
    m_folder.reset();
    return Outcome::unavailable;
}

bool InstanceLock::adopt(OwnedDescriptor descriptor) {
    const QByteArray name = fileName(m_place);
    OwnedDescriptor folder = openOwnFolder(m_place.runtimeFolder);
    if (!folder || !isFileOf(folder.get(), name, descriptor.get())) {
        folder = makeOwnFolder(m_place.temporaryFolder);
    }
    if (!folder || !isFileOf(folder.get(), name, descriptor.get()) ||
        ::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    m_folder = std::move(folder);
    m_lock = std::move(descriptor);
    return true;
}

} // namespace lumivane
