#pragma once

#include "domain/ApplicationInformation.h"

#include <QString>
#include <QStringList>

namespace lumivane {

/// What a start of the program asks for, read once from the process's arguments. Switches count
/// only as exact matches, wherever they stand; everything else is ignored, so that a desktop may
/// pass switches of its own.
struct CommandLine {
    enum class Entry {
        printHelp,
        printVersion,
        maintenance, ///< one job without a model, a tray or a window; then the process ends
        run
    };

    /// Addresses longer than this, in characters, are dropped, and so are all after the last one.
    static constexpr qsizetype longestUrl = 8192;
    static constexpr qsizetype mostUrls = 16;

    bool help = false;
    bool version = false;
    bool unregisterLoginItem = false;
    bool resetSettings = false;
    bool launchedAsLoginItem = false; ///< the desktop started the program with the session

    /// Addresses of the program's own scheme, in order, as they were given. They come from anywhere
    /// and are checked no further.
    QStringList urls = {};

    /// `arguments` may hold the program's own name.
    static CommandLine of(const QStringList& arguments);

    /// What the process is to do. All but `run` need neither a display nor a session; help goes
    /// before version, and both go before everything that changes something.
    Entry entry() const;

    /// What "--help" prints, with the newline at its end.
    static QString helpText();

    /// What "--version" prints, with the newline at its end.
    static QString versionText(const ApplicationInformation& information);

    bool operator==(const CommandLine&) const = default;
};

} // namespace lumivane
