#include "analysis/AppModel.h"
#include "async/Cancelled.h"
#include "domain/LumivaneError.h"
#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

QCoro::Task<void> AppModel::deliver(Self self, Run run, AnalyzeResponse response,
                                    std::stop_token stop) {
    const AppSettings& settings = run.settings;
    self->m_ports.overlays.clearWorking();
    self->m_lastAnalysis =
        LastAnalysis{response.result, response.resultKind, response.questionTitle,
                     response.answerStatus, self->m_ports.clock.wallNow()};
    Q_EMIT self->lastAnalysisChanged();
    self->setState(AnalysisState::showingResult);
    if (copiesToClipboard(settings.deliveryMode)) {
        self->copyResult(response.result, settings);
        if (settings.notifyOnCopy) {
            co_await self->m_ports.notificationService.notifyCopied();
            throwIfStopped(stop);
            if (!self) {
                co_return;
            }
            if (!self->owns(run.runID)) {
                // A newer run or the end of the session owns the screen by now.
                LumivaneLog::lifecycle.info("Discarding a superseded analysis result");
                co_return;
            }
        }
    }
    if (settings.soundWhenReady) {
        self->m_ports.soundPlayer.beep();
    }
    if (showsOnScreen(settings.deliveryMode)) {
        self->m_ports.overlays.showResult(response.result, response.resultKind,
                                          response.questionTitle, response.answerStatus,
                                          run.displayID, settings, std::nullopt);
    }
    if (settings.preset == Preset::leetCode) {
        if (settings.saveLeetCodeNotes) {
            self->saveLeetCodeNote(response, run);
        } else {
            LumivaneLog::lifecycle.info(
                "Notes saving is off; the LeetCode result was not written to Notes");
        }
    }
    self->setState(AnalysisState::idle);
    LumivaneLog::lifecycle.log("Analysis completed");
}

void AppModel::copyResult(const QString& text, const AppSettings& settings) {
    const QString value = settings.clipboardValue(text);
    m_ports.pasteboard.clear();
    m_ports.pasteboard.setString(value, PasteboardType::string);
    m_ports.pasteboard.setString(QString(), PasteboardType::transient);
    m_copiedPasteboardChangeCount = m_ports.pasteboard.changeCount();
}

void AppModel::saveLeetCodeNote(const AnalyzeResponse& response, const Run& run) {
    const LeetCodeNote note{response.questionTitle.value_or(u"LeetCode solution"_qs),
                            response.answerStatus.value_or(LeetCodeAnswerStatus::liveUnvalidated),
                            response.result, m_ports.clock.wallNow()};
    m_noteSaveTask = TaskHandle::start([self = Self(this), run, note](std::stop_token stop) {
        return performNoteSave(self, run, note, std::move(stop));
    });
}

QCoro::Task<void> AppModel::performNoteSave(Self self, Run run, LeetCodeNote note,
                                            std::stop_token stop) {
    std::optional<QString> failure;
    bool isCancelled = false;
    try {
        throwIfStopped(stop);
        if (!self || !self->owns(run.runID) || !self->m_ports.authentication.isSignedIn()) {
            co_return;
        }
        co_await self->m_ports.notesService.createLeetCodeNote(note, stop);
        throwIfStopped(stop);
        LumivaneLog::lifecycle.log("LeetCode result saved to Notes");
    } catch (const Cancelled&) {
        isCancelled = true;
    } catch (const std::exception& error) {
        failure = localizedDescription(error);
    }
    if (!isCancelled && !failure) {
        co_return;
    }
    LumivaneLog::lifecycle.error("LeetCode result could not be saved to Notes");
    if (failure && self && self->owns(run.runID)) {
        self->m_lastNotesError = failure;
        self->m_ports.overlays.showNotesStatus(*failure, run.displayID, run.settings);
        co_await self->m_ports.notificationService.notifyNotesFailure(*failure);
        co_return;
    }
    // A cancelled save was replaced by a newer one or by the end of the session.
    LumivaneLog::lifecycle.info("A superseded LeetCode note failed to save; not surfacing it");
}

std::optional<QString> AppModel::lastResult() const {
    return m_lastAnalysis ? std::optional(m_lastAnalysis->text) : std::nullopt;
}

void AppModel::copyLastResult() {
    if (const auto result = lastResult()) {
        copyResult(*result, m_settings);
        LumivaneLog::lifecycle.info("Copied the last result to the pasteboard");
    }
}

void AppModel::showLastResultAgain() {
    if (!m_lastAnalysis) {
        LumivaneLog::overlay.info("Show again ignored because there is no result to show");
        return;
    }
    const auto displayID = displayUnderPointer();
    if (!displayID) {
        showError(LumivaneError(LumivaneError::Case::displayUnavailable), std::nullopt);
        return;
    }
    LumivaneLog::overlay.log("Re-presenting the last result; display=%{public}u kind=%{public}s",
                             *displayID, m_lastAnalysis->kind);
    m_ports.overlays.showResult(m_lastAnalysis->text, m_lastAnalysis->kind,
                                m_lastAnalysis->questionTitle, m_lastAnalysis->answerStatus,
                                *displayID, m_settings, false);
}

void AppModel::showTestOverlay() {
    const auto displayID = displayUnderPointer();
    if (!displayID) {
        showError(LumivaneError(LumivaneError::Case::displayUnavailable), std::nullopt);
        return;
    }
    LumivaneLog::overlay.log("Test overlay requested; display=%{public}u", *displayID);
    m_ports.overlays.showResult(u"This is where Lumivane will display its analysis result. This "
                                u"test sends no screenshot and makes no API request."_qs,
                                ResultKind::text, std::nullopt, std::nullopt, *displayID,
                                m_settings, false);
}

bool AppModel::shouldClearCopiedPasteboard(std::optional<std::int64_t> copiedChangeCount,
                                           std::int64_t currentChangeCount) {
    return copiedChangeCount == currentChangeCount;
}

void AppModel::clearSessionPrivacyState() {
    m_noteSaveTask = TaskHandle();
    if (shouldClearCopiedPasteboard(m_copiedPasteboardChangeCount,
                                    m_ports.pasteboard.changeCount())) {
        m_ports.pasteboard.clear();
    }
    m_copiedPasteboardChangeCount.reset();
}

} // namespace lumivane
