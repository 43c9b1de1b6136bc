#include "server/http/ForwardedAddress.h"

#include <boost/algorithm/string/trim.hpp>
#include <boost/asio/ip/address.hpp>

namespace lumivane::service {

std::optional<std::string> forwardedAddress(const std::optional<std::string>& forwardedFor) {
    if (!forwardedFor) {
        return std::nullopt;
    }
    const auto comma = forwardedFor->rfind(',');
    const std::string last = boost::algorithm::trim_copy(
        comma == std::string::npos ? *forwardedFor : forwardedFor->substr(comma + 1));
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(last, error);
    return error ? std::nullopt : std::optional(address.to_string());
}

} // namespace lumivane::service
