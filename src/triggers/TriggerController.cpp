#include "triggers/TriggerController.h"

#include "async/MainThread.h"
#include "telemetry/LumivaneLog.h"
#include "triggers/KeyCodes.h"
#include "triggers/TriggerError.h"

#include <utility>

namespace lumivane {

namespace {

constexpr std::uint32_t configuredHotKeyID = 1;

struct PointerPlace {
    Point location;
    DisplayInfo display;
};

/// Like displayUnderPointer, with the location that it rests on: a second reading of the pointer
/// might lie on another display.
std::optional<PointerPlace> placeOfPointer(const DisplayServer& displayServer) {
    const auto location = displayServer.pointerLocation();
    if (!location) {
        return std::nullopt;
    }
    try {
        if (const auto display = displayContaining(displayServer.displays(), *location)) {
            return PointerPlace{*location, *display};
        }
    } catch (const DisplayServerError&) {
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace

TriggerController::TriggerController(HotKeyRegistrar& hotKeyRegistrar,
                                     const DisplayServer& displayServer, Clock& clock)
    : m_hotKeyRegistrar(hotKeyRegistrar)
    , m_displayServer(displayServer)
    , m_clock(clock) {
    installEventHandler();
}

void TriggerController::installEventHandler() {
    auto installed =
        m_hotKeyRegistrar.installHandler(signature, [this](HotKeyIdentifier identifier) {
            Q_ASSERT(isMainThread());
            handleHotKey(identifier.id);
        });
    if (installed.status != 0) {
        LumivaneLog::trigger.error("Could not install Carbon event handler; status=%{public}d",
                                   installed.status);
        return;
    }
    m_eventHandler = std::move(installed.registration);
    LumivaneLog::trigger.debug("Installed Carbon hot-key event handler");
}

void TriggerController::configure(AppSettings settings) {
    stop();
    m_settings = std::move(settings);
    if (!m_settings.configured) {
        LumivaneLog::trigger.info("Triggers disabled because setup is incomplete");
        return;
    }
    if (m_settings.paused) {
        LumivaneLog::trigger.info("Triggers disabled because Lumivane is paused");
        return;
    }
    if (m_settings.activationMode == ActivationMode::hotkey) {
        registerConfiguredHotKey(m_settings.hotKey);
    } else {
        startWatcher();
    }
}

void TriggerController::stop() {
    m_timer.reset();
    m_configuredHotKey.reset();
    resetCorner();
    LumivaneLog::trigger.debug("Stopped active triggers");
}

void TriggerController::invalidate() {
    stop();
    m_eventHandler.reset();
    LumivaneLog::trigger.debug("Invalidated trigger controller");
}

void TriggerController::handleHotKey(std::uint32_t identifier) {
    if (identifier != configuredHotKeyID) {
        return;
    }
    const auto display = displayUnderPointer(m_displayServer);
    if (!display) {
        LumivaneLog::trigger.error("Global shortcut fired but no display was resolved");
        return;
    }
    LumivaneLog::trigger.log("Global shortcut fired; display=%{public}u", display->displayID);
    // Every callback is called through a copy: it may replace itself or destroy the controller.
    if (const auto callback = onTrigger) {
        callback(display->displayID);
    }
}

void TriggerController::registerConfiguredHotKey(const HotKey& hotKey) {
    const auto code = keyCode(hotKey.key.toUpper());
    if (!code) {
        throw TriggerError(TriggerError::Case::unavailableHotKey);
    }
    auto registered = m_hotKeyRegistrar.registerHotKey(*code, carbonModifiers(hotKey),
                                                       {signature, configuredHotKeyID});
    if (registered.status != 0) {
        LumivaneLog::trigger.error("Global shortcut registration failed; status=%{public}d",
                                   registered.status);
        throw TriggerError(TriggerError::Case::unavailableHotKey);
    }
    m_configuredHotKey = std::move(registered.registration);
    LumivaneLog::trigger.log("Registered global shortcut; shortcut=%{public}s", hotKey);
}

std::uint32_t TriggerController::carbonModifiers(const HotKey& hotKey) {
    return (hotKey.command ? hotKeyModifier::command : 0) +
           (hotKey.option ? hotKeyModifier::option : 0) +
           (hotKey.control ? hotKeyModifier::control : 0) +
           (hotKey.shift ? hotKeyModifier::shift : 0);
}

void TriggerController::startWatcher() {
    LumivaneLog::trigger.log(
        "Starting hot-corner watcher; corner=%{public}s dwellSeconds=%{public}f", m_settings.corner,
        m_settings.dwellSeconds);
    m_timer = m_clock.every(secondsToDuration(m_settings.pollSeconds), [this] { tickCorner(); });
}

void TriggerController::tickCorner(MonotonicInstant now) {
    const auto place = placeOfPointer(m_displayServer);
    if (!place || !contains(m_settings.corner, place->location, place->display.frame,
                            m_settings.cornerSize)) {
        resetCorner();
        return;
    }
    const std::uint32_t displayID = place->display.displayID;
    if (!m_enteredAt) {
        const std::weak_ptr<const bool> alive = m_alive;
        enterCorner(now, displayID);
        // The callback may have destroyed the controller or ended this entry.
        if (alive.expired() || !m_enteredAt) {
            return;
        }
    }
    if (m_firedForEntry) {
        return;
    }
    // Compared in whole nanoseconds: fractions of seconds would make a dwell of exactly the setting
    // a matter of rounding.
    if (secondsToDuration(m_settings.dwellSeconds) > now - *m_enteredAt) {
        return;
    }
    m_firedForEntry = true;
    LumivaneLog::trigger.log("Hot-corner trigger fired; display=%{public}u", displayID);
    if (const auto callback = onTrigger) {
        callback(displayID);
    }
}

void TriggerController::enterCorner(MonotonicInstant now, std::uint32_t displayID) {
    m_enteredAt = now;
    m_firedForEntry = false;
    LumivaneLog::trigger.debug(
        "Pointer entered configured hot corner; corner=%{public}s display=%{public}u",
        m_settings.corner, displayID);
    if (const auto callback = onDwellStart) {
        callback();
    }
}

void TriggerController::resetCorner() {
    if (m_enteredAt) {
        LumivaneLog::trigger.debug("Pointer left configured hot corner; state reset");
    }
    m_enteredAt.reset();
    m_firedForEntry = false;
}

} // namespace lumivane
