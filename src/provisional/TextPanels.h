#pragma once

#include "async/Clock.h"
#include "overlays/OverlayPresenting.h"
#include "platform/DisplayServer.h"

#include <QLabel>

#include <memory>

namespace lumivane {

/// Stands in for the overlays: one plain label for work in progress, one for everything else.
/// Neither takes the keyboard focus; a click closes what is not work in progress.
class TextPanels final : public OverlayPresenting {
public:
    /// Both outlive the panels.
    TextPanels(const DisplayServer& displays, Clock& clock);
    ~TextPanels() override;

    void showWorking(std::uint32_t displayID, const AppSettings& settings) override;
    void markWorkingSlow() override;
    void clearWorking() override;
    void showResult(const QString& text, ResultKind kind,
                    const std::optional<QString>& questionTitle,
                    std::optional<LeetCodeAnswerStatus> answerStatus, std::uint32_t displayID,
                    const AppSettings& settings, std::optional<bool> copiedToClipboard) override;
    void showError(const QString& text, std::optional<std::uint32_t> displayID,
                   const AppSettings& settings) override;
    void showNotesStatus(const QString& message, std::uint32_t displayID,
                         const AppSettings& settings) override;
    void showAuthenticationRequired(std::uint32_t displayID, const AppSettings& settings,
                                    std::function<void()> onLogin) override;
    void showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin,
                           const AppSettings& settings,
                           std::function<void()> onOpenAccount) override;
    void clearAll() override;

    void invalidate() override { clearAll(); }

private:
    void showMessage(const QString& text, std::optional<std::uint32_t> displayID,
                     const AppSettings& settings, std::optional<double> seconds);
    void place(QLabel& panel, std::optional<std::uint32_t> displayID,
               OverlayPosition position) const;
    void clearMessage();

    const DisplayServer& m_displays;
    Clock& m_clock;
    std::unique_ptr<QLabel> m_working;
    std::unique_ptr<QLabel> m_message;
    std::unique_ptr<ClockTimer> m_messageTimer;
};

} // namespace lumivane
