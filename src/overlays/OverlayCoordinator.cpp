#include "overlays/OverlayCoordinator.h"

#include "async/MainThread.h"
#include "overlays/AccountPanelModel.h"
#include "overlays/NotesStatusModel.h"
#include "overlays/OverlayPlacement.h"
#include "overlays/OverlayViews.h"
#include "overlays/ResultOverlayCopy.h"
#include "overlays/WorkingOverlayCopy.h"
#include "overlays/WorkingOverlayModel.h"
#include "telemetry/LumivaneLog.h"

#include <algorithm>
#include <utility>

namespace lumivane {

namespace {

using std::chrono::nanoseconds;

constexpr nanoseconds tickInterval = std::chrono::milliseconds(100);
constexpr nanoseconds notesStatusTime = std::chrono::seconds(20);
constexpr std::uint32_t escapeKeyCode = 53;
constexpr std::uint32_t escapeHotKeyID = 1;

double inSeconds(nanoseconds duration) { return std::chrono::duration<double>(duration).count(); }

/// How long a result stays; none: until it is closed. A LeetCode answer always has an end.
std::optional<double> dismissalSeconds(ResultKind kind, const AppSettings& settings) {
    // By way of the clock's scale: what no clock can count has no place in a label either.
    const double chosen = std::max(0.0, inSeconds(secondsToDuration(settings.resultSeconds)));
    if (kind == ResultKind::leetCode) {
        return settings.keepUntilDismissed
                   ? OverlayCoordinator::leetCodeMaximumSeconds
                   : std::max(chosen, OverlayCoordinator::leetCodeMinimumSeconds);
    }
    return settings.keepUntilDismissed ? std::nullopt : std::optional(chosen);
}

/// What the countdown bar counts; none: no bar.
std::optional<double> countdownSeconds(ResultKind kind, const AppSettings& settings) {
    return kind == ResultKind::leetCode ? std::nullopt : dismissalSeconds(kind, settings);
}

} // namespace

OverlayCoordinator::OverlayCoordinator(PanelHost& panelHost, HotKeyRegistrar& hotKeyRegistrar,
                                       const DisplayServer& displayServer, Announcer& announcer,
                                       OverlayPasteboard& pasteboard, Clock& clock)
    : m_panelHost(panelHost)
    , m_hotKeyRegistrar(hotKeyRegistrar)
    , m_displayServer(displayServer)
    , m_announcer(announcer)
    , m_pasteboard(pasteboard)
    , m_clock(clock) {
    installEventHandler();
}

OverlayCoordinator::~OverlayCoordinator() { invalidate(); }

void OverlayCoordinator::showWorking(std::uint32_t displayID, const AppSettings& settings) {
    const auto screen = screenWithDisplayID(m_displayServer, displayID);
    if (!screen) {
        LumivaneLog::overlay.error(
            "Could not show working overlay because the display is unavailable");
        return;
    }
    m_working.close();
    m_workingState = std::make_shared<WorkingOverlayState>();
    m_working.open(
        m_panelHost, OverlayPlacement::working(*screen, settings),
        {OverlayViews::working(), std::make_shared<WorkingOverlayModel>(settings, m_workingState)});
    LumivaneLog::overlay.log("Showing working overlay; display=%{public}u", displayID);
}

void OverlayCoordinator::markWorkingSlow() {
    if (!m_workingState || m_workingState->isSlow()) {
        return;
    }
    m_workingState->setSlow(true);
    announce(WorkingOverlayCopy::slow);
    LumivaneLog::overlay.log("Working overlay switched to the slow-response copy");
}

void OverlayCoordinator::clearWorking() {
    m_working.close();
    m_workingState.reset();
}

void OverlayCoordinator::showResult(const QString& text, ResultKind kind,
                                    const std::optional<QString>& questionTitle,
                                    std::optional<LeetCodeAnswerStatus> answerStatus,
                                    std::uint32_t displayID, const AppSettings& settings,
                                    std::optional<bool> copiedToClipboard) {
    const auto screen = screenWithDisplayID(m_displayServer, displayID);
    if (!screen) {
        LumivaneLog::overlay.error(
            "Could not show result overlay because the display is unavailable");
        return;
    }
    const auto seconds = dismissalSeconds(kind, settings);
    beginResult(kind, seconds);
    // A click follows the setting for Escape; a LeetCode panel forwards its close button only.
    const bool closes = kind == ResultKind::leetCode || settings.dismissWithEscape;
    openResult(
        OverlayPlacement::result(kind, *screen, settings),
        {.text = text,
         .kind = kind,
         .questionTitle = questionTitle,
         .answerStatus = answerStatus,
         .isError = false,
         .settings = settings,
         .countdownSeconds = countdownSeconds(kind, settings),
         .copiedToClipboard = copiedToClipboard.value_or(copiesToClipboard(settings.deliveryMode))},
        [this, closes] {
            if (closes) {
                clearResult();
            }
        });
    if (settings.dismissWithEscape) {
        registerEscape();
    }
    if (seconds) {
        startResultTimer(*seconds, settings.extendOnHover ? OnHover::holdsClock : OnHover::nothing);
    }
    announceResult(text, kind, false);
    LumivaneLog::overlay.log("Showing result overlay; kind=%{public}s display=%{public}u "
                             "dismissalSeconds=%{public}f escapeHeld=%{bool,public}d",
                             kind, displayID, seconds.value_or(0), settings.dismissWithEscape);
}

void OverlayCoordinator::showError(const QString& text, std::optional<std::uint32_t> displayID,
                                   const AppSettings& settings) {
    const auto screen = displayID ? screenOrMain(*displayID) : mainScreen(m_displayServer);
    if (!screen) {
        LumivaneLog::overlay.error("Could not show error overlay because no display is available");
        return;
    }
    beginResult(ResultKind::text, errorSeconds);
    openResult(OverlayPlacement::error(*screen, settings),
               {.text = text,
                .kind = ResultKind::text,
                .questionTitle = std::nullopt,
                .answerStatus = std::nullopt,
                .isError = true,
                .settings = settings,
                .countdownSeconds = errorSeconds,
                .copiedToClipboard = false},
               [this] { clearResult(); });
    registerEscape();
    startResultTimer(errorSeconds, OnHover::holdsClock);
    announceResult(text, ResultKind::text, true);
    LumivaneLog::overlay.log("Showing error overlay");
}

void OverlayCoordinator::beginResult(ResultKind kind, std::optional<double> seconds) {
    clearResult();
    m_resultState = std::make_shared<ResultOverlayState>();
    if (seconds) {
        m_resultState->beginCountdown(*seconds);
    }
    m_resultKind = kind;
}

void OverlayCoordinator::openResult(const PanelRequest& request, ResultOverlayContent content,
                                    std::function<void()> onDismiss) {
    const auto mark = m_result.begin();
    const auto model = std::make_shared<ResultOverlayModel>(
        std::move(content), m_resultState, m_pasteboard, m_announcer,
        OverlaySlot::whileUp(mark, std::move(onDismiss)),
        OverlaySlot::whileUp(mark, [this](bool isOver) { m_resultHovered = isOver; }));
    m_result.open(m_panelHost, request, {OverlayViews::result(), model});
    if (CountdownBarModel* const countdown = model->countdown()) {
        countdown->setGlider(
            OverlaySlot::whileUp(mark, [this](const std::optional<StripGlide>& glide) {
                if (glide) {
                    m_result.panel().glide(*glide);
                } else {
                    m_result.panel().stopGlide();
                }
            }));
    }
}

void OverlayCoordinator::clearResult() {
    m_resultTask.reset();
    unregisterEscape();
    m_resultHovered = false;
    m_result.close();
    m_resultState.reset();
    m_resultKind.reset();
}

void OverlayCoordinator::startResultTimer(double seconds, OnHover onHover) {
    m_resultRemaining = secondsToDuration(seconds);
    m_resultLastTick = m_clock.now();
    m_resultOnHover = onHover;
    m_resultTask = m_resultRemaining > nanoseconds::zero()
                       ? m_clock.every(tickInterval, [this] { tickResult(); })
                       : m_clock.after(nanoseconds::zero(), [this] { clearResult(); });
}

void OverlayCoordinator::tickResult() {
    const MonotonicInstant now = m_clock.now();
    const nanoseconds elapsed = now - m_resultLastTick;
    m_resultLastTick = now;
    const bool paused = m_resultOnHover == OnHover::holdsClock && m_resultHovered;
    if (!paused) {
        m_resultRemaining -= elapsed;
    }
    const auto remaining = std::max(m_resultRemaining, nanoseconds::zero());
    // Held meanwhile: who hears of the tick may close the panel.
    const auto state = m_resultState;
    state->tick(inSeconds(remaining), paused);
    if (state == m_resultState && remaining == nanoseconds::zero()) {
        clearResult();
    }
}

void OverlayCoordinator::showNotesStatus(const QString& message, std::uint32_t displayID,
                                         const AppSettings& settings) {
    Q_UNUSED(settings)
    if (m_resultState && m_resultKind == ResultKind::leetCode) {
        m_resultState->setNotesFailure(message);
        announce(message);
        LumivaneLog::overlay.log("Reported a Notes failure inside the LeetCode panel");
        return;
    }
    const auto screen = screenWithDisplayID(m_displayServer, displayID);
    if (!screen) {
        return;
    }
    m_notesTask.reset();
    const auto mark = m_notes.begin();
    m_notes.open(m_panelHost, OverlayPlacement::notesStatus(*screen),
                 {OverlayViews::notesStatus(),
                  std::make_shared<NotesStatusModel>(
                      message, OverlaySlot::whileUp(mark, [this] { clearNotesStatus(); }))});
    m_notesTask = m_clock.after(notesStatusTime, [this] { clearNotesStatus(); });
    announce(message);
}

void OverlayCoordinator::clearNotesStatus() {
    m_notesTask.reset();
    m_notes.close();
}

void OverlayCoordinator::showAuthenticationRequired(std::uint32_t displayID,
                                                    const AppSettings& settings,
                                                    std::function<void()> onLogin) {
    if (m_authentication.isUp()) {
        return;
    }
    announce(u"Log in to Lumivane to analyze this screen."_qs);
    const auto screen = screenOrMain(displayID);
    if (!screen) {
        return;
    }
    const auto mark = m_authentication.begin();
    m_authentication.open(
        m_panelHost, OverlayPlacement::authenticationRequired(*screen, settings),
        {OverlayViews::account(),
         AccountPanelModel::authenticationRequired(
             OverlaySlot::whileUp(mark,
                                  [this, onLogin = std::move(onLogin)] {
                                      // Copied out: it goes with the panel.
                                      const auto login = onLogin;
                                      clearAuthenticationRequired();
                                      login();
                                  }),
             OverlaySlot::whileUp(mark, [this] { clearAuthenticationRequired(); }))});
}

void OverlayCoordinator::clearAuthenticationRequired() { m_authentication.close(); }

void OverlayCoordinator::showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin,
                                           const AppSettings& settings,
                                           std::function<void()> onOpenAccount) {
    if (m_deviceEvicted.isUp()) {
        return;
    }
    announce(u"Lumivane is signed in on another Mac."_qs);
    const auto screen = screenOrMain(displayID);
    if (!screen) {
        return;
    }
    const auto mark = m_deviceEvicted.begin();
    m_deviceEvicted.open(
        m_panelHost, OverlayPlacement::deviceEvicted(*screen, settings),
        {OverlayViews::account(),
         AccountPanelModel::deviceEvicted(
             origin,
             OverlaySlot::whileUp(mark,
                                  [this, onOpenAccount = std::move(onOpenAccount)] {
                                      const auto openAccount = onOpenAccount;
                                      clearDeviceEvicted();
                                      openAccount();
                                  }),
             OverlaySlot::whileUp(mark, [this] { clearDeviceEvicted(); }))});
}

void OverlayCoordinator::clearDeviceEvicted() { m_deviceEvicted.close(); }

void OverlayCoordinator::clearAll() {
    clearWorking();
    clearResult();
    clearNotesStatus();
    clearAuthenticationRequired();
    clearDeviceEvicted();
}

void OverlayCoordinator::invalidate() {
    clearAll();
    m_eventHandler.reset();
}

void OverlayCoordinator::installEventHandler() {
    // Every key under the signature is Escape: there is no other.
    auto installed = m_hotKeyRegistrar.installHandler(signature, [this](HotKeyIdentifier) {
        Q_ASSERT(isMainThread());
        clearResult();
    });
    if (installed.status != 0) {
        LumivaneLog::overlay.error("Could not install result dismissal handler; status=%{public}d",
                                   installed.status);
        return;
    }
    m_eventHandler = std::move(installed.registration);
}

void OverlayCoordinator::registerEscape() {
    // Without a handler a grab would take Escape from everybody and give it to nobody.
    if (m_escapeHotKey || !m_eventHandler) {
        return;
    }
    auto registered =
        m_hotKeyRegistrar.registerHotKey(escapeKeyCode, 0, {signature, escapeHotKeyID});
    if (registered.status != 0) {
        LumivaneLog::overlay.error(
            "Could not register result dismissal shortcut; status=%{public}d", registered.status);
        return;
    }
    m_escapeHotKey = std::move(registered.registration);
}

void OverlayCoordinator::unregisterEscape() { m_escapeHotKey.reset(); }

void OverlayCoordinator::announce(const QString& text) {
    m_announcer.announce(text, AnnouncementPriority::high);
}

void OverlayCoordinator::announceResult(const QString& text, ResultKind kind, bool isError) {
    announce(ResultOverlayCopy::announcement(kind, isError, text));
}

std::optional<OverlayScreen> OverlayCoordinator::screenOrMain(std::uint32_t displayID) const {
    const auto screen = screenWithDisplayID(m_displayServer, displayID);
    return screen ? screen : mainScreen(m_displayServer);
}

} // namespace lumivane
