#include "server/accounts/AnswerOnPool.h"
#include "server/login/LoginEndpoints.h"
#include "server/login/LoginPages.h"

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

using Operation = HttpResponse (*)(LoginService& service, const HttpRequest& request);
using PageOperation = asio::awaitable<HttpResponse> (*)(LoginService& service, HttpRequest request);

constexpr std::uint64_t bodyBytes = 16 * 1024;

HttpResponse storageFailurePage() {
    HttpResponse response =
        htmlResponse(troublePage(503, "Login is temporarily unavailable",
                                 "Wait a moment, go back to Lumivane and start the login again."));
    response.headers.emplace_back("Retry-After", "1");
    return response;
}

asio::awaitable<HttpResponse> answerWithPage(LoginService& service, PageOperation operation,
                                             HttpRequest request) {
    try {
        auto answering = operation(service, std::move(request));
        co_return co_await std::move(answering);
    } catch (const StoreError&) {
    }
    co_return storageFailurePage();
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
    add(openRoute("login_open", get, "/v1/auth/login/{}", none),
        withPage(service, BrowserEndpoints::open));
    add(openRoute("login_submit", post, "/v1/auth/login/{}", form),
        withPage(service, BrowserEndpoints::submit));
    add(openRoute("login_callback", get, "/v1/auth/callback/{}", none),
        withPage(service, BrowserEndpoints::comeBack));
    return routes;
}

} // namespace lumivane::service
