#include "server/store/PostgresUrl.h"

#include <array>
#include <string_view>

namespace lumivane::service {

namespace {

struct Parameter {
    std::string_view name;
    std::string_view value;
};

constexpr std::array parameters{
    Parameter{"connect_timeout", "5"},  Parameter{"tcp_user_timeout", "10000"},
    Parameter{"keepalives_idle", "10"}, Parameter{"keepalives_interval", "5"},
    Parameter{"keepalives_count", "3"},
};

bool isNamed(std::string_view query, std::string_view name) {
    for (auto at = query.find(name); at != std::string_view::npos; at = query.find(name, at + 1)) {
        const char before = query[at - 1];
        const auto end = at + name.size();
        if ((before == '?' || before == '&') && end < query.size() && query[end] == '=') {
            return true;
        }
    }
    return false;
}

} // namespace

std::string withPostgresTimeouts(std::string url) {
    const auto mark = url.find('?');
    const std::string query = mark == std::string::npos ? "" : url.substr(mark);
    char before = query.empty() ? '?' : '&';
    for (const Parameter& parameter : parameters) {
        if (!isNamed(query, parameter.name)) {
            url.append(1, before).append(parameter.name).append("=").append(parameter.value);
            before = '&';
        }
    }
    return url;
}

} // namespace lumivane::service
