#pragma once

#include "notes/NotesServing.h"

#include <QTimeZone>

namespace lumivane::test {

/// 2026-11-21 12:41:54 in the system's own time zone.
inline QDateTime sampleTime() { return QDateTime(QDate(2026, 11, 21), QTime(12, 41, 54, 987)); }

inline LeetCodeNote sampleNote(const QString& title = u"Two Sum"_qs,
                               const QString& markdown = u"# Two Sum\n**a** < b"_qs) {
    return {title, LeetCodeAnswerStatus::liveUnvalidated, markdown, sampleTime()};
}

} // namespace lumivane::test
