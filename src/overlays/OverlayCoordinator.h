#pragma once

#include "async/Clock.h"
#include "overlays/OverlayPasteboard.h"
#include "overlays/OverlayPresenting.h"
#include "overlays/OverlayScreen.h"
#include "overlays/OverlaySlot.h"
#include "overlays/ResultOverlayModel.h"
#include "overlays/WorkingOverlayState.h"
#include "platform/Announcer.h"
#include "platform/DisplayServer.h"
#include "platform/HotKeyRegistrar.h"
#include "platform/PanelHost.h"

#include <chrono>
#include <memory>
#include <optional>

namespace lumivane {

/// Owns every floating panel: where it goes, how big it is, how long it stays, what Escape does
/// meanwhile and what is read out. It knows nothing of runs.
///
/// One per application, on the main thread only; the ports outlive it. Panels of different kinds
/// are independent of one another. A panel stays at its place until it is closed, even when its
/// display goes. Everything that a view calls may come late: it counts only while its own panel is
/// up.
class OverlayCoordinator final : public OverlayPresenting {
public:
    /// The four characters "LVOV", which mark the Escape key of the panels.
    static constexpr std::uint32_t signature = 0x4C564F56;

    static constexpr double leetCodeMinimumSeconds = 180;
    static constexpr double leetCodeMaximumSeconds = 900;
    static constexpr double errorSeconds = 20;

    /// Installs the handler of the Escape key, which stays until `invalidate`. A failure is logged;
    /// the panels then work without Escape.
    OverlayCoordinator(PanelHost& panelHost, HotKeyRegistrar& hotKeyRegistrar,
                       const DisplayServer& displayServer, Announcer& announcer,
                       OverlayPasteboard& pasteboard, Clock& clock);
    ~OverlayCoordinator() override;
    OverlayCoordinator(const OverlayCoordinator&) = delete;
    OverlayCoordinator& operator=(const OverlayCoordinator&) = delete;

    void showWorking(std::uint32_t displayID, const AppSettings& settings) override;
    void markWorkingSlow() override;
    void clearWorking() override;

    /// Without the display an earlier result stays up.
    void showResult(const QString& text, ResultKind kind,
                    const std::optional<QString>& questionTitle,
                    std::optional<LeetCodeAnswerStatus> answerStatus, std::uint32_t displayID,
                    const AppSettings& settings, std::optional<bool> copiedToClipboard) override;

    /// In place of a result.
    void showError(const QString& text, std::optional<std::uint32_t> displayID,
                   const AppSettings& settings) override;

    /// Closes a result or an error, stops its clock and gives Escape back.
    void clearResult();

    /// In the LeetCode panel while one is up, else on a panel of its own.
    void showNotesStatus(const QString& message, std::uint32_t displayID,
                         const AppSettings& settings) override;

    /// A banner in a result panel stays.
    void clearNotesStatus();

    void showAuthenticationRequired(std::uint32_t displayID, const AppSettings& settings,
                                    std::function<void()> onLogin) override;
    void clearAuthenticationRequired();
    void showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin,
                           const AppSettings& settings,
                           std::function<void()> onOpenAccount) override;
    void clearDeviceEvicted();

    void clearAll() override;

    /// Clears all and gives the handler of the Escape key back.
    void invalidate() override;

private:
    enum class OnHover { holdsClock, nothing };

    void installEventHandler();
    void registerEscape();
    void unregisterEscape();

    /// Clears the result and makes the state of the next one.
    void beginResult(ResultKind kind, std::optional<double> seconds);
    void openResult(const PanelRequest& request, ResultOverlayContent content,
                    std::function<void()> onDismiss);
    void startResultTimer(double seconds, OnHover onHover);
    void tickResult();

    void announce(const QString& text);
    void announceResult(const QString& text, ResultKind kind, bool isError);
    std::optional<OverlayScreen> screenOrMain(std::uint32_t displayID) const;

    PanelHost& m_panelHost;
    HotKeyRegistrar& m_hotKeyRegistrar;
    const DisplayServer& m_displayServer;
    Announcer& m_announcer;
    OverlayPasteboard& m_pasteboard;
    Clock& m_clock;

    std::unique_ptr<HotKeyRegistration> m_eventHandler;
    std::unique_ptr<HotKeyRegistration> m_escapeHotKey;

    OverlaySlot m_working;
    std::shared_ptr<WorkingOverlayState> m_workingState;

    OverlaySlot m_result; ///< errors included
    std::shared_ptr<ResultOverlayState> m_resultState;
    std::optional<ResultKind> m_resultKind; ///< an error counts as text
    bool m_resultHovered = false;
    std::unique_ptr<ClockTimer> m_resultTask;
    std::chrono::nanoseconds m_resultRemaining{0};
    MonotonicInstant m_resultLastTick;
    OnHover m_resultOnHover = OnHover::nothing;

    OverlaySlot m_notes;
    std::unique_ptr<ClockTimer> m_notesTask;

    OverlaySlot m_authentication;
    OverlaySlot m_deviceEvicted;
};

} // namespace lumivane
