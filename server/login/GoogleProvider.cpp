#include "server/login/IdToken.h"
#include "server/login/JsonFields.h"
#include "server/login/OAuthProvider.h"
#include "server/login/OAuthProviders.h"

namespace lumivane::service {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

constexpr std::string_view googleItself = "https://accounts.google.com";
// No login takes longer from its beginning to its end.
constexpr std::int64_t freshSeconds = 10 * 60;

class GoogleProvider : public OAuthProvider {
public:
    GoogleProvider(const ProviderSettings& settings, UpstreamTransport& transport,
                   const WallClock& clock)
        : OAuthProvider(settings, transport)
        , m_issuer(settings.issuer)
        , m_keysUrl(address(settings.keysUrl, "keys_url"))
        , m_userUrl(address(settings.userUrl, "user_url"))
        , m_clock(clock) {}

protected:
    QueryItems authorizationItems(const LoginAttempt& attempt) const override {
        QueryItems items = proofKeyItems(attempt);
        items.emplace_back("scope", "openid email profile");
        items.emplace_back("nonce", attempt.nonce);
        if (asksForPassword(attempt)) {
            items.emplace_back("prompt", "login");
            items.emplace_back("max_age", "0");
        } else if (attempt.intent == AuthIntent::deleteReauth) {
            items.emplace_back("prompt", "select_account");
        }
        return items;
    }

    // Whose answer it is, where the provider says so: another one's must not be taken for it.
    bool isFromHere(const FormFields& fields) const override {
        const auto issuer = fields.find("iss");
        return !issuer || *issuer == m_issuer;
    }

    asio::awaitable<Proof> identify(json::object tokens, LoginAttempt attempt,
                                    MonotonicTime deadline) override;

private:
    // Google itself knows no such wish.
    bool asksForPassword(const LoginAttempt& attempt) const {
        return attempt.intent == AuthIntent::deleteReauth && m_issuer != googleItself;
    }

    asio::awaitable<std::optional<LoginFailure>> addMissing(json::object& claims, std::string token,
                                                            MonotonicTime deadline);

    std::string m_issuer;
    UpstreamUrl m_keysUrl;
    UpstreamUrl m_userUrl;
    const WallClock& m_clock;
};

std::int64_t secondsOf(WallTime time) {
    return std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
}

ProvedIdentity identityFrom(const json::object& claims) {
    ProvedIdentity identity;
    identity.subject = keepable(textField(claims, "sub").value_or(""), longestSubject);
    const std::string email = keepable(textField(claims, "email").value_or(""), longestEmail);
    if (!email.empty()) {
        identity.email = email;
        identity.isEmailVerified = isTrueField(claims, "email_verified");
    }
    identity.suggestedName = keepable(textField(claims, "name").value_or(""), longestSuggestedName);
    return identity;
}

// Address and what is said of it belong together, so they are taken together.
void take(const json::object& from, json::object& to) {
    if (!to.contains("email") && from.contains("email")) {
        to["email"] = from.at("email");
        to["email_verified"] = isTrueField(from, "email_verified");
    }
    if (!to.contains("name") && from.contains("name")) {
        to["name"] = from.at("name");
    }
}

asio::awaitable<std::optional<LoginFailure>>
GoogleProvider::addMissing(json::object& claims, std::string token, MonotonicTime deadline) {
    auto asking = flow().fetch(m_userUrl, std::move(token), LoginStage::user, deadline);
    const ProviderAnswer answer = co_await std::move(asking);
    if (const auto* failure = std::get_if<LoginFailure>(&answer)) {
        co_return *failure;
    }
    const auto& user = std::get<json::value>(answer);
    const bool isSame = user.is_object() && textField(user.get_object(), "sub").has_value() &&
                        textField(user.get_object(), "sub") == textField(claims, "sub");
    if (!isSame) {
        co_return unbelievable(LoginStage::user);
    }
    take(user.get_object(), claims);
    co_return std::nullopt;
}

asio::awaitable<OAuthProvider::Proof>
GoogleProvider::identify(json::object tokens, LoginAttempt attempt, MonotonicTime deadline) {
    const auto token = accessTokenIn(tokens);
    const auto idToken = textField(tokens, "id_token");
    if (!token || !idToken) {
        co_return unbelievable(LoginStage::token);
    }
    auto asking = flow().fetchOpenly(m_keysUrl, LoginStage::keys, deadline);
    const ProviderAnswer keys = co_await std::move(asking);
    if (const auto* failure = std::get_if<LoginFailure>(&keys)) {
        co_return *failure;
    }
    IdTokenRules rules;
    rules.issuer = m_issuer;
    rules.audience = flow().server().clientId;
    rules.nonce = attempt.nonce;
    rules.now = secondsOf(m_clock.now());
    if (asksForPassword(attempt)) {
        rules.authenticatedSince = rules.now - freshSeconds;
    }
    auto claims = claimsOfIdToken(*idToken, std::get<json::value>(keys), rules);
    if (!claims) {
        co_return unbelievable(LoginStage::identity);
    }
    if (!claims->contains("email") || !claims->contains("name")) {
        auto adding = addMissing(*claims, *token, deadline);
        const std::optional<LoginFailure> failure = co_await std::move(adding);
        if (failure) {
            co_return *failure;
        }
    }
    ProvedIdentity identity = identityFrom(*claims);
    if (identity.subject.empty()) {
        co_return unbelievable(LoginStage::identity);
    }
    co_return identity;
}

} // namespace

std::unique_ptr<IdentityProvider> makeGoogleProvider(const ProviderSettings& settings,
                                                     UpstreamTransport& transport,
                                                     const WallClock& clock) {
    return std::make_unique<GoogleProvider>(settings, transport, clock);
}

std::unique_ptr<IdentityProvider> makeOAuthProvider(const ProviderSettings& settings,
                                                    UpstreamTransport& transport,
                                                    const WallClock& clock) {
    const ProviderSettings whole = withDefaultAddresses(settings);
    switch (whole.provider) {
    case AuthProvider::google:
        return makeGoogleProvider(whole, transport, clock);
    case AuthProvider::facebook:
        return makeFacebookProvider(whole, transport);
    case AuthProvider::github:
        break;
    }
    return makeGitHubProvider(whole, transport);
}

} // namespace lumivane::service
