#include "server/http/HttpMessage.h"

namespace lumivane::service {

std::string_view name(HttpMethod method) {
    switch (method) {
    case HttpMethod::get:
        return "GET";
    case HttpMethod::head:
        return "HEAD";
    case HttpMethod::post:
        return "POST";
    case HttpMethod::put:
        return "PUT";
    case HttpMethod::patch:
        return "PATCH";
    case HttpMethod::remove:
        return "DELETE";
    case HttpMethod::options:
        return "OPTIONS";
    case HttpMethod::other:
        break;
    }
    return "OTHER";
}

std::string_view pathOf(std::string_view target) { return target.substr(0, target.find('?')); }

std::string_view queryOf(std::string_view target) {
    const auto mark = target.find('?');
    return mark == std::string_view::npos ? std::string_view() : target.substr(mark + 1);
}

} // namespace lumivane::service
