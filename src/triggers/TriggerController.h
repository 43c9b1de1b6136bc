#pragma once

#include "async/Clock.h"
#include "domain/AppSettings.h"
#include "platform/DisplayServer.h"
#include "platform/HotKeyRegistrar.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>

namespace lumivane {

/// Turns the two ways of starting a run, a global shortcut and a pointer that rests in a corner,
/// into one callback with the display under the pointer. One of the two is live at any moment, or
/// neither. It knows nothing of runs.
///
/// One per application, on the main thread only. Every callback may configure, stop, invalidate or
/// destroy the controller. The ports outlive it.
class TriggerController {
public:
    /// The four characters "LUMV", which mark this controller's hot key among all of the process.
    static constexpr std::uint32_t signature = 0x4C554D56;

    /// Installs the hot-key handler, which stays until `invalidate`. A failure is logged, and the
    /// controller goes on without a shortcut that could be heard.
    TriggerController(HotKeyRegistrar& hotKeyRegistrar, const DisplayServer& displayServer,
                      Clock& clock);
    TriggerController(const TriggerController&) = delete;
    TriggerController& operator=(const TriggerController&) = delete;

    /// A trigger has fired for this display.
    std::function<void(std::uint32_t displayID)> onTrigger;

    /// For failures outside of a call. None arises today: `configure` throws its own.
    std::function<void(const std::exception&)> onError;

    /// The pointer has entered the corner: a trigger may follow.
    std::function<void()> onDwellStart;

    /// Stops what is live, then starts what `settings` ask for: nothing before setup is complete or
    /// while paused, else the shortcut or the corner. Callable at any time.
    ///
    /// Throws TriggerError::unavailableHotKey, after which nothing is live and the settings are
    /// kept.
    void configure(AppSettings settings);

    /// Stops both triggers. The hot-key handler stays.
    void stop();

    /// Stops everything, the hot-key handler included: the application is about to end.
    void invalidate();

    /// One look at the pointer; `now` must not run backward from tick to tick. Called by the
    /// watcher's timer, and by tests.
    ///
    /// The dwell is taken on the monotonic clock, so that setting the wall clock can neither fire
    /// nor starve it.
    void tickCorner(MonotonicInstant now);

    void tickCorner() { tickCorner(m_clock.now()); }

    /// Forgets that the pointer is in the corner. Called where it is not, and by tests.
    void resetCorner();

private:
    static std::uint32_t carbonModifiers(const HotKey& hotKey);

    void installEventHandler();
    void handleHotKey(std::uint32_t identifier);
    void registerConfiguredHotKey(const HotKey& hotKey);
    void startWatcher();
    void enterCorner(MonotonicInstant now, std::uint32_t displayID);

    HotKeyRegistrar& m_hotKeyRegistrar;
    const DisplayServer& m_displayServer;
    Clock& m_clock;
    std::unique_ptr<HotKeyRegistration> m_eventHandler;
    std::unique_ptr<HotKeyRegistration> m_configuredHotKey;
    std::unique_ptr<ClockTimer> m_timer;
    AppSettings m_settings = AppSettings::defaults();
    std::optional<MonotonicInstant> m_enteredAt; ///< absent while the pointer is outside
    bool m_firedForEntry = false;
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true);
};

} // namespace lumivane
