#pragma once

#include "accounts/AccountRecords.h"
#include "async/Clock.h"
#include "domain/StrictJson.h"
#include "support/ScriptedAccountServer.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <map>
#include <optional>
#include <vector>

namespace lumivane::test {

/// The web logins of a ScriptedAccountServer: transactions, a page that comes straight back to the
/// program as the service's own does, their completion by proof key and one-time code, and the
/// takeover of an account that another machine holds.
class ScriptedLogins {
public:
    /// How the next pages end.
    enum class PageEnd {
        handoff,  ///< with a code
        declined, ///< the user said no
        failed,   ///< with an error of the service
        foreign,  ///< with a code for another transaction
        nowhere   ///< with a page that stays
    };

    /// Both outlive it.
    ScriptedLogins(ScriptedAccountServer& server, const Clock& clock);

    void setPageEnd(PageEnd end) { m_pageEnd = end; }

    /// From now on the account is on another machine, and a login yields a ticket.
    void putAccountElsewhere(std::chrono::seconds ticketLifetime);

    /// What a completion or a takeover said of the machine, in order; empty texts where nothing.
    struct Machine {
        QString identifier;
        QString name;
        QString kind;
        QString osVersion;
    };

    /// How often a page was opened.
    std::size_t pageCount() const;

    const std::vector<Machine>& machines() const { return m_machines; }

    std::size_t transactionCount() const { return m_transactions.size(); }

    /// Everything that must stand in no log: codes, verifiers, tickets.
    const std::vector<QByteArray>& secrets() const { return m_secrets; }

private:
    struct Transaction {
        QByteArray challenge;
        QByteArray code; ///< empty once it is used
    };

    ScriptedAnswer begin(const RecordedRequest& request);
    ScriptedAnswer page(const QByteArray& identifier) const;
    ScriptedAnswer complete(const RecordedRequest& request);
    ScriptedAnswer takeOver(const RecordedRequest& request);
    QByteArray login() const;
    void noteMachine(const JsonObjectReader& body);

    ScriptedAccountServer& m_server;
    const Clock& m_clock;
    PageEnd m_pageEnd = PageEnd::handoff;
    std::map<QByteArray, Transaction> m_transactions;
    std::optional<std::chrono::seconds> m_ticketLifetime;
    QByteArray m_ticket;
    std::vector<Machine> m_machines;
    std::vector<QByteArray> m_secrets;
};

} // namespace lumivane::test
