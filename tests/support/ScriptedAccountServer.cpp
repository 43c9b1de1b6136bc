#include "support/ScriptedAccountServer.h"

#include "accounts/AccountCoding.h"

namespace lumivane::test {

namespace {

ScriptedAnswer refusal(int status, const QByteArray& code) {
    return ScriptedAnswer::json(status, R"({"error":{"code":")" + code +
                                            R"(","message":"No.","request_id":"r-1"}})");
}

RefreshRequest refreshRequest(const QByteArray& body) {
    const Json value = parseJson(body);
    const JsonObjectReader reader(value);
    return {reader.required<QString>("refresh_token").toUtf8(),
            reader.required<QString>("operation_id").toUtf8()};
}

/// The answer as the fault leaves it.
ScriptedAnswer spoilt(const QByteArray& reply, RefreshFault fault) {
    switch (fault) {
    case RefreshFault::failedLate:
        return refusal(503, "unavailable");
    case RefreshFault::replyLost:
        return ScriptedAnswer::silent(ScriptedAnswer::Then::reset);
    case RefreshFault::replyGarbled:
        return ScriptedAnswer::json(200, R"({"access_token":17,"refresh_token":)");
    case RefreshFault::replyUnfinished: {
        const QByteArray whole = ScriptedAnswer::json(200, reply).bytes;
        return ScriptedAnswer::raw(whole.chopped(reply.size() / 2), ScriptedAnswer::Then::close);
    }
    default:
        return ScriptedAnswer::json(200, reply);
    }
}

} // namespace

ScriptedAccountServer::ScriptedAccountServer(const Clock& clock, QByteArray prefix)
    : m_clock(clock)
    , m_prefix(std::move(prefix)) {
    m_user.displayName = u"Ada"_qs;
    m_user.linkedProviders = {AuthProvider::github};
    m_user.handle = u"ada"_qs;
    m_http.answerBy("/v1/auth/refresh",
                    [this](const RecordedRequest& request) { return answerRefresh(request); });
    m_http.answerBy("/v1/auth/revoke",
                    [this](const RecordedRequest& request) { return answerRevocation(request); });
    m_http.always("/v1/auth/logout", ScriptedAnswer::whole(204, {}));
    m_http.always("/v1/auth/providers",
                  ScriptedAnswer::json(200, R"({"providers":["google","facebook","github"]})"));
}

StoredSession ScriptedAccountServer::session() const {
    return {SecretText(currentRefreshToken()), m_clock.wallNow().addSecs(m_refreshLifetime.count()),
            std::nullopt};
}

QByteArray ScriptedAccountServer::currentRefreshToken() const {
    return numbered("refresh", m_exchanges.size());
}

void ScriptedAccountServer::scriptRefresh(std::vector<RefreshFault> faults) {
    m_faults.insert(m_faults.end(), faults.begin(), faults.end());
}

void ScriptedAccountServer::release() {
    m_isHeld = false;
    m_http.release();
}

void ScriptedAccountServer::setLifetimes(std::chrono::seconds access,
                                         std::chrono::seconds refresh) {
    m_accessLifetime = access;
    m_refreshLifetime = refresh;
}

ScriptedAnswer ScriptedAccountServer::answerRefresh(const RecordedRequest& request) {
    const RefreshRequest refresh = refreshRequest(request.body);
    m_refreshRequests.push_back(refresh);
    RefreshFault fault = RefreshFault::none;
    if (!m_faults.empty()) {
        fault = m_faults.front();
        m_faults.pop_front();
    }
    if (fault == RefreshFault::refused) {
        return refusal(401, "invalid_refresh_token");
    }
    if (fault == RefreshFault::failed) {
        return refusal(503, "unavailable");
    }
    if (fault == RefreshFault::unreachable) {
        return ScriptedAnswer::silent(ScriptedAnswer::Then::reset);
    }
    const auto reply = exchange(refresh);
    const ScriptedAnswer answer =
        reply ? spoilt(*reply, fault) : refusal(401, "invalid_refresh_token");
    return m_isHeld ? answer.held() : answer;
}

ScriptedAnswer ScriptedAccountServer::answerRevocation(const RecordedRequest& request) {
    const Json body = parseJson(request.body);
    const QString token = JsonObjectReader(body).required<QString>("refresh_token");
    m_isRevoked = m_isRevoked || token.toUtf8() == currentRefreshToken();
    return ScriptedAnswer::whole(204, {});
}

std::optional<QByteArray> ScriptedAccountServer::exchange(const RefreshRequest& request) {
    if (m_isRevoked) {
        return std::nullopt;
    }
    const std::pair pair(request.refreshToken, request.operationID);
    if (const auto known = m_exchanges.find(pair); known != m_exchanges.end()) {
        return known->second;
    }
    if (request.refreshToken != currentRefreshToken()) {
        return std::nullopt;
    }
    m_exchanges.emplace(pair, QByteArray());
    m_exchanges[pair] = reply();
    return m_exchanges[pair];
}

QByteArray ScriptedAccountServer::numbered(const QByteArray& name, std::size_t number) const {
    return m_prefix + name + '-' + QByteArray::number(static_cast<qulonglong>(number));
}

QByteArray ScriptedAccountServer::reply() const {
    const QDateTime now = m_clock.wallNow();
    return encodeSecretJson(AuthCredentials{SecretText(numbered("access", m_exchanges.size())),
                                            SecretText(currentRefreshToken()), u"Bearer"_qs,
                                            now.addSecs(m_accessLifetime.count()),
                                            now.addSecs(m_refreshLifetime.count()), m_user});
}

} // namespace lumivane::test
