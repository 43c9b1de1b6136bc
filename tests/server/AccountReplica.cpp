#include "server/AccountReplica.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service::test {

namespace json = boost::json;

AccountReplica::AccountReplica(const DatabaseSettings& settings, const WallClock& clock)
    : m_database(Database::open(settings))
    , m_authorizer(*m_database, clock, m_pool)
    , m_services(makeAccountServices(*m_database, clock, SessionSettings()))
    , m_server(m_context, Router(m_authorizer, accountRoutes(m_services, m_pool)), ServerLimits{},
               [this](const std::string& line) {
                   const std::lock_guard lock(m_mutex);
                   m_log += line + "\n";
               },
               m_metrics) {
    ListenAddress address;
    address.port = 0;
    m_server.listen(address);
    m_thread = std::thread([this] { m_context.run(); });
}

AccountReplica::~AccountReplica() {
    m_server.stop();
    m_thread.join();
    m_pool.join();
}

std::string AccountReplica::log() {
    const std::lock_guard lock(m_mutex);
    return m_log;
}

std::string accountRequest(const std::string& method, const std::string& name,
                           const std::string& token, const std::string& body) {
    std::string bytes = method + " /v1/auth/" + name + " HTTP/1.1\r\nHost: localhost\r\n";
    if (!token.empty()) {
        bytes += "Authorization: Bearer " + token + "\r\n";
    }
    bytes += "Content-Type: application/json\r\n";
    if (method != "GET") {
        bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    return bytes + "\r\n" + body;
}

std::string refreshBody(const std::string& token, const std::string& operation) {
    return json::serialize(json::object{{"refresh_token", token}, {"operation_id", operation}});
}

std::string revocationBody(const std::string& token) {
    return json::serialize(json::object{{"refresh_token", token}});
}

std::string takeoverBody(const DeviceRegistration& device) {
    return json::serialize(json::object{{"device_id", device.identifier},
                                        {"device_name", device.name},
                                        {"device_kind", device.kind},
                                        {"device_os", device.osVersion}});
}

std::string textIn(const std::string& body, const std::string& key) {
    const json::value document = json::parse(body);
    const json::value& member = document.as_object().at(key);
    return std::string(member.as_string());
}

} // namespace lumivane::service::test
