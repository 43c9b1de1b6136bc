#pragma once

#include "accounts/CredentialStoring.h"
#include "async/SerialCalls.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <functional>
#include <vector>

namespace lumivane::test {

/// A store in memory. As with the real one, calls have their effect one after another, in the order
/// in which they are made, and none before the next turn of the event loop.
///
/// Each operation has a gate: held, a call waits there before its effect until the test releases
/// it; a failure of the gate is the call's failure, without an effect. The journal gets "load",
/// "save" and "clear" when a call is made, and "saved" and "removed" with its effect.
class FakeCredentialStore final : public CredentialStoring {
public:
    explicit FakeCredentialStore(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<std::optional<StoredSession>> load(UnlockPrompt prompt,
                                                   std::stop_token stop) override {
        m_journal.add(u"load"_qs);
        loadPrompts.push_back(prompt);
        const auto loaded = std::make_shared<std::optional<StoredSession>>();
        const SerialCalls::Call call = [this, loaded](std::stop_token stop) {
            return readInto(loaded, std::move(stop));
        };
        co_await m_calls.run(call, stop);
        co_return std::optional(*loaded);
    }

    QCoro::Task<void> save(StoredSession session, UnlockPrompt prompt,
                           std::stop_token stop) override {
        m_journal.add(u"save"_qs);
        saves.push_back(session);
        savePrompts.push_back(prompt);
        const SerialCalls::Call call = [this, session](std::stop_token stop) {
            return write(session, std::move(stop));
        };
        co_await m_calls.run(call, stop);
    }

    QCoro::Task<void> clear(UnlockPrompt prompt, std::stop_token stop) override {
        m_journal.add(u"clear"_qs);
        clearPrompts.push_back(prompt);
        const SerialCalls::Call call = [this](std::stop_token stop) {
            return remove(std::move(stop));
        };
        co_await m_calls.run(call, stop);
    }

    std::optional<StoredSession> stored;

    ScriptedCall<bool> loadGate{true};
    ScriptedCall<bool> saveGate{true};
    ScriptedCall<bool> clearGate{true};

    /// Hears of the effect of a save before its caller does.
    std::function<void()> onSaved;

    /// Every session that was to be saved, whether it came to that or not.
    std::vector<StoredSession> saves;

    // How each call might ask the user.
    std::vector<UnlockPrompt> loadPrompts;
    std::vector<UnlockPrompt> savePrompts;
    std::vector<UnlockPrompt> clearPrompts;

private:
    QCoro::Task<void> readInto(std::shared_ptr<std::optional<StoredSession>> loaded,
                               std::stop_token stop) {
        co_await loadGate.call(std::move(stop));
        *loaded = stored;
    }

    QCoro::Task<void> write(StoredSession session, std::stop_token stop) {
        co_await saveGate.call(std::move(stop));
        stored = session;
        m_journal.add(u"saved"_qs);
        if (onSaved) {
            onSaved();
        }
    }

    QCoro::Task<void> remove(std::stop_token stop) {
        co_await clearGate.call(std::move(stop));
        stored.reset();
        m_journal.add(u"removed"_qs);
    }

    Journal& m_journal;
    SerialCalls m_calls;
};

} // namespace lumivane::test
