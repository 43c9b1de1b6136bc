#include "server/LoginFixture.h"

#include "server/accounts/Tokens.h"
#include "server/http/FormFields.h"
#include "server/login/LoginCrypto.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service::test {

namespace json = boost::json;

LoginServer::LoginServer(Database& database, const WallClock& clock, const LoginSettings& settings,
                         std::shared_ptr<RateLimiter> limiter)
    : m_service(LoginDependencies{database, clock, *m_upstream, m_pool,
                                  [this](const LoginEvent& event) {
                                      const std::lock_guard lock(m_mutex);
                                      m_events.push_back(event);
                                  }},
                SessionIssuer(SessionSettings()), settings)
    , m_authorizer(database, clock, m_pool)
    , m_server(m_context, Router(m_authorizer, routes(std::move(limiter))), ServerLimits(),
               [this](const std::string& line) {
                   const std::lock_guard lock(m_mutex);
                   m_log += line + "\n";
               }) {
    ListenAddress address;
    address.port = 0;
    m_server.listen(address);
    m_thread = std::thread([this] { m_context.run(); });
}

LoginServer::~LoginServer() {
    m_server.stop();
    m_thread.join();
    m_pool.join();
}

std::vector<Route> LoginServer::routes(std::shared_ptr<RateLimiter> limiter) {
    std::vector<Route> all = loginRoutes(m_service);
    for (Route& route : all) {
        route.rate.limiter = limiter;
    }
    return all;
}

std::string LoginServer::log() {
    const std::lock_guard lock(m_mutex);
    return m_log;
}

std::vector<LoginEvent> LoginServer::events() {
    const std::lock_guard lock(m_mutex);
    return m_events;
}

TestResponse TestBrowser::post(const std::string& target, const TextFields& fields) {
    std::string form;
    for (const auto& [name, value] : fields) {
        form += (form.empty() ? "" : "&") + percentEncoded(name) + "=" + percentEncoded(value);
    }
    return send("POST " + target, form);
}

TestResponse TestBrowser::send(const std::string& what, const std::string& form) {
    std::string bytes = what + " HTTP/1.1\r\nHost: " + host + "\r\n";
    std::string sent;
    for (const auto& [name, value] : cookies) {
        sent += (sent.empty() ? "" : "; ") + name + "=" + value;
    }
    bytes += sent.empty() ? "" : "Cookie: " + sent + "\r\n";
    bytes += forwardedFor.empty() ? "" : "X-Forwarded-For: " + forwardedFor + "\r\n";
    if (!form.empty()) {
        bytes += "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                 std::to_string(form.size()) + "\r\n";
    }
    TestClient client(m_port);
    client.send(bytes + "\r\n" + form);
    TestResponse response = client.read(!what.starts_with("HEAD"));
    keepCookies(response.headers["set-cookie"]);
    return response;
}

void TestBrowser::keepCookies(const std::string& lines) {
    std::vector<std::string> split;
    boost::algorithm::split(split, lines, boost::algorithm::is_any_of(","));
    for (std::string& line : split) {
        boost::algorithm::trim(line);
        // A date in a cookie has a comma.
        const auto equals = line.find('=');
        const std::string name = line.substr(0, equals);
        if (equals == std::string::npos || name.find(' ') != std::string::npos) {
            continue;
        }
        cookies[name] = line.substr(equals + 1, line.find(';') - equals - 1);
        if (line.find("Max-Age=0;") != std::string::npos) {
            cookies.erase(name);
        }
    }
}

TestResponse TestProgram::ask(const std::string& method, const std::string& path,
                              const std::string& body, const std::string& token) {
    std::string bytes = method + " " + path +
                        " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(m_port) +
                        "\r\nContent-Type: application/json\r\n";
    bytes += token.empty() ? "" : "Authorization: Bearer " + token + "\r\n";
    bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    return TestClient(m_port).ask(bytes);
}

ProgramLogin TestProgram::begin(const std::string& provider, const std::string& intent,
                                const std::string& token) {
    ProgramLogin login;
    login.verifier = makeToken();
    json::object body;
    body["provider"] = provider;
    body["intent"] = intent;
    body["code_challenge"] = codeChallengeOf(login.verifier);
    body["code_challenge_method"] = "S256";
    const TestResponse response =
        ask("POST", "/v1/auth/transactions", json::serialize(body), token);
    login.transactionId = textIn(response, "transaction_id");
    login.path = pathOfUrl(textIn(response, "authorization_url"));
    return login;
}

TestResponse TestProgram::complete(const ProgramLogin& login, const std::string& handoff,
                                   const std::string& device) {
    json::object body;
    body["transaction_id"] = login.transactionId;
    body["handoff_code"] = handoff;
    body["code_verifier"] = login.verifier;
    if (!device.empty()) {
        body["device_id"] = device;
        body["device_name"] = "Desk";
        body["device_kind"] = "desktop";
        body["device_os"] = "Debian 12";
    }
    return ask("POST", "/v1/auth/complete", json::serialize(body));
}

json::object objectIn(const TestResponse& response) {
    json::error_code error;
    const json::value value = json::parse(response.body, error);
    return error || !value.is_object() ? json::object() : value.get_object();
}

std::string textIn(const TestResponse& response, std::string_view key) {
    const json::object object = objectIn(response);
    const json::value* value = object.if_contains(json::string_view(key.data(), key.size()));
    return value != nullptr && value->is_string() ? std::string(value->get_string())
                                                  : std::string();
}

std::string redirectedValue(const TestResponse& response, const std::string& name) {
    const auto location = response.headers.find("location");
    if (location == response.headers.end()) {
        return {};
    }
    const auto fields = FormFields::decode(queryOf(location->second));
    return fields ? std::string(fields->find(name).value_or("")) : std::string();
}

std::string formTokenIn(const TestResponse& response) {
    const std::string before = "name=\"form_token\" value=\"";
    const auto begin = response.body.find(before);
    if (begin == std::string::npos) {
        return {};
    }
    const auto start = begin + before.size();
    return response.body.substr(start, response.body.find('"', start) - start);
}

std::string pathOfUrl(const std::string& url) {
    const auto begin = url.find('/', url.find("://") + 3);
    return begin == std::string::npos ? std::string() : url.substr(begin);
}

LoginTest::LoginTest() { settings.isLoopbackOnly = true; }

void LoginTest::start() {
    server = std::make_unique<LoginServer>(database(), clock(), settings, limiter);
}

std::string LoginTest::handoffFor(const ProgramLogin& login, const std::string& name,
                                  const std::string& email) {
    TestBrowser visitor = browser();
    const std::string token = formTokenIn(visitor.get(login.path));
    const TextFields fields{
        {"form_token", token}, {"name", name}, {"email", email}, {"action", "continue"}};
    return redirectedValue(visitor.post(login.path, fields), "handoff_code");
}

TestResponse LoginTest::logIn(const std::string& provider, const std::string& name,
                              const std::string& email) {
    const ProgramLogin login = program().begin(provider);
    return program().complete(login, handoffFor(login, name, email));
}

TestResponse LoginTest::withToken(const std::string& provider, const std::string& intent,
                                  const std::string& token, const std::string& name,
                                  const std::string& email) {
    const ProgramLogin login = program().begin(provider, intent, token);
    return program().complete(login, handoffFor(login, name, email), "");
}

} // namespace lumivane::service::test
