#pragma once

#include "async/SerialCalls.h"
#include "notes/NotesServing.h"
#include "platform/NotesScripting.h"

#include <QString>

#include <cstdint>
#include <stop_token>

namespace lumivane {

/// Keeps answers in the desktop's own note program by scripting it. Main thread.
///
/// It takes care of the consent to automation and of a note program that is not running, and runs
/// its calls one after another. Beyond that it has no state.
class AppleNotesService final : public NotesServing {
public:
    static inline const QString targetBundleID = u"com.apple.Notes"_qs;

    // Statuses of the permission and error numbers of scripts.
    static constexpr std::int32_t noError = 0;
    static constexpr std::int32_t notPermitted = -1743;        ///< the user refused
    static constexpr std::int32_t requiresUserConsent = -1744; ///< the user has not been asked
    static constexpr std::int32_t targetNotRunning = -600;

    /// `scripting` outlives this and every call under way.
    explicit AppleNotesService(NotesScripting& scripting);

    QCoro::Task<void> prepareForLeetCodeSaving() override;
    QCoro::Task<void> createLeetCodeNote(LeetCodeNote note, std::stop_token stop) override;

private:
    NotesScripting* m_scripting;
    SerialCalls m_calls;
};

} // namespace lumivane
