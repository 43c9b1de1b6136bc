#pragma once

#include <QString>
#include <QStringList>

namespace lumivane {

/// Where the instances of one session meet.
///
/// A session is a display: the hot keys, the tray and the windows of one are of no use to another,
/// and every program of a session knows it, whether the login manager, a service manager or a
/// message bus started it. So two desktops of one user have a place each, on one bus or on two.
struct InstancePlace {
    /// Who the program runs for. One that is being tested is no instance of its user's, has
    /// settings of its own, and comes up beside theirs.
    enum class Use { ordinary, testing };

    /// Folders to meet in. The first one that is the user's own, and that nobody else can write
    /// into, is used: the session's runtime folder, else one of our own under the temporary folder.
    QString runtimeFolder; ///< empty where there is none
    QString temporaryFolder;

    /// What tells this session from the others: `DISPLAY` without the number of a screen, else
    /// `WAYLAND_DISPLAY`, else `XDG_SESSION_ID`, else nothing; and the use.
    QString session;

    /// Reads `XDG_RUNTIME_DIR`, the temporary folder and the session's variables.
    static InstancePlace ofThisSession(Use use = Use::ordinary);

    /// A session's name in file names and bus names: always 16 digits, small letters or both.
    QString name() const;
};

} // namespace lumivane
