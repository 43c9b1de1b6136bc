#include "analysis/AppModel.h"

#include <algorithm>
#include <utility>

namespace lumivane {

using namespace std::chrono_literals;

namespace {

std::optional<std::uint32_t> mainDisplay(const DisplayServer& server) {
    try {
        const auto displays = server.displays();
        const auto primary =
            std::find_if(displays.begin(), displays.end(),
                         [](const DisplayInfo& display) { return display.isPrimary; });
        return primary == displays.end() ? std::nullopt : std::optional(primary->displayID);
    } catch (const DisplayServerError&) {
        return std::nullopt;
    }
}

} // namespace

void AppModel::applyTestingFixture() {
    m_ports.settingsStore.reset();
    m_settings = AppSettings::defaults();
    if (m_testing.light) {
        m_settings.useDarkAppearance = false;
    }
    Q_EMIT settingsChanged();
    applyAppearance();
    if (m_testing.onboardingReady) {
        setScreenRecordingGranted(true);
        setTestingService(true);
    }
    if (m_testing.onboardingDenied) {
        setScreenRecordingGranted(false);
        setTestingService(false);
    }
    if (m_testing.configured) {
        applyConfiguredTestingFixture();
    }
}

void AppModel::applyConfiguredTestingFixture() {
    AppSettings settings = m_settings;
    settings.configured = true;
    setScreenRecordingGranted(!m_testing.needsPermission);
    setTestingService(!m_testing.needsService);
    if (m_testing.invalidPrompt) {
        settings.preset = Preset::custom;
        settings.customPrompt.clear();
    }
    storeSettings(settings);
    m_presentationTask = TaskHandle::start([self = Self(this)](std::stop_token stop) {
        return presentTestingSettings(self, std::move(stop));
    });
}

void AppModel::setTestingService(bool isReady) {
    m_serviceReady = isReady;
    m_serviceStatus = isReady ? u"Connected to the Lumivane test service."_qs
                              : u"The Lumivane test service is unavailable."_qs;
    Q_EMIT serviceChanged();
}

QCoro::Task<void> AppModel::presentTestingSettings(Self self, std::stop_token stop) {
    co_await presentGeneralSettings(self, 300ms, stop);
    if (!self || !self->m_testing.authRequired) {
        co_return;
    }
    if (const auto displayID = mainDisplay(self->m_ports.displays)) {
        self->analyze(*displayID);
    }
}

} // namespace lumivane
