#pragma once

#include "analysis/AppModelPorts.h"
#include "analysis/LastAnalysis.h"
#include "analysis/TestingMode.h"
#include "async/TaskHandle.h"
#include "domain/AnalysisState.h"
#include "domain/AppSettings.h"
#include "domain/LumivaneDisplayState.h"
#include "domain/Readiness.h"
#include "records/AnalysisInputMode.h"
#include "telemetry/LumivaneSignpost.h"
#include "telemetry/SoftDeadline.h"

#include <QObject>
#include <QPointer>

#include <chrono>
#include <cstdint>
#include <optional>

namespace lumivane {

/// The application's state, which every view observes, and every run from trigger to delivered
/// answer. One per process, made by the composition root. Main thread only.
///
/// Only the run whose identifier equals `analysisRunID` may change anything visible. The newest
/// trigger always wins: it cancels the run before it, whose answer or failure is then dropped.
class AppModel final : public QObject {
    Q_OBJECT

public:
    /// Loads the settings, asks whether the screen may be captured, listens to the triggers and
    /// dresses the application. Nothing runs before `start`.
    AppModel(AppModelPorts ports, TestingMode testing = {});
    ~AppModel() override;

    const TestingMode& testingMode() const { return m_testing; }

    const AppSettings& settings() const { return m_settings; }

    AnalysisState state() const { return m_state; }

    const std::optional<LastAnalysis>& lastAnalysis() const { return m_lastAnalysis; }

    std::optional<QString> lastResult() const;

    const std::optional<QString>& lastNotesError() const { return m_lastNotesError; }

    const QString& serviceStatus() const { return m_serviceStatus; }

    /// Whether the screen may be captured, as far as is known: as of creation, then as of the last
    /// `refreshSystemState`.
    bool screenRecordingGranted() const { return m_screenRecordingGranted; }

    bool hasScreenRecording() const { return m_screenRecordingGranted; }

    bool serviceReady() const { return m_serviceReady; }

    bool serviceChecking() const { return m_serviceChecking; }

    /// Whether the service reported LeetCode memory; none until a health check says.
    std::optional<bool> leetCodeServiceReady() const { return m_leetCodeServiceReady; }

    ReadinessState readiness() const;

    /// What the status icon shows.
    LumivaneDisplayState displayState() const;

    // Runs

    /// A run on the display under the pointer, from the menu.
    void analyzeCurrentDisplay();

    /// A run on a display that a trigger names.
    void analyze(std::uint32_t displayID);

    // Results

    void copyLastResult();
    void showLastResultAgain();

    /// Exercises the output settings without a capture or a request.
    void showTestOverlay();

    /// True exactly when the pasteboard still holds what this program last wrote to it.
    static bool shouldClearCopiedPasteboard(std::optional<std::int64_t> copiedChangeCount,
                                            std::int64_t currentChangeCount);

    // Settings

    /// Stores the wizard's choice and finishes the setup. Throws SettingsValidationError or what
    /// the login item throws, and nothing has changed then; throws TriggerError, and the choice is
    /// stored all the same.
    void saveSettings(const AppSettings& candidate);

    /// Stores a pane's choice, an empty custom prompt included. Throws SettingsValidationError,
    /// TriggerError or what the login item throws; the old settings, triggers and login item are in
    /// force then.
    void updateSettings(const AppSettings& candidate);

    /// Suspends triggers and further runs, or takes them up again. A run in progress goes on.
    void togglePaused();

    /// Whether the wanted state holds now: a refused permission leaves the notifications off.
    QCoro::Task<bool> setCopyNotificationsEnabled(bool enabled);

    void presentSettings(SettingsDestination destination);

    // System

    /// Looks at the permission anew. Called when the user comes back to the program.
    void refreshSystemState();

    /// Asks for the permission, and opens the system's own pane where that did not give it.
    void requestScreenRecording();

    // Service

    /// One health check; returns at once while another one runs.
    QCoro::Task<void> refreshServiceStatus();

    /// The same in a flow of its own.
    void testService();

    /// Tries everything but a capture, and shows what came of it.
    void runDiagnostics();

    // Lifecycle

    /// Brings the session and the triggers up, warms the capture path, asks after the service, and
    /// shows the setup wizard on a first run. Called once.
    void start();

    /// Starts a second instance and ends this one; false when none could be started, and this one
    /// goes on.
    QCoro::Task<bool> relaunch();

    /// Cancels the run, clears a copied answer that is still on the pasteboard, releases triggers
    /// and panels, and ends the application.
    void terminate();

    /// The session ended: no answer of it can be seen, copied again or saved from now on.
    void authenticationDidClearSession();

Q_SIGNALS:
    void settingsChanged();
    void stateChanged();
    void lastAnalysisChanged();
    void screenRecordingGrantedChanged();
    /// `serviceStatus`, `serviceReady`, `serviceChecking` or `leetCodeServiceReady`
    void serviceChanged();

private:
    /// What one run keeps from its start; later changes of settings do not reach it.
    struct Run {
        std::int64_t runID = 0;
        std::uint32_t displayID = 0;
        AppSettings settings;
        SecretText accessToken;
        MonotonicInstant startedAt;
    };

    /// What a run made of its frame.
    struct Reading {
        std::optional<ScreenText> text;
        ReducedScreenImage image;
        std::int64_t encodeMS = 0;
    };

    using Self = QPointer<AppModel>;

    // Runs (AppModelRun.cpp)
    static QCoro::Task<void> fetchTokenAndAnalyze(Self self, std::uint32_t displayID,
                                                  std::stop_token stop);
    void analyzeAuthenticated(std::uint32_t displayID, const SecretText& accessToken);
    bool passesConfiguredAndPausedGates() const;
    static QCoro::Task<void> performRun(Self self, Run run, std::stop_token stop);
    static QCoro::Task<void> runToDelivery(Self self, Run run, std::stop_token stop);
    static QCoro::Task<void> sendAndDeliver(Self self, Run run, Reading reading,
                                            AnalysisTimings timings, std::stop_token stop);
    static AnalysisPayload payloadFor(AnalysisInputMode inputMode, const Reading& reading,
                                      const AnalysisTimings& timings);
    static QCoro::Task<Reading> readAndEncode(Self self, AppSettings settings, CapturedScreen frame,
                                              std::stop_token stop);
    static QCoro::Task<std::optional<ScreenText>> readScreenText(ScreenTextExtracting* extractor,
                                                                 const Clock* clock, QImage image,
                                                                 double pointPixelScale,
                                                                 std::stop_token stop);
    static QCoro::Task<LumivaneSignpost::Measured<ReducedScreenImage>>
    encode(ScreenImageEncoding* reducer, const Clock* clock, QImage image, int longEdge,
           std::stop_token stop);
    /// What the run sends, entered into `timings` and logged; none when it ends here.
    std::optional<AnalysisInputMode> chooseInput(const Run& run, const Reading& reading,
                                                 AnalysisTimings& timings);

    bool owns(std::int64_t runID) const { return m_analysisRunID == runID; }

    void armSoftDeadline(SoftDeadline& deadline, std::int64_t runID);

    // Outcomes (AppModelOutcome.cpp)
    static QCoro::Task<void> dropRefusedSession(Self self, std::uint32_t displayID);
    static QCoro::Task<void> signOutAfterEviction(Self self, std::uint32_t displayID);
    static QCoro::Task<void> handleRunFailure(Self self, Run run, std::exception_ptr failure);
    void showError(const std::exception& error, std::optional<std::uint32_t> displayID);
    void showAuthenticationRequired(std::uint32_t displayID);
    void showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin);
    void presentDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin);

    // Delivery (AppModelDelivery.cpp)
    static QCoro::Task<void> deliver(Self self, Run run, AnalyzeResponse response,
                                     std::stop_token stop);
    void copyResult(const QString& text, const AppSettings& settings);
    void saveLeetCodeNote(const AnalyzeResponse& response, const Run& run);
    static QCoro::Task<void> performNoteSave(Self self, Run run, LeetCodeNote note,
                                             std::stop_token stop);
    void clearSessionPrivacyState();

    // Settings (AppModelSettings.cpp)
    bool mustReconfigureTriggers(const AppSettings& next) const;
    void putTriggersBack();
    void storeSettings(const AppSettings& settings);
    void applyAppearance();
    void prepareNotesIfLeetCodeSavingBecameActive(const AppSettings& previous,
                                                  const AppSettings& next);
    static QCoro::Task<bool> enableCopyNotifications(Self self, bool enabled);

    // System (AppModelSystem.cpp)
    void setScreenRecordingGranted(bool isGranted);
    std::optional<std::uint32_t> displayUnderPointer() const;
    static QCoro::Task<bool> replaceProcess(Self self);

    // Service (AppModelHealth.cpp)
    static QCoro::Task<void> checkService(Self self);
    static QCoro::Task<void> diagnose(Self self);
    void applyHealth(const HealthResponse& health);
    void setServiceChecking(bool isChecking);

    // Lifecycle (AppModelLifecycle.cpp)
    static QCoro::Task<void> restoreSession(SessionServing* session);
    void listenToTriggers();
    void applyTriggers();
    void warmUpCapturePath();
    void setState(AnalysisState state);
    static QCoro::Task<void> presentGeneralSettings(Self self, std::chrono::milliseconds delay,
                                                    std::stop_token stop);

    // UI testing (AppModelTesting.cpp)
    void applyTestingFixture();
    void applyConfiguredTestingFixture();
    void setTestingService(bool isReady);
    static QCoro::Task<void> presentTestingSettings(Self self, std::stop_token stop);

    AppModelPorts m_ports;
    TestingMode m_testing;
    AppSettings m_settings;
    bool m_screenRecordingGranted;
    AnalysisState m_state = AnalysisState::idle;
    std::optional<LastAnalysis> m_lastAnalysis;
    std::optional<QString> m_lastNotesError;
    QString m_serviceStatus = u"Waiting for the automatic connection check."_qs;
    bool m_serviceReady = false;
    bool m_serviceChecking = false;
    std::optional<bool> m_leetCodeServiceReady;
    std::optional<std::int64_t> m_copiedPasteboardChangeCount;
    std::int64_t m_analysisRunID = 0;
    TaskHandle m_analysisTask;
    TaskHandle m_authenticationTask;
    TaskHandle m_noteSaveTask;
    TaskHandle m_presentationTask; ///< the window that opens a moment after the start
};

} // namespace lumivane
