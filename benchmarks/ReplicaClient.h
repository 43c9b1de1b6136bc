#pragma once

#include "SeededAccounts.h"
#include "ServiceLoad.h"

#include <array>
#include <atomic>
#include <random>
#include <string>

namespace lumivane::bench {

/// What all clients together did, to be compared with the database afterwards.
struct ReplicaTally {
    std::atomic<long> exchanges = 0; ///< refreshes that took place, however often asked for
    std::atomic<long> takeovers = 0; ///< tickets that were used
    std::atomic<long> requests = 0;
    std::atomic<long> again = 0;  ///< requests that had to be asked again: 503, or no answer
    std::atomic<long> broken = 0; ///< answers that break a promise
};

/// One person's program on a bad network, who refreshes and moves between machines while two
/// replicas serve them: it repeats what it asked, drops connections before the answer, and asks
/// both replicas at once. One thread each.
class ReplicaClient {
public:
    ReplicaClient(std::array<int, 2> ports, SeededAccounts& accounts, ReplicaTally& tally,
                  int number);

    /// Does one thing of those below, by chance.
    void step();

    const SeededSession& session() const { return m_session; }

private:
    void refresh();         ///< plainly, on either replica
    void repeat();          ///< the same exchange on both replicas at once
    void drop();            ///< the answer is lost, the exchange asked again elsewhere
    void race();            ///< two exchanges of one token at once: the session must end
    void takeOver();        ///< another machine, its ticket used on both replicas at once
    void raceForTakeOver(); ///< two other machines at once: one of them holds the account then

    std::string exchange(const std::string& operation) const;
    std::string takeoverBytes(const service::TakeoverOffer& offer,
                              const service::DeviceRegistration& device) const;
    LoadAnswer persist(int replica, const std::string& request);
    std::array<LoadAnswer, 2> both(const std::string& first, const std::string& second);
    service::TakeoverOffer offerTo(const service::DeviceRegistration& device);
    bool adopt(const LoadAnswer& answer);
    void logInAgain();
    void expect(bool isKept);

    int either() { return static_cast<int>(m_random() % 2); }

    std::array<int, 2> m_ports;
    SeededAccounts& m_accounts;
    ReplicaTally& m_tally;
    SeededSession m_session;
    std::mt19937_64 m_random;
};

} // namespace lumivane::bench
