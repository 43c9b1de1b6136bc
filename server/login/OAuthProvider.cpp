#include "server/login/OAuthProvider.h"

#include "server/login/JsonFields.h"
#include "server/login/LoginCrypto.h"
#include "server/login/OAuthProviders.h"

#include <algorithm>

namespace lumivane::service {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

constexpr std::size_t longestAccessToken = 8192;

bool isVisibleAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return character > ' ' && character < 0x7F; });
}

AuthorizationServer serverOf(const ProviderSettings& settings, UpstreamUrl tokenUrl) {
    // Both go into addresses and bodies, encoded; only their being there matters.
    if (settings.clientId.empty() || settings.clientSecret.empty()) {
        throw LoginSettingsError(std::string(rawValue(settings.provider)) +
                                 " needs both a client identifier and a client secret");
    }
    return {settings.provider, settings.clientId, settings.clientSecret, settings.authorizationUrl,
            std::move(tokenUrl)};
}

LoginFinish ended(std::variant<ProvedIdentity, LoginFailure> result) {
    LoginFinish finish;
    finish.result = std::move(result);
    return finish;
}

} // namespace

UpstreamUrl OAuthProvider::address(const std::string& url, std::string_view name) {
    try {
        return parseUpstreamUrl(url);
    } catch (const UpstreamUrlError& error) {
        throw LoginSettingsError("the address \"" + std::string(name) + "\" " + error.what());
    }
}

OAuthProvider::OAuthProvider(const ProviderSettings& settings, UpstreamTransport& transport)
    : m_flow(serverOf(settings, address(settings.tokenUrl, "token_url")), transport) {
    // The browser follows it, so it must be what the service would follow itself, but for a query
    // that some providers put into it.
    const std::string& url = settings.authorizationUrl;
    address(url.substr(0, url.find('?')), "authorization_url");
    if (!isVisibleAscii(url) || url.find('#') != std::string::npos) {
        throw LoginSettingsError("the address \"authorization_url\" is not a URL");
    }
}

LoginStep OAuthProvider::begin(const LoginAttempt& attempt) const {
    return LoginRedirect{m_flow.authorizationUrl(attempt, authorizationItems(attempt))};
}

std::optional<HtmlPage> OAuthProvider::reconsider(const LoginAttempt&, const FormFields&) const {
    return std::nullopt;
}

QueryItems OAuthProvider::tokenItems(const LoginAttempt& attempt) const {
    return {{"redirect_uri", attempt.callbackUrl}, {"code_verifier", attempt.verifier}};
}

bool OAuthProvider::isFromHere(const FormFields&) const { return true; }

QueryItems OAuthProvider::proofKeyItems(const LoginAttempt& attempt) {
    return {{"code_challenge", codeChallengeOf(attempt.verifier)},
            {"code_challenge_method", "S256"}};
}

asio::awaitable<LoginFinish> OAuthProvider::finish(LoginAttempt attempt, FormFields fields) {
    auto code = AuthorizationCode::codeIn(fields);
    if (!isFromHere(fields)) {
        co_return ended(LoginFailure{});
    }
    if (const auto* failure = std::get_if<LoginFailure>(&code)) {
        co_return ended(*failure);
    }
    const MonotonicTime deadline = providerDeadline();
    auto exchanging =
        m_flow.exchange(std::get<std::string>(std::move(code)), tokenItems(attempt), deadline);
    ProviderAnswer tokens = co_await std::move(exchanging);
    if (const auto* failure = std::get_if<LoginFailure>(&tokens)) {
        co_return ended(*failure);
    }
    json::object record = std::move(std::get<json::value>(tokens).get_object());
    auto identifying = identify(std::move(record), std::move(attempt), deadline);
    Proof proof = co_await std::move(identifying);
    co_return ended(std::move(proof));
}

std::optional<std::string> accessTokenIn(const json::object& tokens) {
    auto token = textField(tokens, "access_token");
    if (!token || token->empty() || token->size() > longestAccessToken || !isVisibleAscii(*token)) {
        return std::nullopt;
    }
    return token;
}

std::string keepable(std::string text, std::size_t longest) {
    const bool isPlain = std::all_of(text.begin(), text.end(), [](char character) {
        return static_cast<unsigned char>(character) >= 0x20 && character != 0x7F;
    });
    return isPlain && text.size() <= longest ? std::move(text) : std::string();
}

} // namespace lumivane::service
