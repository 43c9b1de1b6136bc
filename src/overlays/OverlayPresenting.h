#pragma once

#include "domain/AppSettings.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <optional>

namespace lumivane {

/// When the signed-out-elsewhere panel stopped the user.
enum class DeviceEvictedOrigin {
    beforeCapture, ///< before a frame was taken
    afterUpload    ///< the service answered so after the upload
};

/// The floating panels, as the application model calls them. Main thread only.
///
/// Panels show the settings that are handed in, never live ones. Each kind has at most one panel.
class OverlayPresenting {
public:
    virtual ~OverlayPresenting() = default;

    /// The caller has tested `showProcessingOverlay`.
    virtual void showWorking(std::uint32_t displayID, const AppSettings& settings) = 0;
    /// Switches the working panel, if there is one, to the words for a slow answer.
    virtual void markWorkingSlow() = 0;
    virtual void clearWorking() = 0;

    /// `copiedToClipboard` none stands for what the settings say.
    virtual void showResult(const QString& text, ResultKind kind,
                            const std::optional<QString>& questionTitle,
                            std::optional<LeetCodeAnswerStatus> answerStatus,
                            std::uint32_t displayID, const AppSettings& settings,
                            std::optional<bool> copiedToClipboard) = 0;

    /// Without a display the main one serves.
    virtual void showError(const QString& text, std::optional<std::uint32_t> displayID,
                           const AppSettings& settings) = 0;

    virtual void showNotesStatus(const QString& message, std::uint32_t displayID,
                                 const AppSettings& settings) = 0;

    /// A second request while the panel is up changes nothing; `onLogin` is called at most once.
    virtual void showAuthenticationRequired(std::uint32_t displayID, const AppSettings& settings,
                                            std::function<void()> onLogin) = 0;

    /// A second request while the panel is up changes nothing.
    virtual void showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin,
                                   const AppSettings& settings,
                                   std::function<void()> onOpenAccount) = 0;

    virtual void clearAll() = 0;

    /// Clears all and releases what the panels hold of the desktop. Called once, at the end.
    virtual void invalidate() = 0;
};

} // namespace lumivane
