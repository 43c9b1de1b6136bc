#pragma once

#include "accounts/AuthenticationError.h"
#include "accounts/WebAuthenticating.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <vector>

namespace lumivane::test {

/// A login page that comes back with whatever address the test gives, at once or when it is
/// released. The journal gets "authenticate" and "cancelWeb".
class FakeWebAuthenticator final : public WebAuthenticating {
public:
    explicit FakeWebAuthenticator(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<QString> authenticate(QUrl page, std::stop_token stop) override {
        m_journal.add(u"authenticate"_qs);
        pages.push_back(page);
        return callback.call(std::move(stop));
    }

    void cancel() override {
        m_journal.add(u"cancelWeb"_qs);
        ++cancelCount;
        for (std::size_t index = 0; index < callback.pendingCount(); ++index) {
            callback.fail(index, AuthenticationError(AuthenticationError::Case::cancelled));
        }
    }

    static QString handoffCallback(const QString& transactionID,
                                   const QString& code = u"handoff-1"_qs) {
        return u"com.marnoth.lumivane.oauth://callback?transaction_id=%1&handoff_code=%2"_qs.arg(
            transactionID, code);
    }

    static QString errorCallback(const QString& transactionID, const QString& error) {
        return u"com.marnoth.lumivane.oauth://callback?transaction_id=%1&error=%2"_qs.arg(
            transactionID, error);
    }

    /// By default a login that the page of FakeAuthService's first transaction finishes.
    ScriptedCall<QString> callback{handoffCallback(u"transaction-1"_qs)};

    std::vector<QUrl> pages;
    int cancelCount = 0;

private:
    Journal& m_journal;
};

} // namespace lumivane::test
