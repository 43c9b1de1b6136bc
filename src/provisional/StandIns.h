#pragma once

#include "analysis/NotificationServing.h"
#include "analysis/SettingsPresenting.h"

namespace lumivane {

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
