#include "server/accounts/AccountError.h"
#include "server/accounts/AnswerOnPool.h"
#include "server/login/LoginEndpoints.h"
#include "server/login/LoginPages.h"
#include "server/store/StoreError.h"

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

using Operation = HttpResponse (*)(LoginService& service, const HttpRequest& request);
using PageOperation = asio::awaitable<HttpResponse> (*)(LoginService& service, HttpRequest request);

constexpr std::uint64_t bodyBytes = 16 * 1024;

// What a person reads where a program would get the envelope.
HtmlPage troublePageOf(const Refusal& refusal) {
    if (refusal.status == 429) {
        const std::string seconds = std::to_string(refusal.retryAfter.count());
        return troublePage(429, "Too many logins from this network",
                           "Wait " + seconds + " s and load this page again.");
    }
    if (refusal.status >= 500) {
        return troublePage(refusal.status, "Login is temporarily unavailable",
                           "Wait a moment, go back to Lumivane and start the login again.");
    }
    return troublePage(refusal.status, "The service cannot take this request",
                       "Go back to Lumivane and start the login again.");
}

HttpResponse refusalPage(const Refusal& refusal, std::string_view /*requestId*/) {
    HttpResponse response = htmlResponse(troublePageOf(refusal));
    addRefusalHeaders(response, refusal);
    return response;
}

asio::awaitable<HttpResponse> answerWithPage(LoginService& service, PageOperation operation,
                                             HttpRequest request) {
    try {
        auto answering = operation(service, std::move(request));
        co_return co_await std::move(answering);
    } catch (const StoreError&) {
    }
    co_return refusalPage(storageUnavailable(), {});
}

Route openRoute(std::string name, HttpMethod method, std::string path, BodyRule bodyRule) {
    Route route;
    route.name = std::move(name);
    route.method = method;
    route.path = std::move(path);
    route.access = Access::open;
    route.bodyRule = bodyRule;
    route.bodyBytes = bodyBytes;
    return route;
}

Handler onPool(LoginService& service, Operation operation) {
    return [&service, operation](HttpRequest request) {
        std::string requestId = request.requestId;
        auto work = [&service, operation, request = std::move(request)] {
            return operation(service, request);
        };
        return answerOnPool(service.pool(), std::move(requestId), std::move(work));
    };
}

Handler withPage(LoginService& service, PageOperation operation) {
    return [&service, operation](HttpRequest request) {
        return answerWithPage(service, operation, std::move(request));
    };
}

} // namespace

std::vector<Route> loginRoutes(LoginService& service) {
    using enum HttpMethod;
    using enum BodyRule;
    std::vector<Route> routes;
    const auto add = [&routes](Route route, Handler handler) -> Route& {
        route.handler = std::move(handler);
        return routes.emplace_back(std::move(route));
    };
    add(openRoute("auth_providers", get, "/v1/auth/providers", none),
        onPool(service, LoginEndpoints::providers));
    add(openRoute("auth_transactions", post, "/v1/auth/transactions", json),
        onPool(service, LoginEndpoints::createTransaction))
        .access = Access::optionalSession;
    add(openRoute("auth_complete", post, "/v1/auth/complete", json),
        onPool(service, LoginEndpoints::complete));
    add(openRoute("auth_unlink", remove, "/v1/auth/identities/{}", none),
        onPool(service, LoginEndpoints::unlink))
        .access = Access::session;
    add(openRoute("account_delete", remove, "/v1/account", json),
        onPool(service, LoginEndpoints::deleteAccount))
        .access = Access::session;
    const auto addPage = [&add, &service](Route route, PageOperation operation) {
        add(std::move(route), withPage(service, operation)).refusalForm = refusalPage;
    };
    addPage(openRoute("login_open", get, "/v1/auth/login/{}", none), BrowserEndpoints::open);
    addPage(openRoute("login_submit", post, "/v1/auth/login/{}", form), BrowserEndpoints::submit);
    addPage(openRoute("login_callback", get, "/v1/auth/callback/{}", none),
            BrowserEndpoints::comeBack);
    return routes;
}

} // namespace lumivane::service
