#include "server/application/LumivaneService.h"

#include "server/accounts/AccountRoutes.h"
#include "server/accounts/ExpiredRows.h"
#include "server/accounts/SessionAuthorizer.h"
#include "server/application/AnalysisRoutes.h"
#include "server/application/ConfiguredEngine.h"
#include "server/application/ConfiguredLogins.h"
#include "server/application/EventLog.h"
#include "server/application/OperationRoutes.h"
#include "server/application/RouteRates.h"
#include "server/http/HttpServer.h"
#include "server/profile/ProfileRoutes.h"
#include "server/store/Database.h"
#include "server/work/WorkLoad.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

// Calls of the database wait for disks and for each other, analyses for nothing but the processor.
constexpr std::size_t storeThreads = 8;
constexpr std::size_t analysisThreads = 2;
constexpr std::chrono::minutes expiryInterval{10};

DatabaseSettings databaseSettings(const AccountConfiguration& accounts) {
    DatabaseSettings settings;
    settings.location = accounts.databaseLocation;
    settings.connections = storeThreads;
    return settings;
}

SessionSettings sessionSettings(const AccountConfiguration& accounts) {
    SessionSettings settings;
    settings.accessLifetime = accounts.accessTokenLifetime;
    settings.refreshLifetime = accounts.refreshTokenLifetime;
    return settings;
}

void append(std::vector<Route>& routes, std::vector<Route> more) {
    std::move(more.begin(), more.end(), std::back_inserter(routes));
}

void addLoad(ServerMetrics& metrics, const std::string& pool, WorkLoad& load) {
    metrics.addGauge("lumivane_" + pool + "_waiting", "Work that waits for a thread.",
                     [&load] { return static_cast<double>(load.waiting()); });
    metrics.addGauge("lumivane_" + pool + "_running", "Work on a thread.",
                     [&load] { return static_cast<double>(load.running()); });
}

} // namespace

std::string serviceUrl(const std::string& address, std::uint16_t port) {
    const bool isLiteral = address.find(':') != std::string::npos;
    const std::string host = isLiteral ? "[" + address + "]" : address;
    return "http://" + host + ":" + std::to_string(port);
}

struct LumivaneService::Parts {
    Parts(asio::io_context& networkContext, const ServiceConfiguration& chosen, LogWriter log)
        : context(networkContext)
        , configuration(chosen)
        , events(log)
        , database(Database::open(databaseSettings(chosen.accounts),
                                  [this](const StoreError& error) { events.storeFailed(error); }))
        , accounts(makeAccountServices(*database, clock, sessionSettings(chosen.accounts),
                                       makeLimiter(chosen.accounts.refreshesPerMinute)))
        , profiles(*database, clock)
        , upstream(makeHttpUpstreamTransport())
        , logins(
              makeConfiguredLogins(chosen,
                                   {*database, clock, *upstream, storePool,
                                    [this](const LoginEvent& event) { events.loginEnded(event); }},
                                   sessionSettings(chosen.accounts)))
        , engine(makeConfiguredEngine(chosen, *upstream, analysisPool))
        , sessions(*database, clock, storePool)
        , server(networkContext, Router(sessions, routes()), ServerLimits{}, std::move(log),
                 &metrics,
                 chosen.accounts.isBehindProxy ? ForwardedAddress::believed
                                               : ForwardedAddress::ignored) {
        events.addTo(metrics);
        addLoad(metrics, "store", WorkLoad::of(storePool));
        addLoad(metrics, "analysis", WorkLoad::of(analysisPool));
    }

    ~Parts() {
        storePool.join();
        analysisPool.join();
    }

    std::vector<Route> routes() {
        auto all = operationRoutes(metrics, [this] { return engine->answersLeetCode(); });
        append(all, analysisRoutes(*engine, analysisPool));
        append(all, accountRoutes(accounts, storePool));
        append(all, profileRoutes(profiles, storePool));
        append(all, loginRoutes(*logins));
        setRouteRates(all, configuration.accounts);
        return all;
    }

    asio::io_context& context;
    ServiceConfiguration configuration;
    SystemWallClock clock;
    ServerMetrics metrics;
    EventLog events;
    std::unique_ptr<Database> database;
    AccountServices accounts;
    ProfileServices profiles;
    asio::thread_pool storePool{storeThreads};
    asio::thread_pool analysisPool{analysisThreads};
    std::unique_ptr<UpstreamTransport> upstream;
    std::unique_ptr<LoginService> logins;
    std::unique_ptr<AnalysisEngine> engine;
    SessionAuthorizer sessions;
    HttpServer server;
    asio::cancellation_signal stopping;
};

LumivaneService::LumivaneService(asio::io_context& context,
                                 const ServiceConfiguration& configuration, LogWriter log)
    : m_parts(std::make_unique<Parts>(context, configuration, std::move(log))) {}

LumivaneService::~LumivaneService() = default;

void LumivaneService::start() {
    Parts& parts = *m_parts;
    ListenAddress address;
    address.address = parts.configuration.address;
    address.port = parts.configuration.port;
    if (parts.configuration.accounts.isBehindProxy) {
        address.reach = ListenAddress::Reach::anyAddress;
    }
    parts.server.listen(address);
    if (parts.logins->providers().empty()) {
        parts.events.noLogins();
    }
    refreshHandleFilter(parts.profiles, parts.storePool);
    auto deleting =
        keepDeletingExpiredRows(*parts.database, parts.clock, parts.storePool, expiryInterval);
    // It ends by being cancelled, which is no failure.
    asio::co_spawn(
        parts.context, std::move(deleting),
        asio::bind_cancellation_slot(parts.stopping.slot(), [](const std::exception_ptr&) {}));
}

std::uint16_t LumivaneService::port() const { return m_parts->server.port(); }

void LumivaneService::stop() {
    asio::post(m_parts->context,
               [this] { m_parts->stopping.emit(asio::cancellation_type::terminal); });
    m_parts->server.stop();
}

} // namespace lumivane::service
