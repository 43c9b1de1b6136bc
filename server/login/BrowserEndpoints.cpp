#include "server/accounts/Tokens.h"
#include "server/login/BrowserSecrets.h"
#include "server/login/LoginCrypto.h"
#include "server/login/LoginEndpoints.h"
#include "server/login/LoginPages.h"
#include "server/login/LoginRequests.h"

namespace lumivane::service::BrowserEndpoints {

namespace {

HttpResponse trouble(int status, std::string_view title, std::string_view words) {
    return htmlResponse(troublePage(status, title, words));
}

HttpResponse expired() {
    return trouble(410, "This login has expired", "Go back to Lumivane and start the login again.");
}

HttpResponse usedUp() {
    return trouble(410, "This login is already finished",
                   "Go back to Lumivane. You can close this page.");
}

HttpResponse otherBrowser() {
    return trouble(403, "This login belongs to another browser",
                   "Allow cookies for this address, go back to Lumivane and start the login "
                   "again in this browser.");
}

HttpResponse notUnderstood() {
    return trouble(400, "This answer was not understood",
                   "Go back to Lumivane and start the login again.");
}

HttpResponse misdirected() {
    return trouble(421, "This is not the service's own address",
                   "Go back to Lumivane and start the login again.");
}

void addCookie(HttpResponse& response, std::string cookie) {
    response.headers.emplace_back("Set-Cookie", std::move(cookie));
}

// What a request is about, once it is known to come from the browser that the login belongs to.
struct Visit {
    LoginTransaction transaction;
    LoginAttempt attempt;
    IdentityProvider* provider = nullptr;
    std::string requestId;
};

std::string headerText(const std::optional<std::string>& header) { return header.value_or(""); }

Visit visitFor(const LoginService& service, LoginTransaction transaction, const std::string& secret,
               const RequestHead& head, const std::string& base) {
    Visit visit;
    visit.provider = service.find(transaction.provider);
    visit.attempt = attemptFrom(transaction.id, secret);
    visit.attempt.intent = transaction.intent;
    visit.attempt.callbackUrl =
        base + "/v1/auth/callback/" + std::string(rawValue(transaction.provider));
    visit.attempt.cookies = headerText(head.cookie);
    visit.attempt.cookieScope = service.origin().cookieScope();
    visit.transaction = std::move(transaction);
    return visit;
}

std::optional<HttpResponse> objection(const LoginService& service,
                                      const std::optional<LoginTransaction>& transaction,
                                      const RequestHead& head) {
    const IdentityProvider* provider = transaction ? service.find(transaction->provider) : nullptr;
    if (provider == nullptr || service.now() >= transaction->expiresAt) {
        return expired();
    }
    // A local page believes what this machine's user says, and a proxy brings somebody else.
    if (provider->answersBy() == AnswersBy::form && head.hasProxyFields) {
        return misdirected();
    }
    if (transaction->browserHash == usedBrowser) {
        return usedUp();
    }
    return std::nullopt;
}

// The secret that this browser holds for the login; none where the login is another browser's.
std::optional<std::string> secretOf(const LoginTransaction& transaction, const RequestHead& head) {
    auto secret = cookieValue(headerText(head.cookie), browserCookieName(transaction.id));
    const bool isOwn = secret && equalInConstantTime(tokenHash(*secret), transaction.browserHash);
    return isOwn ? secret : std::nullopt;
}

boost::asio::awaitable<std::optional<LoginTransaction>> load(LoginService& service,
                                                             std::string id) {
    if (!isServiceToken(id)) {
        co_return std::nullopt;
    }
    auto work = [id](soci::session& sql) { return findTransaction(sql, id); };
    auto loading = service.inDatabase(std::move(work));
    co_return co_await std::move(loading);
}

boost::asio::awaitable<bool> change(LoginService& service, std::string id, std::string from,
                                    std::string to) {
    auto work = [id, from, to](soci::session& sql) { return changeBrowser(sql, id, from, to); };
    auto changing = service.inDatabase(std::move(work));
    co_return co_await std::move(changing);
}

HttpResponse beginning(const LoginService& service, const Visit& visit, const std::string& secret) {
    LoginStep step = visit.provider->begin(visit.attempt);
    HttpResponse response;
    if (auto* redirect = std::get_if<LoginRedirect>(&step)) {
        response = redirectResponse(std::move(redirect->url));
    } else {
        response = htmlResponse(std::get<HtmlPage>(std::move(step)));
    }
    const auto left =
        std::chrono::ceil<std::chrono::seconds>(visit.transaction.expiresAt - service.now());
    addCookie(response, setCookie(browserCookieName(visit.transaction.id), secret, left,
                                  service.origin().cookieScope()));
    return response;
}

HttpResponse returning(const LoginService& service, const Visit& visit, BrowserEnd end,
                       std::string_view value, std::vector<std::string> cookies) {
    const std::string_view name = end == BrowserEnd::confirmed ? "handoff_code" : "error";
    std::string url(programScheme);
    url.append("//callback?transaction_id=").append(percentEncoded(visit.transaction.id));
    url.append("&").append(name).append("=").append(percentEncoded(value));
    HttpResponse response = htmlResponse(returnPage(url, end));
    response.headers.emplace_back("Location", std::move(url));
    for (std::string& cookie : cookies) {
        addCookie(response, std::move(cookie));
    }
    addCookie(response, setCookie(browserCookieName(visit.transaction.id), "", {},
                                  service.origin().cookieScope()));
    return response;
}

// The login that a request goes on with, or what is said instead.
boost::asio::awaitable<std::variant<Visit, HttpResponse>> visitOf(LoginService& service,
                                                                  std::string id, RequestHead head,
                                                                  std::string requestId,
                                                                  std::string base) {
    auto loading = load(service, std::move(id));
    std::optional<LoginTransaction> transaction = co_await std::move(loading);
    if (auto refused = objection(service, transaction, head)) {
        co_return *std::move(refused);
    }
    const auto secret = secretOf(*transaction, head);
    if (!secret) {
        co_return otherBrowser();
    }
    Visit visit = visitFor(service, *std::move(transaction), *secret, head, base);
    visit.requestId = std::move(requestId);
    co_return visit;
}

// From here on the way through is used up, so that nothing can be brought back twice.
boost::asio::awaitable<HttpResponse> finish(LoginService& service, Visit visit, FormFields fields) {
    auto claiming = change(service, visit.transaction.id, visit.transaction.browserHash,
                           std::string(usedBrowser));
    const bool isFirst = co_await std::move(claiming);
    if (!isFirst) {
        co_return usedUp();
    }
    auto finishing = visit.provider->finish(visit.attempt, std::move(fields));
    LoginFinish finish = co_await std::move(finishing);
    const auto* failure = std::get_if<LoginFailure>(&finish.result);
    service.report({visit.provider->provider(),
                    failure != nullptr ? std::optional(*failure) : std::nullopt, visit.requestId});
    if (failure != nullptr) {
        co_return returning(service, visit, BrowserEnd::notFinished, rawValue(failure->refusal),
                            std::move(finish.cookies));
    }
    const std::string handoff = makeToken();
    auto work = [id = visit.transaction.id, identity = std::get<ProvedIdentity>(finish.result),
                 hash = tokenHash(handoff), expiry = service.now() + service.lifetimes().handoff](
                    soci::session& sql) { keepProvedIdentity(sql, id, identity, hash, expiry); };
    auto keeping = service.inDatabase(std::move(work));
    co_await std::move(keeping);
    co_return returning(service, visit, BrowserEnd::confirmed, handoff, std::move(finish.cookies));
}

} // namespace

Answer open(LoginService& service, HttpRequest request) {
    const auto base = service.origin().baseFor(request.head);
    if (!base) {
        co_return misdirected();
    }
    auto loading = load(service, request.pathParameter);
    std::optional<LoginTransaction> transaction = co_await std::move(loading);
    if (auto refused = objection(service, transaction, request.head)) {
        co_return *std::move(refused);
    }
    // Whoever only looks must not take the login from the browser that means it.
    if (request.head.method == HttpMethod::head) {
        co_return HttpResponse();
    }
    std::optional<std::string> secret;
    if (transaction->browserHash == unboundBrowser) {
        secret = makeToken();
        auto binding =
            change(service, transaction->id, std::string(unboundBrowser), tokenHash(*secret));
        const bool isFirst = co_await std::move(binding);
        secret = isFirst ? secret : std::nullopt;
    } else {
        secret = secretOf(*transaction, request.head);
    }
    if (!secret) {
        co_return otherBrowser();
    }
    const Visit visit = visitFor(service, *std::move(transaction), *secret, request.head, *base);
    co_return beginning(service, visit, *secret);
}

Answer submit(LoginService& service, HttpRequest request) {
    const auto base = service.origin().baseFor(request.head);
    auto fields = FormFields::decode(request.body);
    if (!base) {
        co_return misdirected();
    }
    auto visiting = visitOf(service, request.pathParameter, request.head, request.requestId, *base);
    auto found = co_await std::move(visiting);
    if (auto* refused = std::get_if<HttpResponse>(&found)) {
        co_return std::move(*refused);
    }
    Visit visit = std::get<Visit>(std::move(found));
    const bool isOurForm =
        fields && visit.provider->answersBy() == AnswersBy::form &&
        equalInConstantTime(fields->find("form_token").value_or(""), visit.attempt.formToken);
    if (!isOurForm) {
        co_return notUnderstood();
    }
    if (auto page = visit.provider->reconsider(visit.attempt, *fields)) {
        co_return htmlResponse(*std::move(page));
    }
    auto finishing = finish(service, std::move(visit), *std::move(fields));
    co_return co_await std::move(finishing);
}

Answer comeBack(LoginService& service, HttpRequest request) {
    const auto base = service.origin().baseFor(request.head);
    auto fields = FormFields::decode(queryOf(request.head.target));
    if (!base) {
        co_return misdirected();
    }
    const std::string state(fields ? fields->find("state").value_or("") : "");
    const auto id = transactionOfState(state);
    if (!id || request.head.method == HttpMethod::head) {
        co_return notUnderstood();
    }
    auto visiting = visitOf(service, *id, request.head, request.requestId, *base);
    auto found = co_await std::move(visiting);
    if (auto* refused = std::get_if<HttpResponse>(&found)) {
        co_return std::move(*refused);
    }
    Visit visit = std::get<Visit>(std::move(found));
    const bool isOurs = visit.provider->answersBy() == AnswersBy::redirect &&
                        request.pathParameter == rawValue(visit.transaction.provider) &&
                        equalInConstantTime(state, visit.attempt.state);
    if (!isOurs) {
        co_return notUnderstood();
    }
    auto finishing = finish(service, std::move(visit), *std::move(fields));
    co_return co_await std::move(finishing);
}

} // namespace lumivane::service::BrowserEndpoints
