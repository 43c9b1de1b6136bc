#include "server/login/BrowserSecrets.h"

#include "server/login/LoginCrypto.h"
#include "server/login/LoginRequests.h"

namespace lumivane::service {

std::string browserCookieName(std::string_view transactionId) {
    return "lumivane_login_" + std::string(transactionId);
}

LoginAttempt attemptFrom(std::string_view transactionId, std::string_view browserSecret) {
    const std::string id(transactionId);
    LoginAttempt attempt;
    attempt.transactionId = id;
    attempt.state = id + "." + derivedSecret(browserSecret, "state " + id);
    attempt.nonce = derivedSecret(browserSecret, "nonce " + id);
    attempt.verifier = derivedSecret(browserSecret, "verifier " + id);
    attempt.formToken = derivedSecret(browserSecret, "form " + id);
    return attempt;
}

std::optional<std::string> transactionOfState(std::string_view state) {
    const std::string_view id = state.substr(0, state.find('.'));
    return isServiceToken(id) ? std::optional(std::string(id)) : std::nullopt;
}

} // namespace lumivane::service
