#include "server/HostileRequests.h"

#include "server/AccountFixture.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <fstream>
#include <map>

namespace lumivane::service::test {

namespace {

// A text that a field takes, so that a hostile one beside it gets as far as it can.
std::string goodText(std::string_view field) {
    static const std::map<std::string, std::string, std::less<>> texts{
        {"screen_text", "The test is on Friday."},
        {"preset", "summary"},
        {"client_version", "1"},
        {"provider", "github"},
        {"intent", "sign_in"},
        {"code_challenge", std::string(43, 'a')},
        {"code_challenge_method", "S256"},
        {"transaction_id", std::string(22, 'a')},
        {"handoff_code", std::string(43, 'a')},
        {"code_verifier", std::string(43, 'a')},
        {"refresh_token", std::string(43, 'a')},
        {"operation_id", operationX},
        {"device_id", "device-of-the-hostile"},
        {"device_name", "Desk"},
        {"device_kind", "desktop"},
        {"device_os", "Debian 12"},
        {"display_name", "Ada"}};
    const auto found = texts.find(field);
    return found == texts.end() ? std::string() : found->second;
}

} // namespace

const std::vector<Endpoint>& endpoints() {
    using enum Caller;
    static const std::vector<Endpoint> all{
        {"GET", "/healthz", anybody, {}},
        {"GET", "/metrics", anybody, {}},
        {"POST",
         "/v1/analyze",
         session,
         {"screen_text", "preset", "client_version", "image_data_url", "custom_prompt",
          "client_metrics"}},
        {"GET", "/v1/auth/providers", anybody, {}},
        {"POST",
         "/v1/auth/transactions",
         anybody,
         {"provider", "intent", "code_challenge", "code_challenge_method"}},
        {"POST",
         "/v1/auth/complete",
         anybody,
         {"transaction_id", "handoff_code", "code_verifier", "device_id", "device_name",
          "device_kind", "device_os"}},
        {"POST", "/v1/auth/refresh", anybody, {"refresh_token", "operation_id"}},
        {"POST", "/v1/auth/revoke", anybody, {"refresh_token"}},
        {"POST", "/v1/auth/logout", session, {}},
        {"GET", "/v1/auth/me", session, {}},
        {"GET", "/v1/auth/devices", session, {}},
        {"POST",
         "/v1/auth/takeover",
         anybody,
         {"device_id", "device_name", "device_kind", "device_os"}},
        {"DELETE", "/v1/auth/identities/github", session, {}},
        {"DELETE", "/v1/account", session, {"reauth_proof"}},
        {"PATCH", "/v1/auth/profile", session, {"handle", "display_name"}},
        {"POST", "/v1/auth/handles/availability", session, {"handle"}},
        {"GET", "/v1/auth/handles/filter", session, {}},
        {"GET", "/v1/auth/login/AAAAAAAAAAAAAAAAAAAAAA", browser, {}},
        {"POST", "/v1/auth/login/AAAAAAAAAAAAAAAAAAAAAA", browser, {"form_token", "name", "email"}},
        {"GET", "/v1/auth/callback/github", browser, {}}};
    return all;
}

std::string bodyWith(const Endpoint& endpoint, const std::string& hostileField,
                     const std::string& text) {
    std::string body;
    for (const std::string field : endpoint.fields) {
        const std::string value = field == hostileField ? text : goodText(field);
        if (!value.empty()) {
            body.append(body.empty() ? "{\"" : ",\"").append(field).append("\":\"");
            body.append(value).append("\"");
        }
    }
    return body + "}";
}

std::string contentType(const Endpoint& endpoint) {
    return endpoint.caller == Caller::browser ? "application/x-www-form-urlencoded"
                                              : "application/json";
}

std::string request(const Endpoint& endpoint, const std::string& headers, const std::string& body) {
    std::string text = std::string(endpoint.method) + " " + endpoint.path + " HTTP/1.1\r\n";
    text += "Host: localhost\r\n" + headers;
    if (!endpoint.fields.empty()) {
        text += "Content-Type: " + contentType(endpoint) + "\r\n";
    }
    return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string bearer(const std::string& token) { return "Authorization: Bearer " + token + "\r\n"; }

std::vector<std::string> hostileTexts() {
    return {"canary' OR '1'='1",
            "canary'; DROP TABLE accounts; --",
            "<script>alert('canary')</script>",
            "canary\\u0000end",
            "canary\\ud83d\\ude00\\u202e",
            "../../canary",
            "canary%00%0d%0aX-Canary: 1",
            "${jndi:canary}",
            std::string("canary") + std::string(4000, 'A')};
}

std::vector<std::string> hostileBodies(const Endpoint& endpoint) {
    const std::string key = std::string("\"") + endpoint.fields.front() + "\":";
    std::string every = "{";
    for (const char* field : endpoint.fields) {
        every += (every.size() > 1 ? ",\"" : "\"") + std::string(field) + "\":[\"canary\"]";
    }
    return {"",
            "{",
            "canary",
            "[]",
            "null",
            "\"canary\"",
            "{}{}",
            "{} canary",
            "{" + key + "null}",
            "{" + key + "7}",
            "{" + key + "{}}",
            every + "}",
            "{" + key + "\"canary\"," + key + "\"canary\"}",
            "{" + key + "\"\xff\"}",
            "{" + key + "\"\xED\xA0\x80\"}",
            "{" + key + "\"\\ud800\"}",
            "{" + key + "NaN}",
            "{" + key + "1e999999}",
            std::string(10'000, '['),
            "{\"a\":" + std::string(200, '[') + std::string(200, ']') + "}",
            "{" + key + "\"" + std::string(12'000, 'x') + "\"}"};
}

std::vector<std::string> hostileForms() {
    return {"",
            "%",
            "name=%00canary",
            "name=%FFcanary",
            "=canary",
            "name=canary&name=canary",
            "form_token=" + std::string(12'000, 'x'),
            "canary",
            "form_token=%3Cscript%3Ecanary%3C%2Fscript%3E&name=a&email=a%40b"};
}

std::set<std::string> describedOperations() {
    std::set<std::string> operations;
    std::ifstream file(LUMIVANE_SERVICE_API);
    std::string path;
    for (std::string line; std::getline(file, line);) {
        const bool isMember =
            line.ends_with(':') && line.find(' ', line.find_first_not_of(' ')) == std::string::npos;
        if (isMember && line.starts_with("  /")) {
            path = line.substr(2, line.size() - 3);
        } else if (isMember && !path.empty() && line.starts_with("    ") && line[4] != ' ') {
            std::string word = boost::algorithm::to_upper_copy(line.substr(4, line.size() - 5));
            if (std::set<std::string>{"GET", "POST", "PATCH", "DELETE", "PUT"}.contains(word)) {
                operations.insert(word + " " + path);
            }
        } else if (!line.empty() && line.front() != ' ' && line.front() != '#') {
            path.clear();
        }
    }
    return operations;
}

} // namespace lumivane::service::test
