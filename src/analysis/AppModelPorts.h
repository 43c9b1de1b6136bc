#pragma once

#include "accounts/SessionServing.h"
#include "analysis/AppRelaunching.h"
#include "analysis/LaunchAtLoginServing.h"
#include "analysis/NotificationServing.h"
#include "analysis/PermissionServing.h"
#include "analysis/SettingsPresenting.h"
#include "async/Clock.h"
#include "notes/NotesServing.h"
#include "overlays/OverlayPasteboard.h"
#include "overlays/OverlayPresenting.h"
#include "platform/ApplicationShell.h"
#include "platform/DisplayServer.h"
#include "platform/LumivanePasteboard.h"
#include "platform/SoundPlayer.h"
#include "screen/ScreenCapturing.h"
#include "screen/ScreenImageEncoding.h"
#include "screen/ScreenTextExtracting.h"
#include "service/AnalysisServing.h"
#include "settings/SettingsStoring.h"
#include "triggers/TriggerController.h"

namespace lumivane {

/// Everything that the application model reaches. All of it outlives the model.
struct AppModelPorts {
    SettingsStoring& settingsStore;
    AnalysisServing& analysisService;
    ScreenCapturing& captureService;
    CaptureWarming& captureWarmUp;
    ScreenImageEncoding& imageReducer;
    ScreenTextExtracting& textExtractor;
    PermissionServing& permissionService;
    LaunchAtLoginServing& loginService;
    NotificationServing& notificationService;
    NotesServing& notesService;
    AppRelaunching& relaunchService;
    LumivanePasteboard& pasteboard;
    SoundPlayer& soundPlayer;
    DisplayServer& displays;
    TriggerController& triggerController;
    OverlayPresenting& overlays;
    OverlayPasteboard& overlayPasteboard;
    SessionServing& authentication;
    SettingsPresenting& settingsPresenter;
    ApplicationShell& application;
    Clock& clock;
};

} // namespace lumivane
