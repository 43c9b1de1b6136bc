#include "Require.h"
#include "server/http/Authorizer.h"
#include "server/http/FormFields.h"
#include "server/http/ForwardedAddress.h"
#include "server/http/HttpMessage.h"
#include "server/http/Router.h"

#include <cstdint>
#include <cstdlib>
#include <map>

using namespace lumivane::service;

namespace {

/// What another hand makes of a form that was believed.
std::map<std::string, std::string> laxly(std::string_view text) {
    std::map<std::string, std::string> fields;
    std::string name;
    std::string value;
    bool isValue = false;
    for (std::size_t at = 0; at <= text.size(); ++at) {
        if (at == text.size() || text[at] == '&') {
            if (!name.empty()) {
                fields[name] = value;
            }
            name.clear();
            value.clear();
            isValue = false;
            continue;
        }
        std::string& target = isValue ? value : name;
        if (text[at] == '=' && !isValue) {
            isValue = true;
        } else if (text[at] == '%') {
            require(at + 2 < text.size());
            target += static_cast<char>(
                std::strtol(std::string(text.substr(at + 1, 2)).c_str(), nullptr, 16));
            at += 2;
        } else {
            target += text[at] == '+' ? ' ' : text[at];
        }
    }
    return fields;
}

void checkForm(std::string_view text) {
    const auto fields = FormFields::decode(text);
    if (!fields) {
        return;
    }
    const auto expected = laxly(text);
    require(expected.size() <= 32);
    std::string again;
    for (const auto& [name, value] : expected) {
        require(fields->find(name) == value);
        require(value.find('\0') == std::string::npos && value.size() <= 8192);
        again += (again.empty() ? "" : "&") + percentEncoded(name) + "=" + percentEncoded(value);
    }
    const auto decodedAgain = FormFields::decode(again);
    require(decodedAgain.has_value());
    for (const auto& [name, value] : expected) {
        require(decodedAgain->find(name) == value);
    }
}

void checkHeaders(std::string_view text) {
    if (const auto token = bearerCredentials(text)) {
        require(!token->empty() && token->size() <= 4096);
        require(text.ends_with(*token) && token->find(' ') == std::string_view::npos);
    }
    if (const auto address = forwardedAddress(std::string(text))) {
        require(address->find_first_of(" \r\n,") == std::string::npos && !address->empty());
    }
    require(!(namesJson(text) && namesForm(text)));
    require(pathOf(text).size() + queryOf(text).size() <= text.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    checkForm(text);
    checkForm(queryOf(text));
    checkHeaders(text);
    checkHeaders("Bearer " + std::string(text));
    return 0;
}
