#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lumivane::service {

/// The request methods that the service tells apart. Anything else is `other`.
enum class HttpMethod { get, head, post, put, patch, remove, options, other };

/// The method as written on the wire; "OTHER" for any that the service does not know.
std::string_view name(HttpMethod method);

/// What is known of a request once its header has been read, before a byte of its body is.
struct RequestHead {
    HttpMethod method = HttpMethod::other;
    std::string target;                         ///< as sent: path and query
    std::optional<std::string> authorization;   ///< none when absent, empty when sent repeatedly
    std::optional<std::string> contentType;     ///< none when absent or sent more than once
    std::optional<std::string> contentEncoding; ///< none when absent
    std::optional<std::string> expect;          ///< none when absent
    std::optional<std::string> ifNoneMatch;     ///< none when absent
    std::optional<std::string> host;            ///< none when absent, as HTTP/1.0 allows
    std::optional<std::string> origin;          ///< none when absent, empty when sent repeatedly
    std::optional<std::string> cookie;          ///< none when absent or sent more than once
    std::optional<std::string> forwardedFor;    ///< X-Forwarded-For; none when absent
    bool hasProxyFields = false;                ///< whether any field is there that proxies add
};

/// Who a valid access token stands for.
struct Principal {
    std::string accountId;
    std::string sessionId;
    std::optional<std::string> deviceId;
};

/// A whole request as a handler gets it.
struct HttpRequest {
    std::string requestId; ///< made by the service, of A-Z, a-z, 0-9 and "-"
    RequestHead head;
    std::string body;
    std::optional<Principal> principal; ///< by Access: always, never, or where a token was sent
    std::optional<std::string> bearer;  ///< the raw token, where the route asks for one
    std::string pathParameter;          ///< the last segment, of a route that ends in "/{}"
    std::string clientAddress;          ///< a literal IP address
};

/// A whole answer. Connection, length and date are the connection's business.
struct HttpResponse {
    int status = 200;
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string contentType = "application/json"; ///< left out when there is no body
};

/// The path of a target, without its query.
std::string_view pathOf(std::string_view target);

/// The query of a target without its "?"; empty when there is none.
std::string_view queryOf(std::string_view target);

} // namespace lumivane::service
