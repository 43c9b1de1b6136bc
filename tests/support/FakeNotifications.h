#pragma once

#include "analysis/NotificationServing.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

namespace lumivane::test {

/// Journals what the user would be told, and the request to be allowed to.
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

} // namespace lumivane::test
