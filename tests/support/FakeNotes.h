#pragma once

#include "notes/NotesServing.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <utility>
#include <vector>

namespace lumivane::test {

/// Keeps the notes; journals `prepareForLeetCodeSaving` and `createLeetCodeNote`.
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

} // namespace lumivane::test
