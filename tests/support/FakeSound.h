#pragma once

#include "platform/SoundPlayer.h"
#include "support/Journal.h"

namespace lumivane::test {

/// Journals each `beep`.
class FakeSound final : public SoundPlayer {
public:
    explicit FakeSound(Journal& journal)
        : m_journal(journal) {}

    void beep() override { m_journal.add(u"beep"_qs); }

private:
    Journal& m_journal;
};

} // namespace lumivane::test
