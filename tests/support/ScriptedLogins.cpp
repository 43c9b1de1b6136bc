#include "support/ScriptedLogins.h"

#include "accounts/AccountCoding.h"
#include "accounts/PKCE.h"

#include <algorithm>

namespace lumivane::test {

namespace {

constexpr std::chrono::minutes transactionLifetime{5};
constexpr std::chrono::minutes accessLifetime{15};
constexpr std::chrono::hours refreshLifetime{24 * 30};
constexpr auto pagePath = "/v1/auth/login/";
constexpr auto callback = "com.marnoth.lumivane.oauth://callback?transaction_id=";

ScriptedAnswer refusal(int status, const QByteArray& code) {
    return ScriptedAnswer::json(status, R"({"error":{"code":")" + code +
                                            R"(","message":"No.","request_id":"r-1"}})");
}

ScriptedAnswer redirection(const QByteArray& target) {
    return ScriptedAnswer::whole(302, {}, {{"Location", target}});
}

/// Written with the record's own name for the key, so that the client's coding is not its judge.
QByteArray dateText(const QDateTime& date) {
    return date.toUTC().toString(Qt::ISODateWithMs).toUtf8();
}

} // namespace

ScriptedLogins::ScriptedLogins(ScriptedAccountServer& server, const Clock& clock)
    : m_server(server)
    , m_clock(clock) {
    ScriptedHttpServer& http = m_server.http();
    http.answerBy("/v1/auth/transactions",
                  [this](const RecordedRequest& request) { return begin(request); });
    http.answerBy("/v1/auth/complete",
                  [this](const RecordedRequest& request) { return complete(request); });
    http.answerBy("/v1/auth/takeover",
                  [this](const RecordedRequest& request) { return takeOver(request); });
}

void ScriptedLogins::putAccountElsewhere(std::chrono::seconds ticketLifetime) {
    m_ticketLifetime = ticketLifetime;
}

std::size_t ScriptedLogins::pageCount() const {
    const auto& requests = m_server.http().requests();
    return std::size_t(
        std::count_if(requests.begin(), requests.end(), [](const RecordedRequest& request) {
            return request.line.startsWith(QByteArray("GET ") + pagePath);
        }));
}

ScriptedAnswer ScriptedLogins::begin(const RecordedRequest& request) {
    const Json body = parseJson(request.body);
    const QByteArray number =
        QByteArray::number(static_cast<qulonglong>(m_transactions.size()) + 1);
    const QByteArray identifier = "transaction-" + number;
    const QString challenge = JsonObjectReader(body).required<QString>("code_challenge");
    m_transactions[identifier] = {challenge.toUtf8(), "handoff/+=" + number};
    m_secrets.push_back(m_transactions[identifier].code);
    const QByteArray path = pagePath + identifier;
    m_server.http().answerBy(
        path, [this, identifier](const RecordedRequest&) { return page(identifier); });
    const QDateTime end = m_clock.wallNow().addSecs(
        std::chrono::duration_cast<std::chrono::seconds>(transactionLifetime).count());
    return ScriptedAnswer::json(200, R"({"transaction_id":")" + identifier +
                                         R"(","authorization_url":")" +
                                         m_server.baseURL().toUtf8() + path +
                                         R"(","expires_at":")" + dateText(end) + R"("})");
}

ScriptedAnswer ScriptedLogins::page(const QByteArray& identifier) const {
    const QByteArray code = m_transactions.at(identifier).code.toPercentEncoding();
    switch (m_pageEnd) {
    case PageEnd::handoff:
        return redirection(callback + identifier + "&handoff_code=" + code);
    case PageEnd::declined:
        return redirection(callback + identifier + "&error=access_denied");
    case PageEnd::failed:
        return redirection(callback + identifier + "&error=server_error");
    case PageEnd::foreign:
        return redirection(callback + ("another-" + identifier) + "&handoff_code=" + code);
    case PageEnd::nowhere:
        break;
    }
    return ScriptedAnswer::whole(200, "<!doctype html><title>Log in</title>",
                                 {{"Content-Type", "text/html"}});
}

ScriptedAnswer ScriptedLogins::complete(const RecordedRequest& request) {
    const Json json = parseJson(request.body);
    const JsonObjectReader body(json);
    const QByteArray verifier = body.required<QString>("code_verifier").toUtf8();
    m_secrets.push_back(verifier);
    const auto found = m_transactions.find(body.required<QString>("transaction_id").toUtf8());
    const QByteArray code = body.required<QString>("handoff_code").toUtf8();
    if (found == m_transactions.end() || code.isEmpty() || found->second.code != code ||
        PKCE::challenge(SecretText(verifier)).toUtf8() != found->second.challenge) {
        return refusal(401, "invalid_handoff");
    }
    found->second.code.clear();
    noteMachine(body);
    if (!m_ticketLifetime) {
        return ScriptedAnswer::json(200, login());
    }
    m_ticket = "ticket-" + QByteArray::number(static_cast<qulonglong>(m_machines.size()));
    m_secrets.push_back(m_ticket);
    const QDateTime end = m_clock.wallNow().addSecs(m_ticketLifetime->count());
    return ScriptedAnswer::json(200, R"({"status":"device_takeover_required","takeover_ticket":")" +
                                         m_ticket + R"(","expires_at":")" + dateText(end) +
                                         R"(","current_device":{"name":"Other","kind":"laptop"}})");
}

ScriptedAnswer ScriptedLogins::takeOver(const RecordedRequest& request) {
    if (m_ticket.isEmpty() || request.header("Authorization") != "Bearer " + m_ticket) {
        return refusal(401, "invalid_ticket");
    }
    const Json json = parseJson(request.body);
    noteMachine(JsonObjectReader(json));
    m_ticket.clear();
    m_ticketLifetime.reset();
    return ScriptedAnswer::json(200, login());
}

QByteArray ScriptedLogins::login() const {
    const QDateTime now = m_clock.wallNow();
    const auto seconds = [](auto lifetime) {
        return std::chrono::duration_cast<std::chrono::seconds>(lifetime).count();
    };
    return encodeSecretJson(AuthCredentials{
        SecretText("access-of-the-login"), SecretText(m_server.currentRefreshToken()), u"Bearer"_qs,
        now.addSecs(seconds(accessLifetime)), now.addSecs(seconds(refreshLifetime)),
        m_server.user()});
}

void ScriptedLogins::noteMachine(const JsonObjectReader& body) {
    const auto text = [&body](const char* name) {
        return body.optional<QString>(name).value_or(QString());
    };
    m_machines.push_back(
        {text("device_id"), text("device_name"), text("device_kind"), text("device_os")});
}

} // namespace lumivane::test
