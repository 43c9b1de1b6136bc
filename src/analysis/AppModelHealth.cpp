#include "analysis/AppModel.h"
#include "domain/LumivaneError.h"
#include "telemetry/LumivaneLog.h"

#include <QScopeGuard>

#include <exception>

namespace lumivane {

ReadinessState AppModel::readiness() const {
    return resolveReadiness({.hasValidCustomPrompt = m_settings.hasValidCustomPrompt(),
                             .screenRecordingGranted = m_screenRecordingGranted,
                             .serviceChecking = m_serviceChecking,
                             .serviceReady = m_serviceReady,
                             .isLeetCode = m_settings.preset == Preset::leetCode,
                             .leetCodeServiceReady = m_leetCodeServiceReady});
}

LumivaneDisplayState AppModel::displayState() const {
    return resolveDisplayState(m_settings.paused, m_screenRecordingGranted, m_state);
}

void AppModel::testService() {
    TaskHandle::detach([self = Self(this)](std::stop_token) { return checkService(self); });
}

QCoro::Task<void> AppModel::refreshServiceStatus() { return checkService(Self(this)); }

QCoro::Task<void> AppModel::checkService(Self self) {
    if (!self) {
        co_return;
    }
    if (self->m_testing.isUITesting) {
        self->m_serviceReady = !self->m_testing.needsService;
        Q_EMIT self->serviceChanged();
        co_return;
    }
    if (self->m_serviceChecking) {
        co_return;
    }
    self->m_serviceStatus = u"Contacting the Lumivane analysis service…"_qs;
    LumivaneLog::network.log("Starting service health check");
    self->setServiceChecking(true);
    const auto endOfCheck = qScopeGuard([self] {
        if (self) {
            self->setServiceChecking(false);
        }
    });
    std::optional<HealthResponse> health;
    try {
        health = co_await self->m_ports.analysisService.health(std::stop_token());
    } catch (const std::exception&) {
        LumivaneLog::network.error("Service health check failed");
    }
    if (!self) {
        co_return;
    }
    if (health) {
        self->applyHealth(*health);
    } else {
        self->m_serviceStatus =
            u"Can’t reach the local service. Run make local-up, then try again."_qs;
        self->m_serviceReady = false;
    }
}

void AppModel::setServiceChecking(bool isChecking) {
    m_serviceChecking = isChecking;
    Q_EMIT serviceChanged();
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

void AppModel::runDiagnostics() {
    LumivaneLog::lifecycle.log("Diagnostics requested");
    if (!hasScreenRecording()) {
        showError(LumivaneError(LumivaneError::Case::screenRecordingDenied), std::nullopt);
        return;
    }
    TaskHandle::detach([self = Self(this)](std::stop_token) { return diagnose(self); });
}

QCoro::Task<void> AppModel::diagnose(Self self) {
    co_await checkService(self);
    if (!self) {
        co_return;
    }
    if (!self->m_serviceReady) {
        self->showError(LumivaneError(LumivaneError::Case::serviceUnavailable), std::nullopt);
        co_return;
    }
    const auto displayID = self->displayUnderPointer();
    if (!displayID) {
        self->showError(LumivaneError(LumivaneError::Case::displayUnavailable), std::nullopt);
        co_return;
    }
    LumivaneLog::lifecycle.log("Diagnostics passed");
    self->m_ports.overlays.showResult(u"Diagnostics passed. No screenshot was sent."_qs,
                                      ResultKind::text, std::nullopt, std::nullopt, *displayID,
                                      self->m_settings, std::nullopt);
}

} // namespace lumivane
