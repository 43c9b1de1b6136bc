#pragma once

#include "domain/Vocabulary.h"

#include <QDateTime>
#include <QString>

#include <optional>

namespace lumivane {

/// The last accepted answer; kept only in memory.
struct LastAnalysis {
    QString text;
    ResultKind kind = ResultKind::text;
    std::optional<QString> questionTitle;
    std::optional<LeetCodeAnswerStatus> answerStatus;
    QDateTime completedAt; ///< wall clock, at delivery

    bool operator==(const LastAnalysis&) const = default;
};

} // namespace lumivane
