#pragma once

#include "platform/LoginItem.h"
#include "platform/linux/DesktopEntryText.h"

#include <QLatin1StringView>
#include <QString>
#include <QStringList>

#include <optional>

namespace lumivane {

/// The login item as an entry in the user's own autostart folder, which every desktop reads at the
/// start of a session. The folders of the system are neither read nor written.
///
/// An entry that starts anything but this program, word for word, is outdated: so is one of another
/// installation, one without the program's switch, and one that is damaged, since some desktops
/// start those too. Registering writes it anew, unregistering removes it. An entry that the desktop
/// is told to pass over (hidden, disabled, for other desktops only) is the user's choice, which
/// registering takes back; all else that the user or a desktop put into the entry stays. What is no
/// file, a link to a device say, starts nothing and is not registered. Entries are written whole or
/// not at all.
class AutostartLoginItem final : public LoginItem {
public:
    /// Tells the program that it was started by the session and by nobody else.
    static constexpr QLatin1StringView startedBySession{"--login-item"};

    /// `configFolder` is the user's, such as "~/.config" made absolute; it need not be there yet.
    /// `program` is the absolute path of what is started. `currentDesktops` are the names of
    /// XDG_CURRENT_DESKTOP.
    AutostartLoginItem(const QString& configFolder, QString program, QStringList currentDesktops);

    /// Where the entry is, or will be.
    const QString& path() const { return m_path; }

    LoginItemStatus status() const override;

    /// Fails with std::errc::no_such_file_or_directory when there is no such program, and with
    /// std::errc::is_a_directory when a folder has the place of the entry.
    void registerItem() override;

    void unregisterItem() override;

private:
    std::optional<DesktopEntryText> read() const;
    bool isProgramThere() const;
    QStringList command() const;
    bool isTurnedOff(const DesktopEntryText& entry) const;
    bool isShownHere(const DesktopEntryText& entry) const;
    bool startsProgram(const DesktopEntryText& entry) const;
    void turnOn(DesktopEntryText& entry) const;
    void showHere(DesktopEntryText& entry) const;

    QString m_path;
    QString m_program;
    QStringList m_currentDesktops;
};

} // namespace lumivane
