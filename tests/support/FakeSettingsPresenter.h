#pragma once

#include "analysis/SettingsPresenting.h"
#include "support/Journal.h"

namespace lumivane::test {

/// Journals `presentSettings` with the number of the destination.
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
