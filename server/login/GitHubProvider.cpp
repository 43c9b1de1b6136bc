#include "server/login/JsonFields.h"
#include "server/login/OAuthProvider.h"
#include "server/login/OAuthProviders.h"

namespace lumivane::service {

namespace asio = boost::asio;
namespace json = boost::json;

namespace {

class GitHubProvider : public OAuthProvider {
public:
    GitHubProvider(const ProviderSettings& settings, UpstreamTransport& transport)
        : OAuthProvider(settings, transport)
        , m_userUrl(address(settings.userUrl, "user_url"))
        , m_emailsUrl(address(settings.emailsUrl, "emails_url")) {}

protected:
    QueryItems authorizationItems(const LoginAttempt& attempt) const override {
        QueryItems items = proofKeyItems(attempt);
        items.emplace_back("scope", "read:user user:email");
        if (attempt.intent == AuthIntent::deleteReauth) {
            items.emplace_back("prompt", "select_account");
        }
        return items;
    }

    asio::awaitable<Proof> identify(json::object tokens, LoginAttempt,
                                    MonotonicTime deadline) override;

private:
    UpstreamUrl m_userUrl;
    UpstreamUrl m_emailsUrl;
};

std::optional<ProvedIdentity> identityIn(const ProviderAnswer& answer) {
    const auto* user = std::get_if<json::value>(&answer);
    if (user == nullptr || !user->is_object()) {
        return std::nullopt;
    }
    // A login name can change hands; the number never does.
    const auto number = integerField(user->get_object(), "id");
    if (!number || *number <= 0) {
        return std::nullopt;
    }
    ProvedIdentity identity;
    identity.subject = std::to_string(*number);
    const auto name = textField(user->get_object(), "name");
    const auto login = textField(user->get_object(), "login");
    identity.suggestedName =
        keepable(name && !name->empty() ? *name : login.value_or(""), longestSuggestedName);
    return identity;
}

void takePrimaryEmail(const json::value& emails, ProvedIdentity& identity) {
    if (!emails.is_array()) {
        return;
    }
    for (const json::value& entry : emails.get_array()) {
        if (!entry.is_object() || entry.get_object().if_contains("primary") == nullptr ||
            entry.get_object().at("primary") != true) {
            continue;
        }
        const json::value* verified = entry.get_object().if_contains("verified");
        const std::string address =
            keepable(textField(entry.get_object(), "email").value_or(""), longestEmail);
        if (verified != nullptr && *verified == true && !address.empty()) {
            identity.email = address;
            identity.isEmailVerified = true;
        }
        return;
    }
}

// GitHub says with 403 that it has been asked too often.
LoginFailure judged(LoginFailure failure) {
    if (failure.status == 403) {
        failure.refusal = LoginRefusal::unavailable;
    }
    return failure;
}

// Only a user of whom GitHub knows no address has none. Whatever else it says in place of one could
// make a second account for the same person.
bool hasNoEmails(const ProviderAnswer& answer) {
    const auto* failure = std::get_if<LoginFailure>(&answer);
    return failure != nullptr && failure->status == 404;
}

asio::awaitable<OAuthProvider::Proof> GitHubProvider::identify(json::object tokens, LoginAttempt,
                                                               MonotonicTime deadline) {
    const auto token = accessTokenIn(tokens);
    if (!token) {
        co_return unbelievable(LoginStage::token);
    }
    auto asking = flow().fetch(m_userUrl, *token, LoginStage::user, deadline);
    const ProviderAnswer user = co_await std::move(asking);
    if (const auto* failure = std::get_if<LoginFailure>(&user)) {
        co_return judged(*failure);
    }
    auto identity = identityIn(user);
    if (!identity) {
        co_return unbelievable(LoginStage::user);
    }
    auto askingForEmails = flow().fetch(m_emailsUrl, *token, LoginStage::emails, deadline);
    const ProviderAnswer emails = co_await std::move(askingForEmails);
    if (const auto* record = std::get_if<json::value>(&emails)) {
        takePrimaryEmail(*record, *identity);
    } else if (!hasNoEmails(emails)) {
        co_return judged(std::get<LoginFailure>(emails));
    }
    co_return *std::move(identity);
}

} // namespace

std::unique_ptr<IdentityProvider> makeGitHubProvider(const ProviderSettings& settings,
                                                     UpstreamTransport& transport) {
    return std::make_unique<GitHubProvider>(settings, transport);
}

} // namespace lumivane::service
