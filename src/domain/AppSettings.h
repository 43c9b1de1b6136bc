#pragma once

#include "domain/HotKey.h"
#include "domain/Vocabulary.h"

#include <QString>

namespace lumivane {

/// Everything that the user can choose; a plain value, copied freely.
///
/// Fields stand in the order in which they are written to JSON, and every key equals its field's
/// name. The initial values are those of a new installation.
struct AppSettings {
    bool configured = false; ///< the setup wizard has been finished
    bool paused = false;     ///< triggers and runs are suspended
    ActivationMode activationMode = ActivationMode::corner;
    ScreenCorner corner = ScreenCorner::bottomRight;
    HotKey hotKey{.command = true, .option = true, .key = u"E"_qs};
    Preset preset = Preset::summary;
    QString customPrompt = u"Summarise the screen in two lines, then list any deadlines."_qs;
    bool launchAtLogin = true;
    bool showInMenuBar = true;
    bool useDarkAppearance = true; ///< force the dark appearance, otherwise the light one
    bool showProcessingOverlay = true;
    double cornerSize = 6.0;             ///< points, edge of the hot corner's square
    double dwellSeconds = 0.4;           ///< how long the pointer must stay in the corner
    double pollSeconds = 0.1;            ///< how often the pointer is looked at
    double requestTimeoutSeconds = 20.0; ///< kept in the stored form only; nothing reads it
    DeliveryMode deliveryMode = DeliveryMode::both;
    OverlayPosition overlayPosition = OverlayPosition::bottomRight;
    double resultSeconds = 6.0; ///< how long the result overlay stays
    bool keepUntilDismissed = false;
    bool extendOnHover = true;
    OverlayBackgroundStyle overlayBackground = OverlayBackgroundStyle::graphite;
    double backgroundOpacity = 90.0; ///< percent
    OverlayTextColor overlayTextColor = OverlayTextColor::white;
    OverlayTextSize overlayTextSize = OverlayTextSize::medium;
    bool dismissWithEscape = true;
    bool soundWhenReady = false;
    bool includePromptWhenCopying = false;
    bool notifyOnCopy = false;
    bool streamText = false; ///< kept in the stored form; `normalized` forces it to false
    AnalysisMode analysisMode = AnalysisMode::hyperPrivate;
    bool saveLeetCodeNotes = true;

    /// The values of a new installation.
    static const AppSettings& defaults();

    /// False only for the custom preset with a prompt of nothing but white space.
    bool hasValidCustomPrompt() const;

    /// A copy with `dwellSeconds`, `resultSeconds` and `backgroundOpacity` held to their ranges
    /// and `streamText` off. The other numbers are held in range by their controls.
    AppSettings normalized() const;

    /// The normalized value. Throws SettingsValidationError: the prompt is tested first, then, in
    /// shortcut mode only, the shortcut.
    AppSettings validated() const;

    /// What is copied for a result: the text, behind its prompt where the user wants that.
    QString clipboardValue(const QString& text) const;

    SrgbColor overlayForeground() const;

    bool operator==(const AppSettings&) const = default;
};

} // namespace lumivane
