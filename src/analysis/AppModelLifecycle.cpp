#include "analysis/AppModel.h"
#include "async/Cancelled.h"
#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

using namespace std::chrono_literals;

AppModel::AppModel(AppModelPorts ports, TestingMode testing)
    : m_ports(ports)
    , m_testing(testing)
    , m_settings(m_ports.settingsStore.load())
    , m_screenRecordingGranted(m_ports.permissionService.hasScreenRecording()) {
    // What the user copies at a panel is cleared at the end of the session like a delivered copy.
    connect(&m_ports.overlayPasteboard, &OverlayPasteboard::didWrite, this,
            [this](qint64 changeCount) { m_copiedPasteboardChangeCount = changeCount; });
    listenToTriggers();
    applyAppearance();
    LumivaneLog::lifecycle.log("App model initialized");
}

AppModel::~AppModel() = default;

void AppModel::listenToTriggers() {
    TriggerController& triggers = m_ports.triggerController;
    triggers.onTrigger = [self = Self(this)](std::uint32_t displayID) {
        if (self) {
            self->analyze(displayID);
        }
    };
    triggers.onError = [self = Self(this)](const std::exception& error) {
        if (self) {
            self->showError(error, std::nullopt);
        }
    };
    triggers.onDwellStart = [self = Self(this)] {
        if (self) {
            self->warmUpCapturePath();
        }
    };
}

QCoro::Task<void> AppModel::restoreSession(SessionServing* session) {
    co_await session->restore();
    LumivaneLog::lifecycle.log("Looked for a session; signedIn=%{bool,public}d",
                               session->isSignedIn());
}

void AppModel::start() {
    LumivaneLog::lifecycle.log(
        "Starting app model; configured=%{bool,public}d paused=%{bool,public}d",
        m_settings.configured, m_settings.paused);
    if (m_testing.isUITesting) {
        LumivaneLog::lifecycle.debug("UI testing mode enabled");
        applyTestingFixture();
        if (m_testing.configured) {
            return;
        }
    }
    if (m_testing.isUnitTesting) {
        LumivaneLog::lifecycle.debug("Unit testing mode enabled; app lifecycle is inactive");
        return;
    }
    TaskHandle::detach(
        [session = &m_ports.authentication](std::stop_token) { return restoreSession(session); });
    applyTriggers();
    if (!m_testing.isTesting()) {
        warmUpCapturePath();
    }
    if (!m_testing.isUITesting) {
        testService();
    }
    if (!m_settings.configured) {
        LumivaneLog::lifecycle.log("First run detected; scheduling setup wizard");
        m_presentationTask = TaskHandle::start([self = Self(this)](std::stop_token stop) {
            return presentGeneralSettings(self, 500ms, std::move(stop));
        });
    }
}

QCoro::Task<void> AppModel::presentGeneralSettings(Self self, std::chrono::milliseconds delay,
                                                   std::stop_token stop) {
    if (!self) {
        co_return;
    }
    co_await self->m_ports.clock.sleep(delay, stop);
    throwIfStopped(stop);
    if (self) {
        self->m_ports.settingsPresenter.presentSettings(SettingsDestination::general);
    }
}

void AppModel::applyTriggers() {
    try {
        m_ports.triggerController.configure(m_settings);
    } catch (const std::exception& error) {
        LumivaneLog::trigger.error("Trigger configuration failed");
        showError(error, std::nullopt);
    }
}

void AppModel::warmUpCapturePath() {
    TaskHandle::detach(
        [warmUp = &m_ports.captureWarmUp](std::stop_token) { return warmUp->warmUp(); });
}

void AppModel::setState(AnalysisState state) {
    if (m_state != state) {
        m_state = state;
        Q_EMIT stateChanged();
    }
}

void AppModel::terminate() {
    LumivaneLog::lifecycle.log("Quit requested");
    m_analysisTask.cancel();
    // The event loop may turn once more: nothing may begin in it.
    m_authenticationTask.cancel();
    m_presentationTask.cancel();
    clearSessionPrivacyState();
    m_ports.triggerController.invalidate();
    m_ports.overlays.invalidate();
    m_ports.application.terminate();
}

void AppModel::authenticationDidClearSession() {
    m_authenticationTask.cancel();
    ++m_analysisRunID;
    m_analysisTask.cancel();
    clearSessionPrivacyState();
    m_ports.overlays.clearAll();
    m_lastAnalysis.reset();
    m_lastNotesError.reset();
    Q_EMIT lastAnalysisChanged();
    setState(AnalysisState::idle);
}

} // namespace lumivane
