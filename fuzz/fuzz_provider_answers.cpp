#include "server/http/ForwardedAddress.h"
#include "server/login/BrowserSecrets.h"
#include "server/login/IdToken.h"
#include "server/login/JsonFields.h"
#include "server/login/LocalIdentityProvider.h"
#include "server/login/LoginRequests.h"
#include "server/login/OAuthProviders.h"
#include "server/profile/ProfileRoutes.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace lumivane::service;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

bool isPlain(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
    });
}

class FixedClock final : public WallClock {
public:
    WallTime now() const override { return wallTime(1'800'000'000'000); }
};

/// A provider's server: whatever is asked, the next line of the input is the answer.
class ScriptedTransport final : public UpstreamTransport {
public:
    explicit ScriptedTransport(std::string_view script)
        : m_rest(script) {}

    boost::asio::awaitable<UpstreamReply> send(UpstreamRequest, MonotonicTime) override {
        UpstreamReply reply;
        reply.outcome = UpstreamReply::Outcome::answered;
        reply.status = 200;
        reply.body = std::string(m_rest.substr(0, m_rest.find('\n')));
        m_rest.remove_prefix(std::min(m_rest.size(), reply.body.size() + 1));
        co_return reply;
    }

private:
    std::string_view m_rest;
};

/// Whoever a provider vouches for can be kept.
void judge(const LoginFinish& finish) {
    const auto* identity = std::get_if<ProvedIdentity>(&finish.result);
    if (identity == nullptr) {
        return;
    }
    require(!identity->subject.empty() && identity->subject.size() <= 255);
    require(isPlain(identity->subject) && isPlain(identity->suggestedName));
    require(!identity->email || (isPlain(*identity->email) && identity->email->size() <= 254));
    require(identity->email || !identity->isEmailVerified);
}

void logInAt(AuthProvider which, std::string_view script) {
    ProviderSettings settings;
    settings.provider = which;
    settings.clientId = "c";
    settings.clientSecret = "s";
    settings.issuer = "https://i.example";
    settings.keysUrl = "https://i.example/keys";
    settings.tokenUrl = "https://i.example/token";
    settings.userUrl = "https://i.example/user";
    settings.authorizationUrl = "https://i.example/authorize";
    ScriptedTransport transport(script);
    const FixedClock clock;
    const auto provider = makeOAuthProvider(settings, transport, clock);
    LoginAttempt attempt;
    attempt.nonce = "n";
    boost::asio::io_context context;
    boost::asio::co_spawn(context, provider->finish(attempt, *FormFields::decode("code=c")),
                          [](const std::exception_ptr& error, const LoginFinish& finish) {
                              require(!error);
                              judge(finish);
                          });
    context.run();
}

/// A token and a key set, each on a line.
void believe(std::string_view text) {
    const auto end = text.find('\n');
    const auto keys = parseJsonObject(end == std::string_view::npos ? "" : text.substr(end + 1));
    IdTokenRules rules;
    rules.issuer = "https://i.example";
    rules.audience = "c";
    rules.nonce = "n";
    rules.now = 1'800'000'000;
    const auto claims =
        claimsOfIdToken(text.substr(0, end), keys.value_or(boost::json::object()), rules);
    require(!claims || (keys && !textField(*claims, "sub").value_or("").empty()));
}

/// What a browser or a proxy sends.
void readHeaders(const std::string& text) {
    LoginAttempt attempt;
    attempt.cookies = text;
    const auto page = makeLocalIdentityProvider(AuthProvider::github)->begin(attempt);
    require(std::get<HtmlPage>(page).html.find("<script") == std::string::npos);
    const auto cookie = cookieValue(text, "lumivane_local_identity");
    require(!cookie || cookie->size() <= text.size());
    const auto transaction = transactionOfState(text);
    require(!transaction || isServiceToken(*transaction));
    require(!namesVersion(text, "version") || text.find('*') != std::string::npos ||
            text.find("\"version\"") != std::string::npos);
    const auto address = forwardedAddress(text);
    require(!address || address->size() <= 64);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const AuthProvider provider : allProviders) {
        logInAt(provider, text);
    }
    believe(text);
    readHeaders(text);
    try {
        require(parseUpstreamUrl(text).target.starts_with('/'));
    } catch (const UpstreamUrlError&) {
        return 0;
    }
    return 0;
}
