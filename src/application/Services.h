#pragma once

#include "accounts/AuthClient.h"
#include "accounts/AuthenticationCoordinator.h"
#include "accounts/KeychainCredentialStore.h"
#include "accounts/SystemDeviceIdentity.h"
#include "accounts/SystemWebAuthenticator.h"
#include "analysis/AppModel.h"
#include "analysis/AppRelaunchService.h"
#include "analysis/LaunchAtLoginService.h"
#include "analysis/NotificationService.h"
#include "analysis/PermissionService.h"
#include "application/Mechanisms.h"
#include "notes/FolderNotesService.h"
#include "overlays/OverlayCoordinator.h"
#include "overlays/OverlayPasteboard.h"
#include "provisional/AccountWindow.h"
#include "provisional/MenuInPlaceOfPopover.h"
#include "provisional/SetupByDefaults.h"
#include "screen/ScreenCaptureService.h"
#include "screen/ScreenCaptureWarmUp.h"
#include "screen/ScreenImageReducer.h"
#include "screen/ScreenTextExtractor.h"
#include "service/AnalysisClient.h"
#include "settings/SettingsStore.h"
#include "triggers/TriggerController.h"
#include "ui/LumivaneStatusItemController.h"

#include <memory>

namespace lumivane {

/// The program over one desktop's mechanisms: every service, and the one model over all of them.
struct Services {
    /// `desktop` and `relauncher` outlive the services.
    Services(Mechanisms& desktop, const ApplicationInformation& information,
             const TestingMode& testing, Relauncher& relauncher);

    /// Makes the item in the tray.
    void createStatusItem();

    /// The first panels come as fast as all later ones, once this has been called.
    void preparePanels();

    Mechanisms& desktop;
    ScreenImageReducer reducer;
    ScreenTextExtractor extractor;
    ScreenCaptureService capture;
    ScreenCaptureWarmUp warmUp;
    AnalysisClient client;
    OverlayPasteboard overlayPasteboard;
    TriggerController triggers;
    OverlayCoordinator overlays;
    FolderNotesService notes;
    SettingsStore settingsStore;
    PermissionService permission;
    LaunchAtLoginService launchAtLogin;
    NotificationService notifications;
    AppRelaunchService relaunch;
    AuthClient accountService;
    KeychainCredentialStore credentialStore;
    SystemDeviceIdentity deviceIdentity;
    SystemWebAuthenticator webAuthenticator;
    HandleAvailabilityChecker handleChecker;
    AuthenticationCoordinator authentication;

    // Provisional, each until the real one is built.
    AccountWindow accountWindow;
    SetupByDefaults settingsWindow;
    MenuInPlaceOfPopover popover;

    AppModel model;
    std::unique_ptr<LumivaneStatusItemController> statusItem; ///< none before `createStatusItem`
};

} // namespace lumivane
