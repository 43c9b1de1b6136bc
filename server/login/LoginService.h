#pragma once

#include "server/http/Router.h"
#include "server/login/IdentityProvider.h"
#include "server/login/LoginCompletion.h"
#include "server/login/LoginSettings.h"
#include "server/login/LoginTransactions.h"
#include "server/login/ServiceOrigin.h"
#include "server/store/Database.h"
#include "server/upstream/UpstreamTransport.h"
#include "server/work/WorkPool.h"

#include <functional>
#include <memory>
#include <vector>

namespace lumivane::service {

/// One login that came back from its provider, for those who watch the service.
struct LoginEvent {
    AuthProvider provider = AuthProvider::github;
    std::optional<LoginFailure> failure; ///< none where the user has proved who they are
    std::string requestId;
};

/// What logins stand on. All of it must outlive the service.
struct LoginDependencies {
    Database& database;
    const WallClock& clock;
    UpstreamTransport& upstream;
    boost::asio::thread_pool& pool;
    /// Told of every login on the network thread.
    std::function<void(const LoginEvent&)> report = [](const LoginEvent&) {};
};

/// What all of a login's endpoints share: providers, settings and the way to the database. Never
/// changes; any thread, but for the providers' own operations.
class LoginService {
public:
    /// Throws LoginSettingsError where providers are set up wrongly, or users of other machines
    /// could not be led back.
    LoginService(LoginDependencies dependencies, SessionIssuer issuer,
                 const LoginSettings& settings, LoginLifetimes lifetimes = {});

    /// In the order of the set.
    std::vector<AuthProvider> providers() const;

    UsableLogins usableLogins() const;

    /// None for one that nobody can log in with here.
    IdentityProvider* find(AuthProvider provider) const;

    const ServiceOrigin& origin() const { return m_origin; }

    const LoginCompletion& completion() const { return m_completion; }

    const LoginLifetimes& lifetimes() const { return m_lifetimes; }

    void report(const LoginEvent& event) const { m_dependencies.report(event); }

    WallTime now() const { return m_dependencies.clock.now(); }

    boost::asio::thread_pool& pool() const { return m_dependencies.pool; }

    /// Runs `work(soci::session&)` in one transaction, blocking. Two logins that collide in a rule
    /// of the schema, as two first ones of one person, are tried again. Throws StoreError. Any
    /// thread but the network's.
    template <typename Work>
    std::invoke_result_t<Work&, soci::session&> transact(Work work) {
        for (int attempt = 1;; ++attempt) {
            try {
                return m_dependencies.database.transact(work);
            } catch (const StoreError& error) {
                if (error.errorCase() != StoreError::Case::conflict || attempt == mostAttempts) {
                    throw;
                }
            }
        }
    }

    /// The same on the pool, for the network thread.
    template <typename Work>
    boost::asio::awaitable<std::invoke_result_t<Work&, soci::session&>> inDatabase(Work work) {
        auto run = [this, work = std::move(work)] { return transact(work); };
        auto running = runOnWorkPool(m_dependencies.pool, std::move(run));
        co_return co_await std::move(running);
    }

private:
    static constexpr int mostAttempts = 3;

    LoginDependencies m_dependencies;
    LoginLifetimes m_lifetimes;
    LoginCompletion m_completion;
    ServiceOrigin m_origin;
    std::vector<std::unique_ptr<IdentityProvider>> m_providers;
};

/// The routes of logging in: providers, transactions, complete, identities, account, and the
/// browser's pages under /v1/auth/login and /v1/auth/callback. The service must outlive them.
std::vector<Route> loginRoutes(LoginService& service);

} // namespace lumivane::service
