#include "server/http/Authorizer.h"

#include <boost/algorithm/string/predicate.hpp>

#include <algorithm>
#include <locale>

namespace lumivane::service {

Refusal unauthorized() {
    return {401, "unauthorized", "The access token is missing or not valid. Log in again."};
}

std::optional<std::string_view> bearerCredentials(std::string_view authorization) {
    constexpr std::string_view scheme = "bearer ";
    constexpr std::size_t longest = 4096;
    if (!boost::algorithm::istarts_with(authorization, scheme, std::locale::classic())) {
        return std::nullopt;
    }
    authorization.remove_prefix(scheme.size());
    const auto first = authorization.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return std::nullopt;
    }
    authorization.remove_prefix(first);
    const auto isVisible = [](char character) { return character > 0x20 && character < 0x7F; };
    if (authorization.size() > longest ||
        !std::all_of(authorization.begin(), authorization.end(), isVisible)) {
        return std::nullopt;
    }
    return authorization;
}

} // namespace lumivane::service
