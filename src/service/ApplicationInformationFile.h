#pragma once

#include "domain/ApplicationInformation.h"

#include <QString>
#include <QStringList>

/// The files in which the application's information stands: one JSON object each, with the names
/// of the record's fields as its keys, a text behind each.
namespace lumivane::ApplicationInformationFile {

/// Longer files, in bytes, count as damaged.
inline constexpr qint64 longestFile = qint64{64} * 1024;

/// The file that was installed with the program in `programFolder`, then the one of the user whose
/// configuration lies in `configurationFolder`.
QStringList paths(const QString& programFolder, const QString& configurationFolder);

/// What the files say together; a key of a later file replaces that key of the earlier ones. Keys
/// that the record does not know are ignored, and null is as good as absent.
///
/// Never fails: a file that is not there counts for nothing, one that is damaged or unreadable
/// counts for nothing and is logged, and so does a single key that stands there twice or holds
/// something other than a text. Any thread; reads the disk.
ApplicationInformation load(const QStringList& paths);

} // namespace lumivane::ApplicationInformationFile
