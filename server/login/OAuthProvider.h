#pragma once

#include "server/login/AuthorizationCode.h"
#include "server/login/IdentityProvider.h"

namespace lumivane::service {

/// What all providers by authorization code have in common. One derives from it per provider.
class OAuthProvider : public IdentityProvider {
public:
    OAuthProvider(const ProviderSettings& settings, UpstreamTransport& transport);

    AuthProvider provider() const override { return m_flow.server().provider; }

    AnswersBy answersBy() const override { return AnswersBy::redirect; }

    LoginStep begin(const LoginAttempt& attempt) const override;
    std::optional<HtmlPage> reconsider(const LoginAttempt& attempt,
                                       const FormFields& fields) const override;
    boost::asio::awaitable<LoginFinish> finish(LoginAttempt attempt, FormFields fields) override;

protected:
    using Proof = std::variant<ProvedIdentity, LoginFailure>;

    /// What this provider is told beside the usual.
    virtual QueryItems authorizationItems(const LoginAttempt& attempt) const = 0;
    virtual QueryItems tokenItems(const LoginAttempt& attempt) const;

    /// Who the token record stands for.
    virtual boost::asio::awaitable<Proof> identify(boost::json::object tokens, LoginAttempt attempt,
                                                   MonotonicTime deadline) = 0;

    /// Whether an answer may come from this provider at all.
    virtual bool isFromHere(const FormFields& fields) const;

    AuthorizationCode& flow() { return m_flow; }

    /// A record or token that was had and cannot be believed.
    static LoginFailure unbelievable(LoginStage stage) {
        return LoginFailure{LoginRefusal::failed, stage, LoginFault::content, 0};
    }

    /// An address of the settings. Throws LoginSettingsError.
    static UpstreamUrl address(const std::string& url, std::string_view name);

    /// "code_challenge" and its method.
    static QueryItems proofKeyItems(const LoginAttempt& attempt);

private:
    AuthorizationCode m_flow;
};

/// The token of a record that can go into a header; none where there is no such one.
std::optional<std::string> accessTokenIn(const boost::json::object& tokens);

/// A subject, name or address as far as it can be kept: bounded, without control characters.
std::string keepable(std::string text, std::size_t longest);

constexpr std::size_t longestSubject = 255;
constexpr std::size_t longestEmail = 254;
constexpr std::size_t longestSuggestedName = 400;

} // namespace lumivane::service
