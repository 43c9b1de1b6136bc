#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

namespace lumivane {

/// What a small file of the system holds; none for one that is not there, is no regular file, or is
/// larger than any of its kind. Never waits for anybody.
std::optional<QByteArray> readSystemFile(const QString& path);

/// Its text without the line end and NULs behind it; none as well for what is no UTF-8.
std::optional<QString> readSystemLine(const QString& path);

/// The assignments of a file such as os-release(5) or machine-info(5). Lines that are none are
/// skipped; the last one of a name counts.
QHash<QString, QString> readAssignments(const QString& path);

} // namespace lumivane
