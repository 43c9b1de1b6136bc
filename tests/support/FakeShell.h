#pragma once

#include "platform/ApplicationShell.h"
#include "support/Journal.h"

namespace lumivane::test {

/// Ends nothing: journals `setAppearance` with the appearance, and `terminateApplication`.
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

} // namespace lumivane::test
