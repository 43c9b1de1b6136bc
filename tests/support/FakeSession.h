#pragma once

#include "accounts/SessionServing.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <functional>
#include <optional>

namespace lumivane::test {

/// A login that is there or not as a test says; journals `token` with the wanted seconds, and the
/// rest.
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

} // namespace lumivane::test
