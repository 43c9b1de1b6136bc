#include "analysis/AppModel.h"
#include "telemetry/LumivaneLog.h"

#include <exception>

namespace lumivane {

namespace {

bool savesLeetCodeNotes(const AppSettings& settings) {
    return settings.preset == Preset::leetCode && settings.saveLeetCodeNotes;
}

} // namespace

void AppModel::saveSettings(const AppSettings& candidate) {
    LumivaneLog::settings.log("Saving wizard settings; activation=%{public}s preset=%{public}s "
                              "launchAtLogin=%{bool,public}d",
                              candidate.activationMode, candidate.preset, candidate.launchAtLogin);
    AppSettings validated = candidate.validated();
    validated.configured = true;
    m_ports.loginService.setEnabled(validated.launchAtLogin);
    const AppSettings previous = m_settings;
    storeSettings(validated);
    applyAppearance();
    m_ports.triggerController.configure(validated);
    prepareNotesIfLeetCodeSavingBecameActive(previous, validated);
    LumivaneLog::settings.log("Wizard settings applied");
}

void AppModel::updateSettings(const AppSettings& candidate) {
    const AppSettings next = candidate.normalized();
    if (next.activationMode == ActivationMode::hotkey) {
        HotKey::parse(next.hotKey.displayValue());
    }
    const bool reconfiguresTriggers = mustReconfigureTriggers(next);
    try {
        if (reconfiguresTriggers) {
            m_ports.triggerController.configure(next);
        }
        if (next.launchAtLogin != m_settings.launchAtLogin) {
            m_ports.loginService.setEnabled(next.launchAtLogin);
        }
    } catch (...) {
        if (reconfiguresTriggers) {
            putTriggersBack();
        }
        throw;
    }
    const AppSettings previous = m_settings;
    storeSettings(next);
    if (next.useDarkAppearance != previous.useDarkAppearance) {
        applyAppearance();
    }
    prepareNotesIfLeetCodeSavingBecameActive(previous, next);
    LumivaneLog::settings.log("Applied settings change");
}

/// While paused or before setup nothing is live, and a change waits for the next `applyTriggers`.
bool AppModel::mustReconfigureTriggers(const AppSettings& next) const {
    const AppSettings& old = m_settings;
    const bool differs = next.activationMode != old.activationMode || next.corner != old.corner ||
                         next.hotKey != old.hotKey || next.cornerSize != old.cornerSize ||
                         next.dwellSeconds != old.dwellSeconds ||
                         next.pollSeconds != old.pollSeconds;
    return differs && old.configured && !old.paused;
}

void AppModel::putTriggersBack() {
    try {
        m_ports.triggerController.configure(m_settings);
    } catch (const std::exception&) { // the user hears of the failure that led here
    }
}

void AppModel::storeSettings(const AppSettings& settings) {
    m_settings = settings;
    m_ports.settingsStore.save(m_settings);
    Q_EMIT settingsChanged();
}

void AppModel::prepareNotesIfLeetCodeSavingBecameActive(const AppSettings& previous,
                                                        const AppSettings& next) {
    if (m_testing.isTesting() || !savesLeetCodeNotes(next) || savesLeetCodeNotes(previous)) {
        return;
    }
    TaskHandle::detach([notes = &m_ports.notesService](std::stop_token) {
        return notes->prepareForLeetCodeSaving();
    });
}

void AppModel::togglePaused() {
    AppSettings settings = m_settings;
    settings.paused = !settings.paused;
    LumivaneLog::lifecycle.log("Pause state changed; paused=%{bool,public}d", settings.paused);
    storeSettings(settings);
    applyTriggers();
}

void AppModel::applyAppearance() {
    const bool isDark = m_settings.useDarkAppearance;
    m_ports.application.setAppearance(isDark ? Appearance::dark : Appearance::light);
    LumivaneLog::settings.log("Applied app appearance; dark=%{bool,public}d", isDark);
}

QCoro::Task<bool> AppModel::setCopyNotificationsEnabled(bool enabled) {
    return enableCopyNotifications(Self(this), enabled);
}

QCoro::Task<bool> AppModel::enableCopyNotifications(Self self, bool enabled) {
    bool isAllowed = false;
    if (enabled) {
        isAllowed = co_await self->m_ports.notificationService.requestAuthorization();
    }
    if (!self) {
        co_return false;
    }
    AppSettings settings = self->m_settings;
    settings.notifyOnCopy = isAllowed;
    try {
        self->updateSettings(settings);
    } catch (const std::exception&) {
        co_return false;
    }
    co_return !enabled || isAllowed;
}

void AppModel::presentSettings(SettingsDestination destination) {
    LumivaneLog::settings.info("Opening Lumivane configuration");
    m_ports.settingsPresenter.presentSettings(destination);
}

} // namespace lumivane
