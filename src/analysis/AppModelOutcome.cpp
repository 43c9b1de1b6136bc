#include "analysis/AppModel.h"
#include "async/Cancelled.h"
#include "domain/LumivaneError.h"
#include "telemetry/LumivaneLog.h"

#include <exception>

namespace lumivane {

QCoro::Task<void> AppModel::handleRunFailure(Self self, Run run, std::exception_ptr failure) {
    using Case = LumivaneError::Case;
    const bool isOwner = self->owns(run.runID);
    bool isRefused = false;
    bool isEvicted = false;
    try {
        std::rethrow_exception(failure);
    } catch (const Cancelled&) {
        LumivaneLog::lifecycle.info("Analysis cancelled");
        if (isOwner) {
            self->m_ports.overlays.clearWorking();
            self->setState(AnalysisState::idle);
        }
        co_return;
    } catch (const std::exception& error) {
        const auto* known = dynamic_cast<const LumivaneError*>(&error);
        isRefused = known != nullptr && known->errorCase == Case::authenticationRequired;
        isEvicted = known != nullptr && known->errorCase == Case::deviceEvicted;
        if (!isRefused && !isEvicted) {
            if (isOwner) {
                self->showError(error, run.displayID);
            } else {
                LumivaneLog::lifecycle.error("A superseded analysis failed; not surfacing it");
            }
            co_return;
        }
    }
    if (!isOwner) {
        co_return;
    }
    if (isRefused) {
        co_await dropRefusedSession(self, run.displayID);
    } else {
        co_await signOutAfterEviction(self, run.displayID);
    }
}

QCoro::Task<void> AppModel::dropRefusedSession(Self self, std::uint32_t displayID) {
    const bool isRemoved = co_await self->m_ports.authentication.handleUnauthorized();
    if (!self) {
        co_return;
    }
    if (isRemoved) {
        self->showAuthenticationRequired(displayID);
        co_return;
    }
    const QString message = self->m_ports.authentication.errorMessage().value_or(
        u"Lumivane could not remove the revoked session."_qs);
    self->showError(LumivaneError::server(message), displayID);
}

QCoro::Task<void> AppModel::signOutAfterEviction(Self self, std::uint32_t displayID) {
    constexpr auto origin = DeviceEvictedOrigin::afterUpload;
    self->showDeviceEvicted(displayID, origin);
    co_await self->m_ports.authentication.signOutLocallyAfterEviction();
    if (self && !self->m_ports.authentication.isSignedIn()) {
        // The end of the session clears every panel. This one is its reason, so it is asked for
        // again, which changes nothing where it is still up.
        self->presentDeviceEvicted(displayID, origin);
    }
}

void AppModel::showError(const std::exception& error, std::optional<std::uint32_t> displayID) {
    const QString message = LumivaneError::sanitize(localizedDescription(error));
    LumivaneLog::lifecycle.error("Operation failed; errorType=%{public}s", LogTypeName(error));
    ++m_analysisRunID;
    m_analysisTask.cancel();
    m_ports.overlays.clearWorking();
    setState(AnalysisState::idle);
    m_ports.overlays.showError(message, displayID, m_settings);
}

void AppModel::showAuthenticationRequired(std::uint32_t displayID) {
    LumivaneLog::lifecycle.log("Analysis blocked because authentication is required");
    m_ports.overlays.showAuthenticationRequired(displayID, m_settings, [self = Self(this)] {
        if (self) {
            self->presentSettings(SettingsDestination::account);
        }
    });
}

void AppModel::showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin) {
    LumivaneLog::lifecycle.log("Analysis blocked because the account was taken over on another "
                               "Mac; beforeCapture=%{bool,public}d",
                               origin == DeviceEvictedOrigin::beforeCapture);
    m_ports.overlays.clearWorking();
    setState(AnalysisState::idle);
    presentDeviceEvicted(displayID, origin);
}

void AppModel::presentDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin) {
    m_ports.overlays.showDeviceEvicted(displayID, origin, m_settings, [self = Self(this)] {
        if (self) {
            self->presentSettings(SettingsDestination::account);
        }
    });
}

} // namespace lumivane
