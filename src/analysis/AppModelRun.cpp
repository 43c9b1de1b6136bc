#include "accounts/AuthenticationError.h"
#include "analysis/AppModel.h"
#include "async/Cancelled.h"
#include "domain/LumivaneError.h"
#include "domain/SettingsValidationError.h"
#include "screen/ScreenImagePolicy.h"
#include "telemetry/AnalysisTelemetry.h"
#include "telemetry/LogBand.h"
#include "telemetry/LumivaneLog.h"

#include <exception>
#include <utility>

namespace lumivane {

using LumivaneSignpost::Measured;

namespace {

constexpr std::chrono::seconds leastTokenValidity{60};

} // namespace

void AppModel::analyzeCurrentDisplay() {
    LumivaneLog::lifecycle.log("Manual analysis requested");
    const auto displayID = displayUnderPointer();
    if (!displayID) {
        LumivaneLog::capture.error(
            "Manual analysis could not resolve the display under the pointer");
        showError(LumivaneError(LumivaneError::Case::displayUnavailable), std::nullopt);
        return;
    }
    analyze(*displayID);
}

void AppModel::analyze(std::uint32_t displayID) {
    if (!passesConfiguredAndPausedGates()) {
        return;
    }
    if (!m_ports.authentication.isSignedIn()) {
        showAuthenticationRequired(displayID);
        return;
    }
    m_authenticationTask = TaskHandle::start([self = Self(this), displayID](std::stop_token stop) {
        return fetchTokenAndAnalyze(self, displayID, std::move(stop));
    });
}

bool AppModel::passesConfiguredAndPausedGates() const {
    if (!m_settings.configured) {
        LumivaneLog::lifecycle.error("Analysis ignored because setup is incomplete");
        return false;
    }
    if (m_settings.paused) {
        LumivaneLog::lifecycle.info("Analysis ignored because Lumivane is paused");
        return false;
    }
    return true;
}

QCoro::Task<void> AppModel::fetchTokenAndAnalyze(Self self, std::uint32_t displayID,
                                                 std::stop_token stop) {
    if (!self) {
        co_return;
    }
    try {
        const SecretText token =
            co_await self->m_ports.authentication.validAccessToken(leastTokenValidity, stop);
        throwIfStopped(stop);
        if (self) {
            self->analyzeAuthenticated(displayID, token);
        }
    } catch (const AuthenticationError& error) {
        if (!self) {
            co_return;
        }
        if (error.errorCase == AuthenticationError::Case::expiredSession) {
            self->showAuthenticationRequired(displayID);
        } else {
            self->showError(error, displayID);
        }
    } catch (const std::exception& error) {
        if (self) {
            self->showError(error, displayID);
        }
    }
}

void AppModel::analyzeAuthenticated(std::uint32_t displayID, const SecretText& accessToken) {
    if (!passesConfiguredAndPausedGates()) {
        return;
    }
    if (!m_settings.hasValidCustomPrompt()) {
        showError(SettingsValidationError(SettingsValidationError::Case::missingCustomPrompt),
                  displayID);
        return;
    }
    if (m_settings.preset == Preset::leetCode && m_leetCodeServiceReady == false) {
        LumivaneLog::lifecycle.error(
            "LeetCode analysis ignored because the service reported no LeetCode memory");
        showError(LumivaneError(LumivaneError::Case::leetCodeMemoryUnavailable), displayID);
        TaskHandle::detach([self = Self(this)](std::stop_token) { return checkService(self); });
        return;
    }
    LumivaneLog::lifecycle.log("Analysis started; display=%{public}u preset=%{public}s", displayID,
                               m_settings.preset);
    m_analysisTask.cancel();
    m_ports.overlays.clearAll();
    ++m_analysisRunID;
    m_lastNotesError.reset();
    setState(AnalysisState::capturing);
    const Run run{m_analysisRunID, displayID, m_settings, accessToken, m_ports.clock.now()};
    if (m_settings.showProcessingOverlay) {
        m_ports.overlays.showWorking(displayID, m_settings);
    } else {
        LumivaneLog::overlay.debug("Working overlay hidden by user setting");
    }
    m_analysisTask = TaskHandle::start([self = Self(this), run](std::stop_token stop) {
        return performRun(self, run, std::move(stop));
    });
}

QCoro::Task<void> AppModel::performRun(Self self, Run run, std::stop_token stop) {
    std::exception_ptr failure;
    try {
        co_await runToDelivery(self, run, stop);
    } catch (...) {
        failure = std::current_exception(); // a handler cannot wait
    }
    if (failure && self) {
        co_await handleRunFailure(self, run, failure);
    }
}

QCoro::Task<void> AppModel::runToDelivery(Self self, Run run, std::stop_token stop) {
    if (!self) {
        co_return;
    }
    const Clock& clock = self->m_ports.clock;
    AnalysisTimings timings;

    std::function<QCoro::Task<CapturedScreen>()> takeFrame =
        [capture = &self->m_ports.captureService, displayID = run.displayID, stop] {
            return capture->capture(displayID, ScreenCrop::visibleFrame, stop);
        };
    auto frame = co_await LumivaneSignpost::measure(LumivaneSignpost::capture, clock, takeFrame);
    throwIfStopped(stop);
    if (!self) {
        co_return;
    }
    timings.captureMS = frame.milliseconds;

    const Reading reading =
        co_await readAndEncode(self, run.settings, std::move(frame.value), stop);
    throwIfStopped(stop);
    if (!self) {
        co_return;
    }
    timings.encodeMS = reading.encodeMS;
    timings.ocrMS = reading.text ? reading.text->durationMS : 0;
    co_await sendAndDeliver(self, run, reading, timings, stop);
}

QCoro::Task<void> AppModel::sendAndDeliver(Self self, Run run, Reading reading,
                                           AnalysisTimings timings, std::stop_token stop) {
    const Clock& clock = self->m_ports.clock;
    const auto inputMode = self->chooseInput(run, reading, timings);
    if (!inputMode || !self->owns(run.runID)) {
        co_return;
    }
    self->setState(AnalysisState::analyzing);
    SoftDeadline deadline(self->m_ports.clock); // goes, and with it stops, however this ends
    self->armSoftDeadline(deadline, run.runID);
    LumivaneLog::network.log("Sending analysis request");
    timings.clientMS = AnalysisTimings::milliseconds(clock.now() - run.startedAt);

    std::function<QCoro::Task<AnalyzeResponse>()> send =
        [service = &self->m_ports.analysisService,
         payload = payloadFor(*inputMode, reading, timings), run,
         stop] { return service->analyze(payload, run.settings, run.accessToken, stop); };
    const auto response =
        co_await LumivaneSignpost::measure(LumivaneSignpost::network, clock, std::move(send));
    const bool sloExceeded = deadline.hasElapsed();
    deadline.cancel();
    throwIfStopped(stop);
    if (!self) {
        co_return;
    }
    LumivaneLog::network.log("Analysis response received; requestID=%{public}s kind=%{public}s",
                             LogIdentifier(response.value.requestID), response.value.resultKind);
    AnalysisTelemetry(timings, response.milliseconds,
                      AnalysisTimings::milliseconds(clock.now() - run.startedAt), *inputMode,
                      reading.text ? reading.text->charCount() : 0, sloExceeded)
        .log();
    if (!self->owns(run.runID)) {
        LumivaneLog::lifecycle.info("Discarding a superseded analysis result");
        co_return;
    }
    co_await deliver(self, run, response.value, stop);
}

AnalysisPayload AppModel::payloadFor(AnalysisInputMode inputMode, const Reading& reading,
                                     const AnalysisTimings& timings) {
    AnalysisPayload payload;
    payload.timings = timings;
    if (sendsImage(inputMode)) {
        payload.jpeg = reading.image.data;
    }
    if (sendsText(inputMode)) {
        payload.screenText = reading.text->text;
    }
    return payload;
}

QCoro::Task<AppModel::Reading> AppModel::readAndEncode(Self self, AppSettings settings,
                                                       CapturedScreen frame, std::stop_token stop) {
    const bool isLeetCode = settings.preset == Preset::leetCode;
    const Clock* clock = &self->m_ports.clock;
    const int longEdge = ScreenImagePolicy::jpegLongEdge(isLeetCode ? AnalysisMode::hyperAccurate
                                                                    : settings.analysisMode);
    Reading reading;
    // Tasks begin at once, so reading and encoding are both under way before either is awaited.
    std::optional<QCoro::Task<std::optional<ScreenText>>> text;
    if (isLeetCode || settings.analysisMode == AnalysisMode::hyperPrivate) {
        text = readScreenText(&self->m_ports.textExtractor, clock, frame.image,
                              frame.pointPixelScale, stop);
    }
    auto image = encode(&self->m_ports.imageReducer, clock, frame.image, longEdge, stop);
    frame.image = QImage();
    if (text) {
        reading.text = co_await *text;
    }
    auto encoded = co_await image;
    reading.image = std::move(encoded.value);
    reading.encodeMS = encoded.milliseconds;
    co_return reading;
}

QCoro::Task<std::optional<ScreenText>> AppModel::readScreenText(ScreenTextExtracting* extractor,
                                                                const Clock* clock, QImage image,
                                                                double pointPixelScale,
                                                                std::stop_token stop) {
    std::function<QCoro::Task<ScreenText>()> read = [extractor, image, pointPixelScale, stop] {
        return extractor->extract(image, pointPixelScale, stop);
    };
    image = QImage();
    try {
        auto text =
            co_await LumivaneSignpost::measure(LumivaneSignpost::ocr, *clock, std::move(read));
        co_return std::move(text.value);
    } catch (const Cancelled&) {
    } catch (const std::exception&) {
        LumivaneLog::capture.error(
            "Screen text extraction failed; continuing with the screenshot only");
    }
    co_return std::nullopt;
}

QCoro::Task<Measured<ReducedScreenImage>> AppModel::encode(ScreenImageEncoding* reducer,
                                                           const Clock* clock, QImage image,
                                                           int longEdge, std::stop_token stop) {
    std::function<QCoro::Task<ReducedScreenImage>()> reduce = [reducer, image, longEdge, stop] {
        return reducer->encode(image, longEdge, ScreenImagePolicy::jpegQuality, stop);
    };
    image = QImage();
    co_return co_await LumivaneSignpost::measure(LumivaneSignpost::encode, *clock,
                                                 std::move(reduce));
}

std::optional<AnalysisInputMode> AppModel::chooseInput(const Run& run, const Reading& reading,
                                                       AnalysisTimings& timings) {
    const AnalysisMode mode = run.settings.analysisMode;
    std::optional<ScreenTextSignals> signals;
    if (reading.text) {
        signals = reading.text->signals;
    }
    AnalysisInputMode inputMode = resolveInputMode(mode, signals);
    if (run.settings.preset == Preset::leetCode) {
        if (!reading.text || reading.text->text.trimmed().isEmpty()) {
            LumivaneLog::capture.error(
                "LeetCode capture produced no readable screen text; the screenshot was not sent");
            if (owns(run.runID)) {
                showError(LumivaneError(LumivaneError::Case::leetCodeTextUnavailable),
                          run.displayID);
            }
            return std::nullopt;
        }
        inputMode = AnalysisInputMode::textAndImage;
    }
    timings.ocrFallback = isOCRFallback(inputMode, mode);
    if (sendsImage(inputMode)) {
        timings.imagePixelWidth = reading.image.pixelWidth;
        timings.imagePixelHeight = reading.image.pixelHeight;
    }
    LumivaneLog::capture.log(
        "Capture completed; mode=%{public}s pixelWidth=%{public}ld pixelHeight=%{public}ld "
        "jpegBytesBucket=%{public}ld screenTextCharsBucket=%{public}ld "
        "sendsImage=%{bool,public}d sendsText=%{bool,public}d ocrFallback=%{bool,public}d "
        "captureMS=%{public}ld ocrMS=%{public}ld encodeMS=%{public}ld",
        mode, reading.image.pixelWidth, reading.image.pixelHeight,
        LogBand::imageBytes(reading.image.data.size()),
        LogBand::screenTextChars(signals ? signals->charCount : 0), sendsImage(inputMode),
        sendsText(inputMode), timings.ocrFallback, timings.captureMS, timings.ocrMS,
        timings.encodeMS);
    return inputMode;
}

void AppModel::armSoftDeadline(SoftDeadline& deadline, std::int64_t runID) {
    deadline.arm(AnalysisSLO::softDeadline, [self = Self(this), runID] {
        if (!self || !self->owns(runID)) {
            return;
        }
        LumivaneLog::timing.log("Soft deadline elapsed; the analysis is still running; "
                                "softDeadlineMS=%{public}ld",
                                AnalysisTimings::milliseconds(AnalysisSLO::softDeadline));
        self->m_ports.overlays.markWorkingSlow();
    });
}

} // namespace lumivane
