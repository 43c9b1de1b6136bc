#include "ReplicaClient.h"

#include <chrono>
#include <thread>

namespace lumivane::bench {

namespace {

constexpr int patience = 200;

bool isFinal(const LoadAnswer& answer) { return answer.status != 0 && answer.status != 503; }

} // namespace

ReplicaClient::ReplicaClient(std::array<int, 2> ports, SeededAccounts& accounts,
                             ReplicaTally& tally, int number)
    : m_ports(ports)
    , m_accounts(accounts)
    , m_tally(tally)
    , m_session(accounts.add("client-" + std::to_string(number)))
    , m_random(static_cast<std::uint64_t>(number)) {}

void ReplicaClient::step() {
    const auto chance = m_random() % 100;
    if (chance < 30) {
        refresh();
    } else if (chance < 55) {
        repeat();
    } else if (chance < 80) {
        drop();
    } else if (chance < 85) {
        race();
    } else if (chance < 93) {
        takeOver();
    } else {
        raceForTakeOver();
    }
}

void ReplicaClient::refresh() {
    expect(adopt(persist(either(), exchange(makeOperation()))));
    ++m_tally.exchanges;
}

void ReplicaClient::repeat() {
    const std::string request = exchange(makeOperation());
    const auto answers = both(request, request);
    expect(answers[0].body == answers[1].body && adopt(answers[0]));
    ++m_tally.exchanges;
}

void ReplicaClient::drop() {
    const std::string request = exchange(makeOperation());
    const int first = either();
    for (auto losses = 1 + m_random() % 3; losses > 0; --losses) {
        const LoadConnection connection(m_ports[static_cast<std::size_t>(first)]);
        connection.send(request);
        ++m_tally.requests;
        if (m_random() % 2 == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(m_random() % 20));
        }
    }
    expect(adopt(persist(1 - first, request)));
    ++m_tally.exchanges;
}

void ReplicaClient::race() {
    const std::string first = exchange(makeOperation());
    const std::string second = exchange(makeOperation());
    const auto answers = both(first, second);
    const int good = (answers[0].status == 200 ? 1 : 0) + (answers[1].status == 200 ? 1 : 0);
    const int refused = (answers[0].status == 401 ? 1 : 0) + (answers[1].status == 401 ? 1 : 0);
    // One that was repeated because its answer was lost may come after the end of the session.
    expect(good <= 1 && good + refused == 2);
    ++m_tally.exchanges;
    logInAgain();
}

void ReplicaClient::takeOver() {
    const service::DeviceRegistration device = makeDevice();
    const service::TakeoverOffer offer = offerTo(device);
    const std::string old = exchange(makeOperation());
    const std::string request = takeoverBytes(offer, device);
    const auto answers = both(request, request);
    expect(answers[0].body == answers[1].body && adopt(answers[0]));
    ++m_tally.takeovers;
    m_session.device = device;
    const LoadAnswer evicted = persist(either(), old);
    expect(evicted.status == 401 && textUnder("code", evicted.body) == "device_evicted");
}

void ReplicaClient::raceForTakeOver() {
    const std::array<service::DeviceRegistration, 2> devices{makeDevice(), makeDevice()};
    const std::string first = takeoverBytes(offerTo(devices[0]), devices[0]);
    const std::string second = takeoverBytes(offerTo(devices[1]), devices[1]);
    const auto answers = both(first, second);
    expect(answers[0].status == 200 && answers[1].status == 200);
    m_tally.takeovers += 2;
    int holders = 0;
    SeededSession holder = m_session;
    for (const std::size_t index : {0U, 1U}) {
        m_session.refreshToken = textUnder("refresh_token", answers[index].body);
        const LoadAnswer answer = persist(either(), exchange(makeOperation()));
        if (adopt(answer)) {
            ++holders;
            ++m_tally.exchanges;
            holder = m_session;
            holder.device = devices[index];
        } else {
            expect(textUnder("code", answer.body) == "device_evicted");
        }
    }
    expect(holders == 1);
    m_session = holder;
}

std::string ReplicaClient::exchange(const std::string& operation) const {
    return requestBytes("POST", "/v1/auth/refresh", {},
                        R"({"refresh_token":")" + m_session.refreshToken + R"(","operation_id":")" +
                            operation + "\"}");
}

std::string ReplicaClient::takeoverBytes(const service::TakeoverOffer& offer,
                                         const service::DeviceRegistration& device) const {
    return requestBytes("POST", "/v1/auth/takeover", offer.ticket,
                        R"({"device_id":")" + device.identifier + R"(","device_name":")" +
                            device.name + R"(","device_kind":")" + device.kind +
                            R"(","device_os":")" + device.osVersion + "\"}");
}

LoadAnswer ReplicaClient::persist(int replica, const std::string& request) {
    LoadAnswer answer;
    for (int attempt = 0; attempt < patience; ++attempt) {
        LoadConnection connection(m_ports[static_cast<std::size_t>((replica + attempt) % 2)]);
        answer = connection.ask(request);
        ++m_tally.requests;
        if (isFinal(answer)) {
            break;
        }
        ++m_tally.again;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return answer;
}

// Both are on their way before the first answer is read.
std::array<LoadAnswer, 2> ReplicaClient::both(const std::string& first, const std::string& second) {
    LoadConnection left(m_ports[0]);
    LoadConnection right(m_ports[1]);
    left.send(first);
    right.send(second);
    m_tally.requests += 2;
    std::array<LoadAnswer, 2> answers{left.read(), right.read()};
    for (const std::size_t index : {0U, 1U}) {
        if (!isFinal(answers[index])) {
            ++m_tally.again;
            answers[index] = persist(static_cast<int>(index), index == 0 ? first : second);
        }
    }
    return answers;
}

service::TakeoverOffer ReplicaClient::offerTo(const service::DeviceRegistration& device) {
    return std::get<service::TakeoverOffer>(m_accounts.logIn(m_session.accountId, device));
}

bool ReplicaClient::adopt(const LoadAnswer& answer) {
    std::string token = textUnder("refresh_token", answer.body);
    if (answer.status != 200 || token.empty()) {
        return false;
    }
    m_session.refreshToken = std::move(token);
    m_session.accessToken = textUnder("access_token", answer.body);
    return true;
}

void ReplicaClient::logInAgain() {
    const auto login =
        std::get<service::IssuedLogin>(m_accounts.logIn(m_session.accountId, m_session.device));
    m_session.refreshToken = login.tokens.refreshToken;
    m_session.accessToken = login.tokens.accessToken;
}

void ReplicaClient::expect(bool isKept) { m_tally.broken += isKept ? 0 : 1; }

} // namespace lumivane::bench
