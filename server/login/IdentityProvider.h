#pragma once

#include "server/http/FormFields.h"
#include "server/http/HtmlPage.h"
#include "server/login/AuthIntent.h"
#include "server/login/Cookies.h"

#include <boost/asio/awaitable.hpp>

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace lumivane::service {

/// Who somebody is, as a provider vouches for it.
struct ProvedIdentity {
    std::string subject; ///< the provider's own lasting name for the user; never shown
    std::optional<std::string> email;
    bool isEmailVerified = false; ///< whether the provider has seen that the address is theirs
    std::string suggestedName;    ///< for a new account; may be empty

    bool operator==(const ProvedIdentity&) const = default;
};

/// Why a login came to nothing.
enum class LoginRefusal {
    denied,      ///< the user said no
    unavailable, ///< the provider did not answer in time
    failed       ///< the provider refused, or said what cannot be believed
};

/// The word that the program gets in place of a code.
std::string_view rawValue(LoginRefusal refusal);

/// How far a login came.
enum class LoginStage {
    callback, ///< what the browser brought back
    token,    ///< the exchange of the code
    keys,     ///< the provider's keys
    identity, ///< the identity token
    user,     ///< the record of the user
    emails    ///< the record of the addresses
};

std::string_view rawValue(LoginStage stage);

/// What was wrong there.
enum class LoginFault {
    content, ///< something was said that is a refusal or cannot be believed
    status,  ///< the status of the answer
    unreachable,
    untrusted,
    timedOut,
    malformed
};

std::string_view rawValue(LoginFault fault);

/// A login that came to nothing, as far as the operator of the service may know of it.
struct LoginFailure {
    LoginRefusal refusal = LoginRefusal::failed;
    LoginStage stage = LoginStage::callback;
    LoginFault fault = LoginFault::content;
    int status = 0; ///< of the provider's answer; 0 where there was none
};

/// One user's way through one login. All its secrets follow from the one that the browser's cookie
/// holds, so that a copy of the database opens no login.
struct LoginAttempt {
    std::string transactionId;
    AuthIntent intent = AuthIntent::signIn;
    std::string callbackUrl; ///< where the provider sends the browser back to
    std::string state;       ///< comes back from the provider; holds the transaction's name
    std::string nonce;       ///< stands in an identity token
    std::string verifier;    ///< the proof key towards the provider
    std::string formToken;   ///< stands in a form of our own
    std::string cookies;     ///< the browser's Cookie header
    CookieScope cookieScope;
};

/// Where the browser goes next.
struct LoginRedirect {
    std::string url;
};

using LoginStep = std::variant<LoginRedirect, HtmlPage>;

/// What a provider says in the end, and cookies to set beside it.
struct LoginFinish {
    std::variant<ProvedIdentity, LoginFailure> result;
    std::vector<std::string> cookies;
};

/// How a browser brings back what was asked of it.
enum class AnswersBy {
    redirect, ///< the provider sends it to the callback address
    form      ///< it sends the form of a page of this service
};

/// One way to prove who one is. For the network thread alone.
class IdentityProvider {
public:
    virtual ~IdentityProvider() = default;

    virtual AuthProvider provider() const = 0;

    virtual AnswersBy answersBy() const = 0;

    /// Sends the browser on, or shows it a page.
    virtual LoginStep begin(const LoginAttempt& attempt) const = 0;

    /// A page to show once more, where what came back is something the user can mend. Asked
    /// before the attempt is used up.
    virtual std::optional<HtmlPage> reconsider(const LoginAttempt& attempt,
                                               const FormFields& fields) const = 0;

    /// Makes of what came back from the browser who the user is. Called once for an attempt whose
    /// state has been checked. Takes at most 15 seconds; does not throw.
    virtual boost::asio::awaitable<LoginFinish> finish(LoginAttempt attempt, FormFields fields) = 0;
};

} // namespace lumivane::service
