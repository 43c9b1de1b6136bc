#pragma once

#include "analysis/AppModel.h"
#include "async/Clock.h"
#include "async/TaskHandle.h"
#include "domain/LumivaneDisplayState.h"
#include "platform/AccessibilitySettings.h"
#include "platform/StatusBar.h"
#include "ui/PopoverPresenting.h"
#include "ui/identity/LumivaneStatusIconRenderer.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace lumivane {

/// What the lines of the status item's menu do, each an operation of the model of that name.
struct StatusMenuActions {
    std::function<void()> analyzeCurrentDisplay;
    std::function<void()> togglePaused;
    std::function<void()> presentSettings;
    std::function<void()> showTestOverlay;
    std::function<void()> copyLastResult;
    std::function<void()> showLastResultAgain;
    std::function<void()> runDiagnostics;
    std::function<void()> terminate;
};

/// Everything that the controller reaches. All of it outlives the controller, or its `invalidate`.
struct StatusItemPorts {
    AppModel& model;
    StatusBar& statusBar;
    PopoverPresenting& popover;
    const AccessibilitySettings& accessibility;
    Clock& clock;
    std::function<bool()> hasScreenRecording;
    StatusMenuActions actions;
};

/// The program's icon in the tray: a primary click opens the popover, a secondary click the menu.
/// It keeps the icon in step with the model, and there is one exactly while the settings want it.
/// Main thread only.
class LumivaneStatusItemController final : public QObject {
    Q_OBJECT

public:
    explicit LumivaneStatusItemController(StatusItemPorts ports);
    ~LumivaneStatusItemController() override;

    /// What the icon shows; none while it is hidden.
    std::optional<LumivaneDisplayState> displayedState() const { return m_displayedState; }

    /// Closes the popover, takes the icon away and follows the model no more. Harmless when it has
    /// happened.
    void invalidate();

    /// Opens the menu at the icon in place of the popover.
    void showSecondaryMenu();

    /// To be called when `hasScreenRecording` answers something else from now on.
    Q_SLOT void screenRecordingChanged();

private:
    using Self = QPointer<LumivaneStatusItemController>;

    void observeModel();
    void synchronizeStatusItem();
    void ensureStatusItem();
    void removeStatusItem();
    void statusItemClicked(ClickModifier modifier);
    std::vector<StatusMenuItem> menuItems() const;
    void rebuildMenu();

    void transition(LumivaneDisplayState state);
    void show(LumivaneDisplayState state, double pupilRadius);
    void refreshImage();
    static QCoro::Task<void> animatePupil(Self self, double target, std::stop_token stop);

    StatusItemPorts m_ports;
    std::unique_ptr<StatusItem> m_statusItem; ///< none while the icon is hidden
    std::optional<LumivaneDisplayState> m_displayedState;
    double m_currentPupilRadius = LumivaneStatusIconRenderer::restingPupilRadius;
    TaskHandle m_animationTask;
    bool m_isInvalidated = false;
};

} // namespace lumivane
