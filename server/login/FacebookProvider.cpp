#include "server/login/JsonFields.h"
#include "server/login/LoginCrypto.h"
#include "server/login/OAuthProvider.h"
#include "server/login/OAuthProviders.h"

namespace lumivane::service {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

class FacebookProvider : public OAuthProvider {
public:
    FacebookProvider(const ProviderSettings& settings, UpstreamTransport& transport)
        : OAuthProvider(settings, transport)
        , m_userUrl(address(settings.userUrl, "user_url")) {}

protected:
    QueryItems authorizationItems(const LoginAttempt& attempt) const override {
        QueryItems items{{"scope", "email,public_profile"}};
        if (attempt.intent == AuthIntent::deleteReauth) {
            items.emplace_back("auth_type", "reauthenticate");
        }
        return items;
    }

    QueryItems tokenItems(const LoginAttempt& attempt) const override {
        return {{"redirect_uri", attempt.callbackUrl}};
    }

    asio::awaitable<Proof> identify(json::object tokens, LoginAttempt,
                                    MonotonicTime deadline) override;

private:
    UpstreamUrl m_userUrl;
};

asio::awaitable<OAuthProvider::Proof> FacebookProvider::identify(json::object tokens, LoginAttempt,
                                                                 MonotonicTime deadline) {
    const auto token = accessTokenIn(tokens);
    if (!token) {
        co_return unbelievable(LoginStage::token);
    }
    // A stolen token is of no use without the proof that the secret is known.
    const std::string proof = hmacSha256Hex(flow().server().clientSecret, *token);
    UpstreamUrl url = m_userUrl;
    const QueryItems items{{"fields", "id,name,email"}, {"appsecret_proof", proof}};
    url.target = withQuery(url.target, items);
    auto asking = flow().fetch(url, *token, LoginStage::user, deadline);
    const ProviderAnswer answer = co_await std::move(asking);
    if (const auto* failure = std::get_if<LoginFailure>(&answer)) {
        co_return *failure;
    }
    const auto& record = std::get<json::value>(answer);
    if (!record.is_object()) {
        co_return unbelievable(LoginStage::user);
    }
    const json::object& user = record.get_object();
    ProvedIdentity identity;
    identity.subject = keepable(textField(user, "id").value_or(""), longestSubject);
    if (identity.subject.empty()) {
        co_return unbelievable(LoginStage::user);
    }
    const std::string email = keepable(textField(user, "email").value_or(""), longestEmail);
    if (!email.empty()) {
        identity.email = email;
    }
    identity.suggestedName = keepable(textField(user, "name").value_or(""), longestSuggestedName);
    co_return identity;
}

} // namespace

std::unique_ptr<IdentityProvider> makeFacebookProvider(const ProviderSettings& settings,
                                                       UpstreamTransport& transport) {
    return std::make_unique<FacebookProvider>(settings, transport);
}

} // namespace lumivane::service
