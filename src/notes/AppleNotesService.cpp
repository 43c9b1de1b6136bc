#include "notes/AppleNotesService.h"

#include "async/Cancelled.h"
#include "notes/NoteMarkup.h"
#include "notes/NoteNaming.h"
#include "notes/NotesScript.h"
#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

namespace {

// None of these holds the service, which may go while one of them waits.

QCoro::Task<std::int32_t> automationPermission(NotesScripting* scripting, AskingUser asking) {
    return scripting->automationPermission(AppleNotesService::targetBundleID, asking);
}

QCoro::Task<void> preflight(NotesScripting* scripting) {
    const std::int32_t status = co_await automationPermission(scripting, AskingUser::yes);
    LumivaneLog::lifecycle.info("Notes automation pre-flight completed; status=%{public}d", status);
}

QCoro::Task<void> launchNotesIfNeeded(NotesScripting* scripting) {
    if (scripting->isRunning(AppleNotesService::targetBundleID)) {
        co_return;
    }
    const auto application = scripting->applicationUrl(AppleNotesService::targetBundleID);
    if (!application) {
        co_return;
    }
    // In the background, so that the focus stays with what the user is reading.
    const OpenConfiguration configuration{
        .activates = false, .addsToRecentItems = false, .hides = true};
    if (co_await scripting->openApplication(*application, configuration)) {
        LumivaneLog::lifecycle.info("Started Notes in the background for a LeetCode save");
    } else {
        LumivaneLog::lifecycle.info(
            "Could not start Notes in the background; the script will try instead");
    }
}

void settleConsent(std::int32_t status) {
    switch (status) {
    case AppleNotesService::noError:
        return;
    case AppleNotesService::notPermitted:
        LumivaneLog::lifecycle.error("Notes automation is denied; the note was not attempted");
        throw NotesServiceError(NotesServiceError::Case::automationDenied);
    case AppleNotesService::requiresUserConsent:
        LumivaneLog::lifecycle.info("Notes automation consent was not answered; continuing");
        return;
    default:
        LumivaneLog::lifecycle.info(
            "Notes automation consent is unsettled; continuing; status=%{public}d", status);
    }
}

QCoro::Task<void> ensureAutomationConsent(NotesScripting* scripting, std::stop_token stop) {
    // The answer about an application that is not running is not reliable.
    co_await launchNotesIfNeeded(scripting);
    throwIfStopped(stop);
    settleConsent(co_await automationPermission(scripting, AskingUser::yes));
}

QCoro::Task<void> execute(NotesScripting* scripting, QString source) {
    const ScriptOutcome outcome = co_await scripting->execute(std::move(source));
    switch (outcome.kind) {
    case ScriptOutcome::Kind::completed:
        co_return;
    case ScriptOutcome::Kind::notMade:
        throw NotesServiceError(NotesServiceError::Case::creationFailed);
    case ScriptOutcome::Kind::failed:
        throw NotesScript::error(outcome.errorNumber);
    }
}

QCoro::Task<void> save(NotesScripting* scripting, LeetCodeNote note, std::stop_token stop) {
    try {
        co_await ensureAutomationConsent(scripting, stop);
        throwIfStopped(stop);
        co_await execute(scripting,
                         NotesScript::makeNote(NoteNaming::folderName, NoteNaming::title(note),
                                               NoteMarkup::html(note)));
    } catch (const NotesServiceError&) {
        throw;
    } catch (const std::exception&) {
        throw NotesServiceError(NotesServiceError::Case::creationFailed); // out of memory
    }
}

} // namespace

AppleNotesService::AppleNotesService(NotesScripting& scripting)
    : m_scripting(&scripting) {}

QCoro::Task<void> AppleNotesService::prepareForLeetCodeSaving() {
    return m_calls.run([scripting = m_scripting](std::stop_token) { return preflight(scripting); },
                       std::stop_token());
}

QCoro::Task<void> AppleNotesService::createLeetCodeNote(LeetCodeNote note, std::stop_token stop) {
    return m_calls.run(
        [scripting = m_scripting, note = std::move(note)](std::stop_token callStop) {
            return save(scripting, note, std::move(callStop));
        },
        std::move(stop));
}

} // namespace lumivane
