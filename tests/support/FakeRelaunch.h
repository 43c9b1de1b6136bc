#pragma once

#include "analysis/AppRelaunching.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

namespace lumivane::test {

/// Journals `relaunch`; whether and when it works stands in `script`.
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

} // namespace lumivane::test
