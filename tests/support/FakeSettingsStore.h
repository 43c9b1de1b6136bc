#pragma once

#include "settings/SettingsStoring.h"
#include "support/Journal.h"

#include <vector>

namespace lumivane::test {

/// Keeps what was saved, and journals each `load`, `save` and `reset` without the settings.
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

} // namespace lumivane::test
