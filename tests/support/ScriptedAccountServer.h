#pragma once

#include "accounts/AccountRecords.h"
#include "async/Clock.h"
#include "support/ScriptedHttpServer.h"

#include <chrono>
#include <deque>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace lumivane::test {

/// What goes wrong with one refresh request.
enum class RefreshFault {
    none,
    refused,        ///< 401, and nothing is exchanged
    failed,         ///< 503, and nothing is exchanged
    unreachable,    ///< the connection is torn down, and nothing is exchanged
    failedLate,     ///< exchanged, then 503
    replyLost,      ///< exchanged, then the connection is torn down
    replyGarbled,   ///< exchanged, then 200 with a body that is no login
    replyUnfinished ///< exchanged, then a body that breaks off
};

/// A refresh request as it came in.
struct RefreshRequest {
    QByteArray refreshToken;
    QByteArray operationID;

    bool operator==(const RefreshRequest&) const = default;
};

/// The account service on 127.0.0.1 with one signed-in account. It works on the event loop of the
/// thread that makes it.
///
/// It takes equal pairs of token and operation for one exchange and answers them alike, however
/// often they come. A token is exchanged once: with another operation it is refused. The exchanges
/// last as long as this object, so a client's process may come and go.
class ScriptedAccountServer {
public:
    /// Dates are written by `clock`, which must outlive it. Every token begins with `prefix`.
    explicit ScriptedAccountServer(const Clock& clock, QByteArray prefix = {});

    QString baseURL() const { return m_http.baseURL(); }

    /// The session of a client that logged in a moment ago.
    StoredSession session() const;

    /// The token that the next exchange has to bring: "refresh-0", "refresh-1", ...
    QByteArray currentRefreshToken() const;

    /// What happens to the next refresh requests, one entry each; none for those beyond.
    void scriptRefresh(std::vector<RefreshFault> faults);

    /// From now on answers to refreshes wait for `release`; what they exchange is exchanged.
    void holdRefreshes() { m_isHeld = true; }

    /// Sends the answers that wait, and from now on all at once.
    void release();

    /// How long the tokens of the next exchanges last; negative for what has ended already.
    void setLifetimes(std::chrono::seconds access, std::chrono::seconds refresh);

    /// What the next exchanges say of the user.
    void setUser(UserSummary user) { m_user = std::move(user); }

    const UserSummary& user() const { return m_user; }

    /// How many exchanges took place; a repeated pair adds none.
    std::size_t exchangeCount() const { return m_exchanges.size(); }

    /// Every refresh request, in order, whatever became of it.
    const std::vector<RefreshRequest>& refreshRequests() const { return m_refreshRequests; }

    /// The server underneath, for the other endpoints and for what came in.
    ScriptedHttpServer& http() { return m_http; }

private:
    ScriptedAnswer answerRefresh(const RecordedRequest& request);
    ScriptedAnswer answerRevocation(const RecordedRequest& request);

    /// The reply to a pair; none when it is refused.
    std::optional<QByteArray> exchange(const RefreshRequest& request);
    QByteArray reply() const;
    QByteArray numbered(const QByteArray& name, std::size_t number) const;

    const Clock& m_clock;
    QByteArray m_prefix;
    UserSummary m_user;
    std::chrono::seconds m_accessLifetime{900};
    std::chrono::seconds m_refreshLifetime{std::chrono::hours(24) * 30};
    std::deque<RefreshFault> m_faults;
    std::map<std::pair<QByteArray, QByteArray>, QByteArray> m_exchanges;
    std::vector<RefreshRequest> m_refreshRequests;
    bool m_isHeld = false;
    bool m_isRevoked = false;
    ScriptedHttpServer m_http; ///< last, so that nothing comes in when the rest is gone
};

} // namespace lumivane::test
