#include "server/login/AuthorizationCode.h"

#include "server/login/JsonFields.h"
#include "server/text/StrictJson.h"

namespace lumivane::service {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

constexpr std::chrono::seconds providerPatience{15};
constexpr std::size_t longestCode = 4096;

ProviderAnswer readAnswer(const UpstreamReply& reply) {
    if (reply.outcome == UpstreamReply::Outcome::untrusted ||
        reply.outcome == UpstreamReply::Outcome::malformed) {
        return LoginRefusal::failed;
    }
    const bool isBusy = reply.status >= 500 || reply.status == 429;
    if (reply.outcome != UpstreamReply::Outcome::answered || isBusy) {
        return LoginRefusal::unavailable;
    }
    if (reply.status != 200) {
        return LoginRefusal::failed;
    }
    try {
        return parseStrictly(reply.body);
    } catch (const JsonError&) {
        return LoginRefusal::failed;
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

std::variant<std::string, LoginRefusal> AuthorizationCode::codeIn(const FormFields& fields) {
    if (const auto error = fields.find("error")) {
        if (*error == "access_denied") {
            return LoginRefusal::denied;
        }
        const bool isPassing = *error == "temporarily_unavailable";
        return isPassing ? LoginRefusal::unavailable : LoginRefusal::failed;
    }
    const auto code = fields.find("code");
    if (!code || code->empty() || code->size() > longestCode) {
        return LoginRefusal::failed;
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
    auto asking = ask(std::move(request), deadline);
    ProviderAnswer answer = co_await std::move(asking);
    const auto* record = std::get_if<json::value>(&answer);
    // One provider says its errors with a status of success.
    if (record != nullptr && (!record->is_object() || record->get_object().contains("error"))) {
        co_return LoginRefusal::failed;
    }
    co_return answer;
}

asio::awaitable<ProviderAnswer> AuthorizationCode::fetch(UpstreamUrl url, std::string accessToken,
                                                         MonotonicTime deadline) {
    UpstreamRequest request;
    request.url = std::move(url);
    request.headers.emplace_back("Accept", "application/json");
    request.headers.emplace_back("Authorization", "Bearer " + accessToken);
    return ask(std::move(request), deadline);
}

asio::awaitable<ProviderAnswer> AuthorizationCode::fetchOpenly(UpstreamUrl url,
                                                               MonotonicTime deadline) {
    UpstreamRequest request;
    request.url = std::move(url);
    request.headers.emplace_back("Accept", "application/json");
    return ask(std::move(request), deadline);
}

asio::awaitable<ProviderAnswer> AuthorizationCode::ask(UpstreamRequest request,
                                                       MonotonicTime deadline) {
    auto sending = m_transport.send(std::move(request), deadline);
    const UpstreamReply reply = co_await std::move(sending);
    co_return readAnswer(reply);
}

} // namespace lumivane::service
