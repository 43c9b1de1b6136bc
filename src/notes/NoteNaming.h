#pragma once

#include "notes/NotesServing.h"

#include <QDateTime>
#include <QString>
#include <QStringView>

namespace lumivane {

/// What a note and its files are called. Pure, any thread.
namespace NoteNaming {

/// The folder of all notes, in a note program and on disk alike.
inline const QString folderName = u"Lumivane LeetCode"_qs;

/// The shortest limit that file systems in use put on a name, in bytes: those that encrypt names.
/// Others take 255 bytes or 255 UTF-16 units.
inline constexpr qsizetype maximumFileNameBytes = 143;

/// "Lumivane LeetCode — TITLE — 2026-11-21 12:41:54", in the system's time zone.
QString title(const LeetCodeNote& note);

/// A moment in the system's time zone, in digits that no language changes; empty for no moment.
QString timestamp(const QDateTime& moment);

/// "TITLE - 2026-11-21 12.41.54": a file name without its extension that every file system takes
/// and no program hides, whatever the title. A suffix and an extension of up to
/// `reservedFileNameBytes` keep it within `maximumFileNameBytes`.
QString fileStem(const LeetCodeNote& note);

inline constexpr qsizetype reservedFileNameBytes = 16;

/// The longest beginning of `text` in whole characters that takes up to `bytes` of UTF-8. A first
/// character too long for that is cut between its scalars.
QStringView prefixOfBytes(QStringView text, qsizetype bytes);

} // namespace NoteNaming

} // namespace lumivane
