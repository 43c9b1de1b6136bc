#include "server/http/ErrorEnvelope.h"
#include "server/login/LoginEndpoints.h"
#include "server/login/LoginPages.h"

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

using Operation = asio::awaitable<HttpResponse> (*)(LoginService& service, HttpRequest request);

enum class Form { json, page };

HttpResponse storageFailure(Form form, const std::string& requestId) {
    if (form == Form::json) {
        return refusalResponse(storageUnavailable(), requestId);
    }
    HttpResponse response =
        htmlResponse(troublePage(503, "Login is temporarily unavailable",
                                 "Wait a moment, go back to Lumivane and start the login again."));
    response.headers.emplace_back("Retry-After", "1");
    return response;
}

asio::awaitable<HttpResponse> guarded(LoginService& service, Operation operation, Form form,
                                      HttpRequest request) {
    const std::string requestId = request.requestId;
    try {
        auto answering = operation(service, std::move(request));
        co_return co_await std::move(answering);
    } catch (const StoreError&) {
    }
    co_return storageFailure(form, requestId);
}

asio::awaitable<HttpResponse> answerProviders(LoginService& service, HttpRequest) {
    return LoginEndpoints::providers(service);
}

Route route(LoginService& service, std::string name, HttpMethod method, std::string path,
            Operation operation, Form form) {
    Route result;
    result.name = std::move(name);
    result.method = method;
    result.path = std::move(path);
    result.access = Access::open;
    result.bodyBytes = 16 * 1024;
    result.handler = [&service, operation, form](HttpRequest request) {
        return guarded(service, operation, form, std::move(request));
    };
    return result;
}

} // namespace

Refusal storageUnavailable() {
    return {503, "storage_unavailable", "The service cannot reach its data. Try again shortly."};
}

std::vector<Route> loginRoutes(LoginService& service) {
    std::vector<Route> routes;
    routes.push_back(route(service, "auth_providers", HttpMethod::get, "/v1/auth/providers",
                           answerProviders, Form::json));
    routes.push_back(route(service, "auth_transactions", HttpMethod::post, "/v1/auth/transactions",
                           LoginEndpoints::createTransaction, Form::json));
    routes.back().access = Access::optionalSession;
    routes.back().bodyRule = BodyRule::json;
    routes.push_back(route(service, "auth_complete", HttpMethod::post, "/v1/auth/complete",
                           LoginEndpoints::complete, Form::json));
    routes.back().bodyRule = BodyRule::json;
    routes.push_back(route(service, "auth_unlink", HttpMethod::remove, "/v1/auth/identities/{}",
                           LoginEndpoints::unlink, Form::json));
    routes.back().access = Access::session;
    routes.push_back(route(service, "account_delete", HttpMethod::remove, "/v1/account",
                           LoginEndpoints::deleteAccount, Form::json));
    routes.back().access = Access::session;
    routes.back().bodyRule = BodyRule::json;
    routes.push_back(route(service, "login_open", HttpMethod::get, "/v1/auth/login/{}",
                           BrowserEndpoints::open, Form::page));
    routes.push_back(route(service, "login_submit", HttpMethod::post, "/v1/auth/login/{}",
                           BrowserEndpoints::submit, Form::page));
    routes.back().bodyRule = BodyRule::form;
    routes.push_back(route(service, "login_callback", HttpMethod::get, "/v1/auth/callback/{}",
                           BrowserEndpoints::comeBack, Form::page));
    return routes;
}

} // namespace lumivane::service
