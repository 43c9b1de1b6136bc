#include "server/login/AuthorizationCode.h"

#include "server/login/JsonFields.h"
#include "server/text/StrictJson.h"

namespace lumivane::service {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

constexpr std::chrono::seconds providerPatience{15};
constexpr std::size_t longestCode = 4096;

LoginFault faultOf(UpstreamReply::Outcome outcome) {
    switch (outcome) {
    case UpstreamReply::Outcome::unreachable:
        return LoginFault::unreachable;
    case UpstreamReply::Outcome::untrusted:
        return LoginFault::untrusted;
    case UpstreamReply::Outcome::timedOut:
        return LoginFault::timedOut;
    case UpstreamReply::Outcome::malformed:
        return LoginFault::malformed;
    case UpstreamReply::Outcome::answered:
        break;
    }
    return LoginFault::status;
}

bool isPassing(const UpstreamReply& reply) {
    using Outcome = UpstreamReply::Outcome;
    if (reply.outcome != Outcome::answered) {
        return reply.outcome == Outcome::unreachable || reply.outcome == Outcome::timedOut;
    }
    return reply.status >= 500 || reply.status == 429;
}

ProviderAnswer readAnswer(const UpstreamReply& reply, LoginStage stage) {
    if (reply.outcome != UpstreamReply::Outcome::answered || reply.status != 200) {
        const auto refusal = isPassing(reply) ? LoginRefusal::unavailable : LoginRefusal::failed;
        return LoginFailure{refusal, stage, faultOf(reply.outcome), reply.status};
    }
    try {
        return parseStrictly(reply.body);
    } catch (const JsonError&) {
        return LoginFailure{LoginRefusal::failed, stage, LoginFault::content, reply.status};
    }
}

} // namespace

std::string_view rawValue(LoginRefusal refusal) {
    switch (refusal) {
    case LoginRefusal::denied:
        return "access_denied";
    case LoginRefusal::unavailable:
        return "temporarily_unavailable";
    case LoginRefusal::failed:
        break;
    }
    return "server_error";
}

std::string_view rawValue(LoginStage stage) {
    switch (stage) {
    case LoginStage::callback:
        return "callback";
    case LoginStage::token:
        return "token";
    case LoginStage::keys:
        return "keys";
    case LoginStage::identity:
        return "identity";
    case LoginStage::user:
        return "user";
    case LoginStage::emails:
        break;
    }
    return "emails";
}

std::string_view rawValue(LoginFault fault) {
    switch (fault) {
    case LoginFault::content:
        return "content";
    case LoginFault::status:
        return "status";
    case LoginFault::unreachable:
        return "unreachable";
    case LoginFault::untrusted:
        return "untrusted";
    case LoginFault::timedOut:
        return "timed_out";
    case LoginFault::malformed:
        break;
    }
    return "malformed";
}

std::string formEncoded(const QueryItems& items) {
    std::string result;
    for (const auto& [name, value] : items) {
        result.append(result.empty() ? "" : "&").append(percentEncoded(name)).append("=");
        result += percentEncoded(value);
    }
    return result;
}

std::string withQuery(const std::string& url, const QueryItems& items) {
    return url + (url.find('?') == std::string::npos ? "?" : "&") + formEncoded(items);
}

MonotonicTime providerDeadline() { return monotonicNow() + providerPatience; }

AuthorizationCode::AuthorizationCode(AuthorizationServer server, UpstreamTransport& transport)
    : m_server(std::move(server))
    , m_transport(transport) {}

std::string AuthorizationCode::authorizationUrl(const LoginAttempt& attempt,
                                                const QueryItems& more) const {
    QueryItems items{{"response_type", "code"},
                     {"client_id", m_server.clientId},
                     {"redirect_uri", attempt.callbackUrl},
                     {"state", attempt.state}};
    items.insert(items.end(), more.begin(), more.end());
    return withQuery(m_server.authorizationUrl, items);
}

std::variant<std::string, LoginFailure> AuthorizationCode::codeIn(const FormFields& fields) {
    if (const auto error = fields.find("error")) {
        if (*error == "access_denied") {
            return LoginFailure{LoginRefusal::denied};
        }
        const bool isOutage = *error == "temporarily_unavailable";
        return LoginFailure{isOutage ? LoginRefusal::unavailable : LoginRefusal::failed};
    }
    const auto code = fields.find("code");
    if (!code || code->empty() || code->size() > longestCode) {
        return LoginFailure{};
    }
    return std::string(*code);
}

asio::awaitable<ProviderAnswer> AuthorizationCode::exchange(std::string code, QueryItems more,
                                                            MonotonicTime deadline) {
    more.emplace_back("grant_type", "authorization_code");
    more.emplace_back("client_id", m_server.clientId);
    more.emplace_back("client_secret", m_server.clientSecret);
    more.emplace_back("code", std::move(code));
    UpstreamRequest request;
    request.method = UpstreamRequest::Method::post;
    request.url = m_server.tokenUrl;
    request.headers.emplace_back("Content-Type", "application/x-www-form-urlencoded");
    request.headers.emplace_back("Accept", "application/json");
    request.body = formEncoded(more);
    auto asking = ask(std::move(request), LoginStage::token, deadline);
    ProviderAnswer answer = co_await std::move(asking);
    const auto* record = std::get_if<json::value>(&answer);
    // One provider says its errors with a status of success.
    if (record != nullptr && (!record->is_object() || record->get_object().contains("error"))) {
        co_return LoginFailure{LoginRefusal::failed, LoginStage::token, LoginFault::content, 200};
    }
    co_return answer;
}

asio::awaitable<ProviderAnswer> AuthorizationCode::fetch(UpstreamUrl url, std::string accessToken,
                                                         LoginStage stage, MonotonicTime deadline) {
    UpstreamRequest request;
    request.url = std::move(url);
    request.headers.emplace_back("Accept", "application/json");
    request.headers.emplace_back("Authorization", "Bearer " + accessToken);
    return ask(std::move(request), stage, deadline);
}

asio::awaitable<ProviderAnswer> AuthorizationCode::fetchOpenly(UpstreamUrl url, LoginStage stage,
                                                               MonotonicTime deadline) {
    UpstreamRequest request;
    request.url = std::move(url);
    request.headers.emplace_back("Accept", "application/json");
    return ask(std::move(request), stage, deadline);
}

asio::awaitable<ProviderAnswer> AuthorizationCode::ask(UpstreamRequest request, LoginStage stage,
                                                       MonotonicTime deadline) {
    auto sending = m_transport.send(std::move(request), deadline);
    const UpstreamReply reply = co_await std::move(sending);
    co_return readAnswer(reply, stage);
}

} // namespace lumivane::service
