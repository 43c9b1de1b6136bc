#pragma once

#include "server/http/BearerToken.h"
#include "server/http/HttpMessage.h"

#include <boost/asio/awaitable.hpp>

#include <functional>
#include <string>
#include <variant>
#include <vector>

namespace lumivane::service {

/// Who may use a route.
enum class Access { open, bearer };

/// What a route takes.
enum class BodyRule { none, json };

/// Whether the client's going away is watched for while the handler works.
enum class Waiting { brief, watched };

/// Answers one request on the network thread. It may throw: the caller answers 500.
using Handler = std::function<boost::asio::awaitable<HttpResponse>(HttpRequest request)>;

struct Route {
    std::string name; ///< for logs
    HttpMethod method = HttpMethod::get;
    std::string path; ///< compared byte for byte
    Access access = Access::bearer;
    BodyRule bodyRule = BodyRule::none;
    Waiting waiting = Waiting::brief;
    Handler handler;
};

/// What became of a request whose header is known: the route that takes it, or a refusal.
struct Admission {
    const Route* route = nullptr; ///< also set with a refusal once the path is known
    std::optional<HttpResponse> refusal;
};

/// The table of routes. It judges a request by its header alone, so that nobody without a token
/// can make the service read a body.
class Router {
public:
    Router(BearerToken token, std::vector<Route> routes);

    /// In this order: 404, 405 with Allow, 401 with WWW-Authenticate, 415, 417. A GET route takes
    /// HEAD as well. The routes live as long as the router.
    Admission admit(const RequestHead& head, std::string_view requestId) const;

private:
    const Route* find(const RequestHead& head, std::string& allowed) const;
    std::optional<HttpResponse> refuse(const Route& route, const RequestHead& head,
                                       std::string_view requestId) const;

    BearerToken m_token;
    std::vector<Route> m_routes;
};

/// Whether a Content-Type header names JSON, in UTF-8 where it says a character set.
bool namesJson(std::string_view contentType);

} // namespace lumivane::service
