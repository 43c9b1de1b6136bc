#pragma once

#include <QString>
#include <QStringList>

namespace lumivane::bench {

/// Edits per known character that turn `known` into `read`, whatever order the lines were read in.
///
/// White space counts as one blank however long it is. Each known line, the longest first, is
/// looked for in what has been read and is still unclaimed, as the stretch with the least
/// Levenshtein distance; that distance counts and the stretch is claimed. Characters that no
/// line claims count as insertions. 0 is without error; the rate may exceed 1.
double characterErrorRate(const QStringList& known, const QString& read);

} // namespace lumivane::bench
