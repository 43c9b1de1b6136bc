#pragma once

#include "analysis/AppRelaunching.h"
#include "analysis/LaunchAtLoginServing.h"
#include "analysis/NotificationServing.h"
#include "analysis/PermissionServing.h"
#include "analysis/SettingsPresenting.h"
#include "async/MainThread.h"
#include "platform/ApplicationShell.h"
#include "platform/DisplayServer.h"
#include "provisional/StoredFiles.h"
#include "settings/SettingsStoring.h"

#include <QCoreApplication>

#include <stdexcept>

namespace lumivane {

/// Stands in for the settings store: what is changed lasts as long as the process.
class SettingsOfThisProcess final : public SettingsStoring {
public:
    AppSettings load() override { return StoredFiles::settings(); }

    void save(const AppSettings&) override {}

    void reset() override {}
};

/// Stands in for the permission: the display server's own answer, which nobody can be asked for.
class DisplayPermission final : public PermissionServing {
public:
    explicit DisplayPermission(const DisplayServer& displays)
        : m_displays(displays) {}

    bool hasScreenRecording() const override { return m_displays.mayCapture(); }

    bool requestScreenRecording() override { return m_displays.mayCapture(); }

    void openScreenRecordingSettings() override {}

private:
    const DisplayServer& m_displays;
};

/// Stands in for the login item: there is none.
class NoLoginItem final : public LaunchAtLoginServing {
public:
    bool isEnabled() const override { return false; }

    void setEnabled(bool) override {}
};

/// Stands in for the relaunch: no second instance can be started.
class NoRelaunch final : public AppRelaunching {
public:
    QCoro::Task<void> relaunch() override {
        throw std::runtime_error("no second instance can be started");
        co_return;
    }
};

/// Stands in for the application: it has no dress to change, and ends.
class EventLoopShell final : public ApplicationShell {
public:
    void setAppearance(Appearance) override {}

    void terminate() override {
        // Behind what was cancelled, so that it unwinds before anything it stands on goes.
        postToMainThread([] { QCoreApplication::quit(); });
    }
};

/// Stands in for the notifications: none is posted.
class SilentNotifications final : public NotificationServing {
public:
    QCoro::Task<bool> requestAuthorization() override { co_return false; }

    QCoro::Task<void> notifyCopied() override { co_return; }

    QCoro::Task<void> notifyNotesFailure(QString) override { co_return; }
};

/// Stands in for the configuration window: there is none to open.
class NoSettingsWindow final : public SettingsPresenting {
public:
    void presentSettings(SettingsDestination) override {}
};

} // namespace lumivane
