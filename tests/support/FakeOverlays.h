#pragma once

#include "overlays/OverlayPresenting.h"
#include "support/Journal.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::test {

/// Journals each call with its display and keeps what the panels would say and do.
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

} // namespace lumivane::test
