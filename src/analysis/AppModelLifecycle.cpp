#include "analysis/AppModel.h"
#include "domain/LumivaneError.h"
#include "telemetry/LumivaneLog.h"

#include <utility>

namespace lumivane {

AppModel::AppModel(AppModelPorts ports, AppSettings settings)
    : m_ports(ports)
    , m_settings(std::move(settings)) {
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
    // What the user copies at a panel is cleared at the end of the session like a delivered copy.
    connect(&m_ports.overlayPasteboard, &OverlayPasteboard::didWrite, this,
            [this](qint64 changeCount) { m_copiedPasteboardChangeCount = changeCount; });
    LumivaneLog::lifecycle.log("App model initialized");
}

AppModel::~AppModel() = default;

void AppModel::start() {
    LumivaneLog::lifecycle.log(
        "Starting app model; configured=%{bool,public}d paused=%{bool,public}d",
        m_settings.configured, m_settings.paused);
    applyTriggers();
    warmUpCapturePath();
    TaskHandle::detach([self = Self(this)](std::stop_token) { return checkService(self); });
}

void AppModel::applyTriggers() {
    try {
        m_ports.triggerController.configure(m_settings);
    } catch (const std::exception& error) {
        LumivaneLog::trigger.error("Trigger configuration failed");
        showError(error, std::nullopt);
    }
}

void AppModel::togglePaused() {
    m_settings.paused = !m_settings.paused;
    LumivaneLog::lifecycle.log("Pause state changed; paused=%{bool,public}d", m_settings.paused);
    Q_EMIT settingsChanged();
    applyTriggers();
}

void AppModel::warmUpCapturePath() {
    TaskHandle::detach(
        [warmUp = &m_ports.captureWarmUp](std::stop_token) { return warmUp->warmUp(); });
}

ReadinessState AppModel::readiness() const {
    return resolveReadiness({.hasValidCustomPrompt = m_settings.hasValidCustomPrompt(),
                             .screenRecordingGranted = m_ports.displays.mayCapture(),
                             .serviceChecking = m_serviceChecking,
                             .serviceReady = m_serviceReady,
                             .isLeetCode = m_settings.preset == Preset::leetCode,
                             .leetCodeServiceReady = m_leetCodeServiceReady});
}

QCoro::Task<void> AppModel::refreshServiceStatus() { return checkService(Self(this)); }

QCoro::Task<void> AppModel::checkService(Self self) {
    if (!self || self->m_serviceChecking) {
        co_return;
    }
    self->m_serviceChecking = true;
    self->m_serviceStatus = u"Contacting the Lumivane analysis service…"_qs;
    LumivaneLog::network.log("Starting service health check");
    Q_EMIT self->serviceChanged();
    std::optional<HealthResponse> health;
    try {
        health = co_await self->m_ports.analysisService.health(std::stop_token());
    } catch (const std::exception&) {
        LumivaneLog::network.error("Service health check failed");
    }
    if (!self) {
        co_return;
    }
    self->m_serviceChecking = false;
    if (health) {
        self->applyHealth(*health);
    } else {
        self->m_serviceStatus =
            u"Can’t reach the local service. Run make local-up, then try again."_qs;
        self->m_serviceReady = false;
    }
    Q_EMIT self->serviceChanged();
}

void AppModel::applyHealth(const HealthResponse& health) {
    m_leetCodeServiceReady = health.leetCodeReady;
    const bool isHealthy = health.status == u"ok";
    if (!isHealthy) {
        m_serviceStatus = u"The service responded but is not ready. Try again shortly."_qs;
    } else if (m_settings.preset == Preset::leetCode && m_leetCodeServiceReady == false) {
        m_serviceStatus =
            u"Connected, but LeetCode memory is unavailable. Rebuild the local service."_qs;
    } else {
        m_serviceStatus = u"Connected to Lumivane API "_qs + health.version + u"."_qs;
    }
    m_serviceReady = isHealthy;
    LumivaneLog::network.log(
        "Service health check completed; healthy=%{bool,public}d version=%{public}s", isHealthy,
        LogIdentifier(health.version));
}

void AppModel::presentSettings(SettingsDestination destination) {
    LumivaneLog::settings.info("Opening Lumivane configuration");
    m_ports.settingsPresenter.presentSettings(destination);
}

void AppModel::terminate() {
    LumivaneLog::lifecycle.log("Quit requested");
    m_analysisTask.cancel();
    clearSessionPrivacyState();
    m_ports.triggerController.invalidate();
    m_ports.overlays.invalidate();
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

void AppModel::setState(AnalysisState state) {
    if (m_state != state) {
        m_state = state;
        Q_EMIT stateChanged();
    }
}

std::optional<std::uint32_t> AppModel::displayUnderPointer() const {
    const auto display = lumivane::displayUnderPointer(m_ports.displays);
    return display ? std::optional(display->displayID) : std::nullopt;
}

} // namespace lumivane
