#pragma once

#include "server/login/LoginService.h"

namespace lumivane::service {

/// What the program asks for, each an operation of one request. All answer in JSON; the database's
/// failures become 503 "storage_unavailable". For the network thread alone; the service must
/// outlive them.
namespace LoginEndpoints {

using Answer = boost::asio::awaitable<HttpResponse>;

Answer providers(LoginService& service);
Answer createTransaction(LoginService& service, HttpRequest request);
Answer complete(LoginService& service, HttpRequest request);
Answer unlink(LoginService& service, HttpRequest request);
Answer deleteAccount(LoginService& service, HttpRequest request);

} // namespace LoginEndpoints

/// What the browser is shown on its way. All answer with pages and redirects.
namespace BrowserEndpoints {

using Answer = boost::asio::awaitable<HttpResponse>;

/// Opens a login: binds it to this browser and leads to the provider or the local page.
Answer open(LoginService& service, HttpRequest request);

/// Takes the local page's form.
Answer submit(LoginService& service, HttpRequest request);

/// Takes the browser that a provider sends back.
Answer comeBack(LoginService& service, HttpRequest request);

} // namespace BrowserEndpoints

/// What is said where the database cannot be used.
Refusal storageUnavailable();

} // namespace lumivane::service
