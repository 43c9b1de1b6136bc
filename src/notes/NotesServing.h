#pragma once

#include "domain/DescribedError.h"
#include "domain/Vocabulary.h"

#include <QDateTime>
#include <QString>
#include <qcoro/qcorotask.h>

#include <stop_token>

namespace lumivane {

/// One worked answer to keep.
struct LeetCodeNote {
    QString questionTitle;
    LeetCodeAnswerStatus answerStatus = LeetCodeAnswerStatus::liveUnvalidated;
    QString markdown;
    QDateTime createdAt; ///< when the answer arrived

    bool operator==(const LeetCodeNote&) const = default;
};

/// The one error of keeping notes.
class NotesServiceError final : public DescribedError {
public:
    enum class Case { automationDenied, creationFailed };

    explicit NotesServiceError(Case errorCase)
        : errorCase(errorCase) {}

    QString errorDescription() const override {
        return errorCase == Case::automationDenied
                   ? u"Lumivane could not add the solution to Notes. Allow Lumivane to control "
                     u"Notes in System Settings → Privacy & Security → Automation."_qs
                   : u"Lumivane could not add the solution to Notes. Open Notes once, then try "
                     u"again."_qs;
    }

    std::string_view typeName() const override { return "NotesServiceError"; }

    bool operator==(const NotesServiceError& other) const { return errorCase == other.errorCase; }

    Case errorCase;
};

/// Keeps LeetCode answers where the user keeps notes. Main thread.
class NotesServing {
public:
    virtual ~NotesServing() = default;

    /// Asks for consent when the user turns saving on rather than in the middle of a save. Never
    /// fails; implementations that need no preparation do nothing.
    virtual QCoro::Task<void> prepareForLeetCodeSaving() { co_return; }

    /// Throws NotesServiceError, or Cancelled once a stop is requested.
    virtual QCoro::Task<void> createLeetCodeNote(LeetCodeNote note, std::stop_token stop) = 0;
};

} // namespace lumivane
