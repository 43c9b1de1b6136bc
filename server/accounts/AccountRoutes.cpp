#include "server/accounts/AccountRoutes.h"

#include "server/accounts/AnswerOnPool.h"
#include "server/accounts/SessionRecords.h"

#include <boost/json/serialize.hpp>

namespace lumivane::service {

namespace {

using Answer = std::function<HttpResponse(AccountServices& services, const HttpRequest& request)>;

HttpResponse refresh(AccountServices& services, const HttpRequest& request) {
    return jsonResponse(encodeLogin(services.tokens.refresh(decodeRefreshRequest(request.body))));
}

HttpResponse revoke(AccountServices& services, const HttpRequest& request) {
    services.tokens.revoke(decodeRevocation(request.body));
    return emptyResponse();
}

HttpResponse logout(AccountServices& services, const HttpRequest& request) {
    services.directory.signOut(*request.principal);
    return emptyResponse();
}

HttpResponse me(AccountServices& services, const HttpRequest& request) {
    const UserSummary user = services.directory.user(*request.principal);
    return jsonResponse(boost::json::serialize(encodeUser(user)));
}

HttpResponse devices(AccountServices& services, const HttpRequest& request) {
    return jsonResponse(
        encodeDevices(services.directory.devices(*request.principal), request.principal->deviceId));
}

HttpResponse takeover(AccountServices& services, const HttpRequest& request) {
    const DeviceRegistration device = decodeTakeover(request.body);
    return jsonResponse(encodeLogin(services.takeover.takeOver(*request.bearer, device)));
}

} // namespace

AccountServices makeAccountServices(Database& database, const WallClock& clock,
                                    const SessionSettings& settings,
                                    std::shared_ptr<RateLimiter> refreshLimiter) {
    const TokenDerivation derivation = TokenDerivation::load(database);
    return {TokenExchange(database, derivation, clock, settings, std::move(refreshLimiter)),
            DeviceTakeover(database, derivation, clock, settings),
            SessionDirectory(database, clock)};
}

std::vector<Route> accountRoutes(AccountServices& services, boost::asio::thread_pool& pool) {
    const auto route = [&](const char* name, HttpMethod method, Access access, BodyRule body,
                           Answer answer) {
        Route made;
        made.name = name;
        made.method = method;
        made.path = std::string("/v1/auth/") + name;
        made.access = access;
        made.bodyRule = body;
        made.bodyBytes = 16UL * 1024UL;
        made.handler = [&services, &pool, answer = std::move(answer)](HttpRequest request) {
            std::string id = request.requestId;
            auto work = [&services, answer, request = std::move(request)] {
                return answer(services, request);
            };
            return answerOnPool(pool, std::move(id), std::move(work));
        };
        return made;
    };
    using enum HttpMethod;
    return {route("refresh", post, Access::open, BodyRule::json, refresh),
            route("revoke", post, Access::open, BodyRule::json, revoke),
            route("logout", post, Access::session, BodyRule::none, logout),
            route("me", get, Access::session, BodyRule::none, me),
            route("devices", get, Access::session, BodyRule::none, devices),
            route("takeover", post, Access::credential, BodyRule::json, takeover)};
}

} // namespace lumivane::service
