#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service::test {

/// Stands in every hostile text; nothing of it may come back or reach a log.
inline constexpr auto canary = "canary";

/// What a route is for, and so how it refuses.
enum class Caller { anybody, session, browser };

/// One operation of the service, as hostile requests are made for it.
struct Endpoint {
    const char* method;
    const char* path;
    Caller caller;
    std::vector<const char*> fields; ///< of its body; none: no body is taken

    bool takesJson() const { return !fields.empty() && caller != Caller::browser; }
};

/// Every operation of the service.
const std::vector<Endpoint>& endpoints();

/// The operations that the description of the service names, as "GET /healthz".
std::set<std::string> describedOperations();

/// The media type of an endpoint's body.
std::string contentType(const Endpoint& endpoint);

/// A whole request; `headers` are lines with their ends.
std::string request(const Endpoint& endpoint, const std::string& headers,
                    const std::string& body = "");

std::string bearer(const std::string& token);

/// A JSON body of texts that the endpoint takes, but for the one of `hostileField`.
std::string bodyWith(const Endpoint& endpoint, const std::string& hostileField,
                     const std::string& text);

std::vector<std::string> hostileTexts();

/// Broken as JSON, as UTF-8, or as a record.
std::vector<std::string> hostileBodies(const Endpoint& endpoint);

/// Broken as a form, or of a login that nobody knows.
std::vector<std::string> hostileForms();

} // namespace lumivane::service::test
