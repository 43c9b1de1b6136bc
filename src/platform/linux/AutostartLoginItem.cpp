#include "platform/linux/AutostartLoginItem.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

namespace lumivane {

namespace {

namespace fs = std::filesystem;

constexpr QLatin1StringView fileName("com.marnoth.Lumivane.desktop");
constexpr QLatin1StringView typeKey("Type");
constexpr QLatin1StringView nameKey("Name");
constexpr QLatin1StringView iconKey("Icon");
constexpr QLatin1StringView execKey("Exec");
constexpr QLatin1StringView tryExecKey("TryExec");
constexpr QLatin1StringView onlyShowInKey("OnlyShowIn");
constexpr QLatin1StringView notShowInKey("NotShowIn");
constexpr QLatin1StringView hiddenKey("Hidden");

[[noreturn]] void fail(std::errc error) { throw std::system_error(std::make_error_code(error)); }

fs::path onDisk(const QString& path) { return {QFile::encodeName(path).toStdString()}; }

/// Each desktop has its own word for it: X-GNOME-Autostart-enabled and the like.
bool isSwitch(const QString& key) {
    return key.startsWith(u"X-") && key.endsWith(u"-Autostart-enabled");
}

/// The folders of a user's configuration are that user's alone.
void makeFolder(const fs::path& folder) {
    if (fs::is_directory(folder)) {
        return;
    }
    if (folder.has_relative_path()) {
        makeFolder(folder.parent_path());
    }
    if (::mkdir(folder.c_str(), S_IRWXU) == 0) {
        return;
    }
    const int error = errno;
    if (error != EEXIST) {
        throw std::system_error(error, std::generic_category());
    }
    if (!fs::is_directory(folder)) { // else another process was faster
        fail(std::errc::not_a_directory);
    }
}

/// The toolkit keeps the number of the system's error to itself.
std::errc meaning(QFileDevice::FileError error) {
    switch (error) {
    case QFileDevice::PermissionsError:
    case QFileDevice::OpenError:
        return std::errc::permission_denied;
    case QFileDevice::ResourceError:
        return std::errc::no_space_on_device;
    default:
        return std::errc::io_error;
    }
}

void writeWhole(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    // Committing does not notice that what was still in memory found no room.
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
                           file.flush() && file.commit();
    if (!isWritten) {
        fail(meaning(file.error()));
    }
}

} // namespace

AutostartLoginItem::AutostartLoginItem(const QString& configFolder, QString program,
                                       QStringList currentDesktops)
    : m_path(configFolder + u"/autostart/"_qs + fileName)
    , m_program(std::move(program))
    , m_currentDesktops(std::move(currentDesktops)) {
    m_currentDesktops.removeAll(QString());
}

LoginItemStatus AutostartLoginItem::status() const {
    if (!QFileInfo(m_path).isFile()) {
        return LoginItemStatus::notRegistered;
    }
    const auto entry = read();
    if (entry && isTurnedOff(*entry)) {
        return LoginItemStatus::requiresApproval;
    }
    return entry && startsProgram(*entry) ? LoginItemStatus::enabled : LoginItemStatus::outdated;
}

void AutostartLoginItem::registerItem() {
    if (!isProgramThere()) {
        fail(std::errc::no_such_file_or_directory);
    }
    const fs::path path = onDisk(m_path);
    makeFolder(path.parent_path());
    std::error_code unknown; // such as of links in a circle
    const fs::file_type type = fs::status(path, unknown).type();
    if (type == fs::file_type::directory) {
        fail(std::errc::is_a_directory);
    }
    if (type != fs::file_type::regular && type != fs::file_type::not_found) {
        fs::remove(path); // the name alone: writing would replace the device that a link leads to
    }
    auto entry = read().value_or(DesktopEntryText());
    turnOn(entry);
    writeWhole(m_path, entry.bytes());
}

void AutostartLoginItem::unregisterItem() {
    const fs::path path = onDisk(m_path);
    const fs::file_type type = fs::symlink_status(path).type();
    if (type != fs::file_type::not_found && type != fs::file_type::directory) {
        fs::remove(path);
    }
}

std::optional<DesktopEntryText> AutostartLoginItem::read() const {
    QFile file(m_path);
    // Opening a pipe would wait for whoever writes into it.
    if (!QFileInfo(m_path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray bytes = file.read(DesktopEntryText::mostBytes + 1);
    return file.error() == QFileDevice::NoError ? DesktopEntryText::parse(bytes) : std::nullopt;
}

bool AutostartLoginItem::isProgramThere() const {
    const QFileInfo program(m_program);
    return program.isAbsolute() && program.isFile() && program.isExecutable();
}

QStringList AutostartLoginItem::command() const {
    const QStringList plain{m_program, startedBySession};
    // Desktops look for the program before they undo the escape of its percent signs, and find
    // nothing. Behind another program it is an argument like any other; that one would take a path
    // with an equals sign for a setting.
    const bool needsStarter = m_program.contains(u'%') && !m_program.contains(u'=');
    return needsStarter ? QStringList{u"env"_qs} + plain : plain;
}

bool AutostartLoginItem::isTurnedOff(const DesktopEntryText& entry) const {
    const QStringList keys = entry.keys();
    const bool isSwitchedOff = std::any_of(keys.begin(), keys.end(), [&](const QString& key) {
        return isSwitch(key) && entry.boolean(key) == false;
    });
    return isSwitchedOff || entry.boolean(hiddenKey) == true || !isShownHere(entry);
}

bool AutostartLoginItem::isShownHere(const DesktopEntryText& entry) const {
    const auto onlyThere = entry.list(onlyShowInKey);
    const QStringList notThere = entry.list(notShowInKey).value_or(QStringList());
    for (const QString& desktop : m_currentDesktops) {
        if (onlyThere && onlyThere->contains(desktop)) {
            return true;
        }
        if (notThere.contains(desktop)) {
            return false;
        }
    }
    return !onlyThere;
}

bool AutostartLoginItem::startsProgram(const DesktopEntryText& entry) const {
    const auto needed = entry.string(tryExecKey);
    const auto line = entry.string(execKey);
    return entry.string(typeKey) == u"Application"_qs && line &&
           execArguments(*line) == command() && isProgramThere() &&
           (!needed || !QStandardPaths::findExecutable(*needed).isEmpty());
}

void AutostartLoginItem::turnOn(DesktopEntryText& entry) const {
    entry.setString(typeKey, u"Application"_qs);
    if (!entry.string(nameKey)) {
        entry.setString(nameKey, u"Lumivane"_qs);
    }
    if (!entry.string(iconKey)) {
        entry.setString(iconKey, u"com.marnoth.Lumivane"_qs);
    }
    entry.setString(execKey, execLine(command()));
    // They speak of another program, or of another way to start it.
    entry.remove(tryExecKey);
    entry.remove(u"DBusActivatable"_qs);
    entry.remove(hiddenKey);
    for (const QString& key : entry.keys()) {
        if (isSwitch(key)) {
            entry.remove(key);
        }
    }
    showHere(entry);
}

void AutostartLoginItem::showHere(DesktopEntryText& entry) const {
    if (isShownHere(entry)) {
        return;
    }
    if (auto elsewhere = entry.list(notShowInKey)) {
        for (const QString& desktop : m_currentDesktops) {
            elsewhere->removeAll(desktop);
        }
        entry.remove(notShowInKey);
        if (!elsewhere->isEmpty()) {
            entry.setList(notShowInKey, *elsewhere);
        }
    }
    if (const auto onlyThere = entry.list(onlyShowInKey)) {
        if (m_currentDesktops.isEmpty()) {
            entry.remove(onlyShowInKey); // no list can name a desktop that has no name
        } else {
            entry.setList(onlyShowInKey, *onlyThere + m_currentDesktops.mid(0, 1));
        }
    }
}

} // namespace lumivane
