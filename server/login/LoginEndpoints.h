#pragma once

#include "server/login/LoginService.h"

namespace lumivane::service {

/// What the program asks for, each an operation of one request. They block on the database and
/// throw AccountError and StoreError: to be called through `answerOnPool`. Any thread; the service
/// must outlive them.
namespace LoginEndpoints {

HttpResponse providers(LoginService& service, const HttpRequest& request);
HttpResponse createTransaction(LoginService& service, const HttpRequest& request);
HttpResponse complete(LoginService& service, const HttpRequest& request);
HttpResponse unlink(LoginService& service, const HttpRequest& request);
HttpResponse deleteAccount(LoginService& service, const HttpRequest& request);

} // namespace LoginEndpoints

/// What the browser is shown on its way. All answer with pages and redirects, and throw StoreError.
/// For the network thread alone.
namespace BrowserEndpoints {

using Answer = boost::asio::awaitable<HttpResponse>;

/// Opens a login: binds it to this browser and leads to the provider or the local page.
Answer open(LoginService& service, HttpRequest request);

/// Takes the local page's form.
Answer submit(LoginService& service, HttpRequest request);

/// Takes the browser that a provider sends back.
Answer comeBack(LoginService& service, HttpRequest request);

} // namespace BrowserEndpoints

} // namespace lumivane::service
