#include "application/Services.h"

#include "analysis/AuthenticationFixtures.h"
#include "overlays/OverlayViews.h"
#include "platform/linux/UserFolders.h"

#include <QCoreApplication>

namespace lumivane {

namespace {

StatusMenuActions menuActions(AppModel& model) {
    return {.analyzeCurrentDisplay = [&model] { model.analyzeCurrentDisplay(); },
            .togglePaused = [&model] { model.togglePaused(); },
            .presentSettings = [&model] { model.presentSettings(SettingsDestination::general); },
            .showTestOverlay = [&model] { model.showTestOverlay(); },
            .copyLastResult = [&model] { model.copyLastResult(); },
            .showLastResultAgain = [&model] { model.showLastResultAgain(); },
            .runDiagnostics = [&model] { model.runDiagnostics(); },
            .terminate = [&model] { model.terminate(); }};
}

} // namespace

Services::Services(Mechanisms& itsDesktop, const ApplicationInformation& information,
                   const TestingMode& testing, Relauncher& relauncher)
    : desktop(itsDesktop)
    , reducer(desktop.codec, desktop.workers)
    , extractor(desktop.recogniser, reducer, desktop.workers, desktop.clock)
    , capture(desktop.displays, desktop.workers, QCoreApplication::applicationPid())
    , warmUp(desktop.displays, desktop.workers, desktop.clock, QCoreApplication::applicationPid())
    , client(std::nullopt, information, desktop.transport)
    , overlayPasteboard(desktop.pasteboard)
    , triggers(desktop.hotKeys, desktop.displays, desktop.clock)
    , overlays(desktop.panels, desktop.hotKeys, desktop.displays, desktop.announcer,
               overlayPasteboard, desktop.clock)
    , notes(desktop.noteFiles, desktop.workers, desktop.clock, UserFolders::documents)
    , settingsStore(desktop.userDefaults)
    , permission(desktop.displays, desktop.urlOpener)
    , launchAtLogin(desktop.loginItem)
    , notifications(desktop.notifications)
    , relaunch(relauncher)
    , accountService(std::nullopt, information, desktop.transport)
    , credentialStore(desktop.secretItems, AuthenticationFixtures::keyringService(
                                               testing, KeychainCredentialStore::service))
    , deviceIdentity({.items = desktop.secretItems,
                      .facts = desktop.deviceFacts,
                      .random = desktop.random,
                      .clock = desktop.clock,
                      .pool = desktop.keyringWorkers,
                      .service = AuthenticationFixtures::keyringService(
                          testing, SystemDeviceIdentity::ordinaryService)})
    , webAuthenticator(desktop.webSession, desktop.clock)
    , handleChecker(desktop.clock)
    , authentication({.service = accountService,
                      .credentialStore = credentialStore,
                      .webAuthenticator = webAuthenticator,
                      .deviceIdentity = deviceIdentity,
                      .handleChecker = handleChecker,
                      .random = desktop.random,
                      .clock = desktop.clock},
                     AuthenticationFixtures::start(testing), AuthenticationFixtures::seeds(testing))
    , accountWindow(authentication)
    , model({settingsStore,     client,
             capture,           warmUp,
             reducer,           extractor,
             permission,        launchAtLogin,
             notifications,     notes,
             relaunch,          desktop.pasteboard,
             desktop.sound,     desktop.displays,
             triggers,          overlays,
             overlayPasteboard, authentication,
             settingsWindow,    desktop.shell,
             desktop.clock},
            testing) {
    settingsWindow.model = &model;
    settingsWindow.accountWindow = &accountWindow;
    authentication.setOnSessionCleared([this] { model.authenticationDidClearSession(); });
    // While the pointer waits in the corner, the recogniser loads beside the capture path.
    triggers.onDwellStart = [this, capturePath = triggers.onDwellStart] {
        capturePath();
        desktop.workers.start([this] { desktop.recogniser.prepare(); });
    };
}

void Services::createStatusItem() {
    statusItem = std::make_unique<LumivaneStatusItemController>(
        StatusItemPorts{.model = model,
                        .statusBar = desktop.statusBar,
                        .popover = popover,
                        .accessibility = desktop.accessibility,
                        .clock = desktop.clock,
                        .hasScreenRecording = [this] { return model.hasScreenRecording(); },
                        .actions = menuActions(model)});
    popover.openMenu = [this] { statusItem->showSecondaryMenu(); };
    QObject::connect(&model, &AppModel::screenRecordingGrantedChanged, statusItem.get(),
                     &LumivaneStatusItemController::screenRecordingChanged);
}

void Services::preparePanels() {
    desktop.panels.prepare(OverlayViews::working());
    desktop.panels.prepare(OverlayViews::result());
}

} // namespace lumivane
