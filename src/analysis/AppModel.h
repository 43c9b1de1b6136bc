#pragma once

#include "accounts/SessionServing.h"
#include "analysis/LastAnalysis.h"
#include "analysis/NotificationServing.h"
#include "analysis/SettingsPresenting.h"
#include "async/Clock.h"
#include "async/TaskHandle.h"
#include "domain/AnalysisState.h"
#include "domain/AppSettings.h"
#include "domain/Readiness.h"
#include "notes/NotesServing.h"
#include "overlays/OverlayPasteboard.h"
#include "overlays/OverlayPresenting.h"
#include "platform/DisplayServer.h"
#include "platform/LumivanePasteboard.h"
#include "platform/SoundPlayer.h"
#include "records/AnalysisInputMode.h"
#include "screen/ScreenCapturing.h"
#include "screen/ScreenImageEncoding.h"
#include "screen/ScreenTextExtracting.h"
#include "service/AnalysisServing.h"
#include "telemetry/LumivaneSignpost.h"
#include "telemetry/SoftDeadline.h"
#include "triggers/TriggerController.h"

#include <QObject>
#include <QPointer>

#include <cstdint>
#include <optional>

namespace lumivane {

/// Everything that the model reaches. All of it outlives the model.
struct AppModelPorts {
    AnalysisServing& analysisService;
    ScreenCapturing& captureService;
    CaptureWarming& captureWarmUp;
    ScreenImageEncoding& imageReducer;
    ScreenTextExtracting& textExtractor;
    NotificationServing& notificationService;
    NotesServing& notesService;
    LumivanePasteboard& pasteboard;
    SoundPlayer& soundPlayer;
    DisplayServer& displays;
    TriggerController& triggerController;
    OverlayPresenting& overlays;
    OverlayPasteboard& overlayPasteboard;
    SessionServing& authentication;
    SettingsPresenting& settingsPresenter;
    Clock& clock;
};

/// The application's state and every run from trigger to delivered answer. Main thread only.
///
/// Only the run whose identifier equals `analysisRunID` may change anything visible. The newest
/// trigger always wins: it cancels the run before it, whose answer or failure is then dropped.
class AppModel : public QObject {
    Q_OBJECT

public:
    AppModel(AppModelPorts ports, AppSettings settings);
    ~AppModel() override;

    const AppSettings& settings() const { return m_settings; }

    AnalysisState state() const { return m_state; }

    const std::optional<LastAnalysis>& lastAnalysis() const { return m_lastAnalysis; }

    std::optional<QString> lastResult() const;

    const std::optional<QString>& lastNotesError() const { return m_lastNotesError; }

    const QString& serviceStatus() const { return m_serviceStatus; }

    bool serviceReady() const { return m_serviceReady; }

    bool serviceChecking() const { return m_serviceChecking; }

    /// Whether the service reported LeetCode memory; none until a health check says.
    std::optional<bool> leetCodeServiceReady() const { return m_leetCodeServiceReady; }

    ReadinessState readiness() const;

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

    // Lifecycle

    /// Applies the triggers, warms the capture path and asks after the service.
    void start();
    void togglePaused();
    QCoro::Task<void> refreshServiceStatus();
    void presentSettings(SettingsDestination destination);

    /// Cancels the run, clears a copied answer that is still on the pasteboard, and releases
    /// triggers and panels. The caller ends the process.
    void terminate();

    /// The session ended: no answer of it can be seen, copied again or saved from now on.
    void authenticationDidClearSession();

Q_SIGNALS:
    void settingsChanged();
    void stateChanged();
    void lastAnalysisChanged();
    void serviceChanged();

private:
    /// What one run keeps from its start; later changes of settings do not reach it.
    struct Run {
        std::int64_t runID = 0;
        std::uint32_t displayID = 0;
        AppSettings settings;
        QString accessToken;
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
    void analyzeAuthenticated(std::uint32_t displayID, const QString& accessToken);
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
    void setState(AnalysisState state);

    // Outcomes (AppModelOutcome.cpp)
    static QCoro::Task<void> dropRefusedSession(Self self, std::uint32_t displayID);
    static QCoro::Task<void> signOutAfterEviction(Self self, std::uint32_t displayID);
    static QCoro::Task<void> handleRunFailure(Self self, Run run, std::exception_ptr failure);
    void showError(const std::exception& error, std::optional<std::uint32_t> displayID);
    void showAuthenticationRequired(std::uint32_t displayID);
    void showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin);
    void presentDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin);
    std::optional<std::uint32_t> displayUnderPointer() const;

    // Delivery (AppModelDelivery.cpp)
    static QCoro::Task<void> deliver(Self self, Run run, AnalyzeResponse response,
                                     std::stop_token stop);
    void copyResult(const QString& text, const AppSettings& settings);
    void saveLeetCodeNote(const AnalyzeResponse& response, const Run& run);
    static QCoro::Task<void> performNoteSave(Self self, Run run, LeetCodeNote note,
                                             std::stop_token stop);
    void clearSessionPrivacyState();

    // Lifecycle (AppModelLifecycle.cpp)
    void applyTriggers();
    void warmUpCapturePath();
    static QCoro::Task<void> checkService(Self self);
    void applyHealth(const HealthResponse& health);

    AppModelPorts m_ports;
    AppSettings m_settings;
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
};

} // namespace lumivane
