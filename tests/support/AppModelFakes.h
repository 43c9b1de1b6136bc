#pragma once

#include "accounts/SessionServing.h"
#include "analysis/AppRelaunching.h"
#include "analysis/LaunchAtLoginServing.h"
#include "analysis/NotificationServing.h"
#include "analysis/PermissionServing.h"
#include "analysis/SettingsPresenting.h"
#include "notes/NotesServing.h"
#include "overlays/OverlayPresenting.h"
#include "platform/ApplicationShell.h"
#include "platform/HotKeyRegistrar.h"
#include "platform/SoundPlayer.h"
#include "screen/ScreenCapturing.h"
#include "screen/ScreenImageEncoding.h"
#include "screen/ScreenTextExtracting.h"
#include "service/AnalysisServing.h"
#include "settings/SettingsStoring.h"
#include "support/FakePasteboard.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace lumivane::test {

/// Writes down which settings were stored when; the journal tells no more than that it happened.
class FakeSettingsStore final : public SettingsStoring {
public:
    explicit FakeSettingsStore(Journal& journal)
        : m_journal(journal) {}

    AppSettings load() override {
        m_journal.add(u"load"_qs);
        return stored;
    }

    void save(const AppSettings& settings) override {
        m_journal.add(u"save"_qs);
        stored = settings;
        saved.push_back(settings);
    }

    void reset() override {
        m_journal.add(u"reset"_qs);
        stored = AppSettings::defaults();
    }

    AppSettings stored;
    std::vector<AppSettings> saved;

private:
    Journal& m_journal;
};

class FakePermission final : public PermissionServing {
public:
    explicit FakePermission(Journal& journal)
        : m_journal(journal) {}

    bool hasScreenRecording() const override {
        m_journal.add(u"hasScreenRecording"_qs);
        return granted;
    }

    bool requestScreenRecording() override {
        m_journal.add(u"requestScreenRecording"_qs);
        granted = grantedAfterRequest.value_or(granted);
        return answer.value_or(granted);
    }

    void openScreenRecordingSettings() override {
        m_journal.add(u"openScreenRecordingSettings"_qs);
    }

    bool granted = true;
    std::optional<bool> grantedAfterRequest; ///< none: asking changes nothing
    std::optional<bool> answer;              ///< none: the request answers as things stand

private:
    Journal& m_journal;
};

/// What the desktop throws at a login item or a relaunch.
class DesktopError final : public DescribedError {
public:
    QString errorDescription() const override { return u"The desktop refused."_qs; }

    std::string_view typeName() const override { return "DesktopError"; }
};

class FakeLoginService final : public LaunchAtLoginServing {
public:
    explicit FakeLoginService(Journal& journal)
        : m_journal(journal) {}

    bool isEnabled() const override { return enabled; }

    void setEnabled(bool wanted) override {
        m_journal.add(u"setEnabled %1"_qs.arg(wanted));
        if (onRequest) {
            onRequest();
        }
        if (isRefusing) {
            throw DesktopError();
        }
        enabled = wanted;
    }

    bool enabled = true;
    bool isRefusing = false;
    std::function<void()> onRequest; ///< what the world does meanwhile

private:
    Journal& m_journal;
};

class FakeRelaunch final : public AppRelaunching {
public:
    explicit FakeRelaunch(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<void> relaunch() override {
        m_journal.add(u"relaunch"_qs);
        co_await script.call(std::stop_token());
    }

    ScriptedCall<bool> script{true};

private:
    Journal& m_journal;
};

class FakeShell final : public ApplicationShell {
public:
    explicit FakeShell(Journal& journal)
        : m_journal(journal) {}

    void setAppearance(Appearance appearance) override {
        m_journal.add(appearance == Appearance::dark ? u"setAppearance dark"_qs
                                                     : u"setAppearance light"_qs);
    }

    void terminate() override { m_journal.add(u"terminateApplication"_qs); }

private:
    Journal& m_journal;
};

/// Another registrar with every shortcut that comes and goes in the journal, refused ones too.
class JournaledHotKeys final : public HotKeyRegistrar {
public:
    JournaledHotKeys(HotKeyRegistrar& registrar, Journal& journal)
        : m_registrar(registrar)
        , m_journal(journal) {}

    Result installHandler(std::uint32_t signature, Handler handler) override {
        return m_registrar.installHandler(signature, std::move(handler));
    }

    Result registerHotKey(std::uint32_t keyCode, std::uint32_t modifiers,
                          HotKeyIdentifier identifier) override {
        auto result = m_registrar.registerHotKey(keyCode, modifiers, identifier);
        const QString verb = result.status == 0 ? u"registerHotKey %1"_qs : u"refuseHotKey %1"_qs;
        m_journal.add(verb.arg(keyCode));
        if (result.registration) {
            result.registration =
                std::make_unique<Registration>(std::move(result.registration), m_journal, keyCode);
        }
        return result;
    }

private:
    class Registration final : public HotKeyRegistration {
    public:
        Registration(std::unique_ptr<HotKeyRegistration> registration, Journal& journal,
                     std::uint32_t keyCode)
            : m_registration(std::move(registration))
            , m_journal(journal)
            , m_keyCode(keyCode) {}

        ~Registration() override { m_journal.add(u"unregisterHotKey %1"_qs.arg(m_keyCode)); }

        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;

    private:
        std::unique_ptr<HotKeyRegistration> m_registration;
        Journal& m_journal;
        std::uint32_t m_keyCode;
    };

    HotKeyRegistrar& m_registrar;
    Journal& m_journal;
};

class FakeCapture final : public ScreenCapturing, public CaptureWarming {
public:
    explicit FakeCapture(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<CapturedScreen> capture(std::uint32_t displayID, ScreenCrop crop,
                                        std::stop_token stop) override {
        m_journal.add(u"capture %1"_qs.arg(displayID));
        crops.push_back(crop);
        return script.call(std::move(stop));
    }

    QCoro::Task<void> warmUp() override {
        m_journal.add(u"warmUp"_qs);
        co_return;
    }

    static CapturedScreen frame() {
        CapturedScreen screen;
        screen.image = QImage(8, 4, QImage::Format_RGB32);
        screen.image.fill(Qt::white);
        screen.pointPixelScale = 2;
        screen.contentRect = {0, 0, 4, 2};
        return screen;
    }

    ScriptedCall<CapturedScreen> script{frame()};
    std::vector<ScreenCrop> crops;

private:
    Journal& m_journal;
};

class FakeExtractor final : public ScreenTextExtracting {
public:
    explicit FakeExtractor(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<ScreenText> extract(QImage, double pointPixelScale, std::stop_token stop) override {
        m_journal.add(u"extract"_qs);
        scales.push_back(pointPixelScale);
        return script.call(std::move(stop));
    }

    static ScreenText text(const QString& text, double confidence) {
        ScreenText result;
        result.text = text;
        result.signals.charCount = text.size();
        result.signals.meanConfidence = confidence;
        result.durationMS = 77;
        return result;
    }

    ScriptedCall<ScreenText> script{text(QString(60, u'a'), 0.9)};
    std::vector<double> scales;

private:
    Journal& m_journal;
};

class FakeReducer final : public ScreenImageEncoding {
public:
    explicit FakeReducer(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<ReducedScreenImage> encode(QImage, int longEdge, double quality,
                                           std::stop_token stop) override {
        m_journal.add(u"encode %1 %2"_qs.arg(longEdge).arg(quality));
        return script.call(std::move(stop));
    }

    ScriptedCall<ReducedScreenImage> script{ReducedScreenImage{QByteArray(9000, 'j'), 1024, 640}};

private:
    Journal& m_journal;
};

class FakeAnalysisService final : public AnalysisServing {
public:
    explicit FakeAnalysisService(Journal& journal)
        : m_journal(journal) {}

    struct Request {
        AnalysisPayload payload;
        AppSettings settings;
        SecretText accessToken;
    };

    QCoro::Task<HealthResponse> health(std::stop_token stop) override {
        m_journal.add(u"health"_qs);
        return healthScript.call(std::move(stop));
    }

    using AnalysisServing::analyze;

    QCoro::Task<AnalyzeResponse> analyze(AnalysisPayload payload, AppSettings settings,
                                         SecretText accessToken, std::stop_token stop) override {
        m_journal.add(u"analyze"_qs);
        requests.push_back({std::move(payload), std::move(settings), std::move(accessToken)});
        return script.call(std::move(stop));
    }

    static AnalyzeResponse response(const QString& result, ResultKind kind = ResultKind::text) {
        AnalyzeResponse response;
        response.requestID = u"req-1"_qs;
        response.result = result;
        response.resultKind = kind;
        return response;
    }

    ScriptedCall<AnalyzeResponse> script{response(u"the answer"_qs)};
    ScriptedCall<HealthResponse> healthScript{HealthResponse{u"ok"_qs, u"1.2"_qs, true}};
    std::vector<Request> requests;

private:
    Journal& m_journal;
};

class FakeOverlays final : public OverlayPresenting {
public:
    explicit FakeOverlays(Journal& journal)
        : m_journal(journal) {}

    void showWorking(std::uint32_t displayID, const AppSettings&) override {
        m_journal.add(u"showWorking %1"_qs.arg(displayID));
        isWorkingUp = true;
    }

    void markWorkingSlow() override { m_journal.add(u"markWorkingSlow"_qs); }

    void clearWorking() override {
        m_journal.add(u"clearWorking"_qs);
        isWorkingUp = false;
    }

    void showResult(const QString& text, ResultKind kind, const std::optional<QString>& title,
                    std::optional<LeetCodeAnswerStatus> status, std::uint32_t displayID,
                    const AppSettings& settings, std::optional<bool> copied) override {
        m_journal.add(u"showResult %1"_qs.arg(displayID));
        results.push_back({text, kind, title, status, displayID, settings, copied});
    }

    void showError(const QString& text, std::optional<std::uint32_t> displayID,
                   const AppSettings&) override {
        m_journal.add(u"showError"_qs);
        errors.push_back({text, displayID});
    }

    void showNotesStatus(const QString& message, std::uint32_t displayID,
                         const AppSettings&) override {
        m_journal.add(u"showNotesStatus %1 %2"_qs.arg(displayID).arg(message));
    }

    void showAuthenticationRequired(std::uint32_t displayID, const AppSettings&,
                                    std::function<void()> onLogin) override {
        m_journal.add(u"showAuthenticationRequired %1"_qs.arg(displayID));
        login = std::move(onLogin);
    }

    void showDeviceEvicted(std::uint32_t displayID, DeviceEvictedOrigin origin, const AppSettings&,
                           std::function<void()> onOpenAccount) override {
        m_journal.add(u"showDeviceEvicted %1 %2"_qs.arg(displayID).arg(
            origin == DeviceEvictedOrigin::afterUpload ? u"afterUpload"_qs : u"beforeCapture"_qs));
        openAccount = std::move(onOpenAccount);
    }

    void clearAll() override {
        m_journal.add(u"clearAll"_qs);
        isWorkingUp = false;
    }

    void invalidate() override { m_journal.add(u"invalidateOverlays"_qs); }

    struct Result {
        QString text;
        ResultKind kind;
        std::optional<QString> title;
        std::optional<LeetCodeAnswerStatus> status;
        std::uint32_t displayID;
        AppSettings settings;
        std::optional<bool> copied;
    };

    struct Error {
        QString text;
        std::optional<std::uint32_t> displayID;
    };

    bool isWorkingUp = false;
    std::vector<Result> results;
    std::vector<Error> errors;
    std::function<void()> login;
    std::function<void()> openAccount;

private:
    Journal& m_journal;
};

class FakeSession final : public SessionServing {
public:
    explicit FakeSession(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<void> restore() override {
        m_journal.add(u"restore"_qs);
        co_await restored.call(std::stop_token());
    }

    bool isSignedIn() const override { return signedIn; }

    QCoro::Task<SecretText> validAccessToken(std::chrono::seconds minimumValidity,
                                             std::stop_token stop) override {
        m_journal.add(u"token %1"_qs.arg(minimumValidity.count()));
        return token.call(std::move(stop));
    }

    QCoro::Task<bool> handleUnauthorized() override {
        m_journal.add(u"handleUnauthorized"_qs);
        if (onSessionCleared) {
            onSessionCleared();
        }
        co_return canRemoveSession;
    }

    QCoro::Task<void> signOutLocallyAfterEviction() override {
        m_journal.add(u"signOutLocallyAfterEviction"_qs);
        signedIn = staysSignedIn;
        if (onSessionCleared) {
            onSessionCleared();
        }
        co_return;
    }

    std::optional<QString> errorMessage() const override { return message; }

    bool signedIn = true;
    bool staysSignedIn = false; ///< as when the user logs in again while the session goes
    bool canRemoveSession = true;
    std::optional<QString> message;
    std::function<void()> onSessionCleared;
    ScriptedCall<bool> restored{true};
    ScriptedCall<SecretText> token{SecretText("token-1")};

private:
    Journal& m_journal;
};

class FakeNotes final : public NotesServing {
public:
    explicit FakeNotes(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<void> prepareForLeetCodeSaving() override {
        m_journal.add(u"prepareForLeetCodeSaving"_qs);
        co_return;
    }

    QCoro::Task<void> createLeetCodeNote(LeetCodeNote note, std::stop_token stop) override {
        m_journal.add(u"createLeetCodeNote"_qs);
        notes.push_back(std::move(note));
        co_await script.call(std::move(stop));
    }

    ScriptedCall<bool> script{true};
    std::vector<LeetCodeNote> notes;

private:
    Journal& m_journal;
};

class FakeNotifications final : public NotificationServing {
public:
    explicit FakeNotifications(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<bool> requestAuthorization() override {
        m_journal.add(u"requestAuthorization"_qs);
        return authorization.call(std::stop_token());
    }

    QCoro::Task<void> notifyCopied() override {
        m_journal.add(u"notifyCopied"_qs);
        co_await copied.call(std::stop_token());
    }

    QCoro::Task<void> notifyNotesFailure(QString message) override {
        m_journal.add(u"notifyNotesFailure "_qs + message);
        co_return;
    }

    ScriptedCall<bool> authorization{true};
    ScriptedCall<bool> copied{true};

private:
    Journal& m_journal;
};

class FakeSound final : public SoundPlayer {
public:
    explicit FakeSound(Journal& journal)
        : m_journal(journal) {}

    void beep() override { m_journal.add(u"beep"_qs); }

private:
    Journal& m_journal;
};

class FakeSettingsPresenter final : public SettingsPresenting {
public:
    explicit FakeSettingsPresenter(Journal& journal)
        : m_journal(journal) {}

    void presentSettings(SettingsDestination destination) override {
        m_journal.add(u"presentSettings %1"_qs.arg(static_cast<int>(destination)));
    }

private:
    Journal& m_journal;
};

} // namespace lumivane::test
