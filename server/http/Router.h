#pragma once

#include "server/http/Authorizer.h"
#include "server/http/ErrorEnvelope.h"
#include "server/http/HttpMessage.h"
#include "server/http/RateLimiter.h"
#include "server/http/WorkLimiter.h"

#include <boost/asio/awaitable.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace lumivane::service {

/// Who may use a route.
enum class Access {
    open,            ///< nobody is asked for a token
    session,         ///< a valid access token; HttpRequest::principal is set
    optionalSession, ///< as `session` when there is an Authorization header at all, else as `open`
    credential       ///< some bearer token, which the handler itself judges
};

/// What a route takes: nothing, application/json, or application/x-www-form-urlencoded.
enum class BodyRule { none, json, form };

/// Whether the client's going away is watched for while the handler works.
enum class Waiting { brief, watched };

/// How often a route may be asked for, and whom that is counted by. Addresses are counted before
/// the token is judged, accounts after it.
struct RouteRate {
    enum class Key { clientAddress, account };

    std::shared_ptr<RateLimiter> limiter; ///< none: as often as one likes
    Key key = Key::clientAddress;
};

/// Answers one request on the network thread. It may throw: the caller answers 500.
using Handler = std::function<boost::asio::awaitable<HttpResponse>(HttpRequest request)>;

/// How a route's refusals and failures are put: the envelope, or a page for a person's browser.
using RefusalForm = HttpResponse (*)(const Refusal& refusal, std::string_view requestId);

struct Route {
    std::string name; ///< for logs
    HttpMethod method = HttpMethod::get;
    std::string path; ///< compared byte for byte; "/{}" at its end takes one segment of any name
    Access access = Access::session;
    BodyRule bodyRule = BodyRule::none;
    std::uint64_t bodyBytes = 64 * 1024; ///< at most, and never more than the server's own limit
    Waiting waiting = Waiting::brief;
    RouteRate rate = {};
    std::shared_ptr<WorkLimiter> workLimiter; ///< by account; none: as many at once as one likes
    RefusalForm refusalForm = refusalResponse;
    Handler handler;
};

/// What became of a request whose header is known: the route that takes it, or a refusal.
struct Admission {
    const Route* route = nullptr; ///< also set with a refusal once the path is known
    std::optional<HttpResponse> refusal;
    std::optional<Principal> principal;
    std::optional<std::string> bearer;
    std::string pathParameter;
    WorkLimiter::Place place; ///< to be held until the request is answered
};

/// The table of routes. It judges a request by its header alone, so that nobody without a token
/// can make the service read a body.
///
/// A path parameter is one segment of 1 to 128 letters, digits, "-", ".", "_" and "~"; any other
/// is 404. A path written out goes before one with a parameter.
class Router {
public:
    /// The authorizer must outlive the router, and the routes live as long as it does.
    Router(Authorizer& authorizer, std::vector<Route> routes);

    /// In this order: 404, 405 with Allow, 429 with Retry-After by address, 401 with
    /// WWW-Authenticate or what the authorizer says, 429 by account, 415, 417, 429 for too many at
    /// work. A GET route takes HEAD as well.
    boost::asio::awaitable<Admission> admit(RequestHead head, std::string requestId,
                                            std::string clientAddress) const;

private:
    const Route* find(const RequestHead& head, std::string& allowed) const;
    boost::asio::awaitable<std::optional<Refusal>> authorize(const RequestHead& head,
                                                             Admission& admission) const;

    Authorizer& m_authorizer;
    std::vector<Route> m_routes;
};

/// Whether a Content-Type header names JSON, in UTF-8 where it says a character set.
bool namesJson(std::string_view contentType);

/// The same for application/x-www-form-urlencoded.
bool namesForm(std::string_view contentType);

} // namespace lumivane::service
