#include "server/http/HtmlPage.h"

#include <openssl/evp.h>
#include <openssl/sha.h>

#include <array>

namespace lumivane::service {

namespace {

std::string styleSource(std::string_view style) {
    if (style.empty()) {
        return "'none'";
    }
    std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const unsigned char*>(style.data()), style.size(), digest.data());
    constexpr std::size_t encodedBytes = (SHA256_DIGEST_LENGTH + 2) / 3 * 4;
    std::array<unsigned char, encodedBytes + 1> encoded{};
    EVP_EncodeBlock(encoded.data(), digest.data(), static_cast<int>(digest.size()));
    const std::string text(encoded.begin(), encoded.end() - 1);
    return "'sha256-" + text + "'";
}

void addPageHeaders(HttpResponse& response, const std::string& policy) {
    response.headers.emplace_back("Content-Security-Policy", policy);
    response.headers.emplace_back("Referrer-Policy", "no-referrer");
    response.headers.emplace_back("X-Frame-Options", "DENY");
    response.headers.emplace_back("Cross-Origin-Opener-Policy", "same-origin");
}

} // namespace

HttpResponse htmlResponse(HtmlPage page) {
    std::string policy = "default-src 'none'; style-src " + styleSource(page.style);
    policy += "; form-action 'self'";
    for (const std::string& target : page.formTargets) {
        policy.append(" ").append(target);
    }
    policy += "; base-uri 'none'; frame-ancestors 'none'";
    HttpResponse response;
    response.status = page.status;
    response.body = std::move(page.html);
    response.contentType = "text/html; charset=utf-8";
    addPageHeaders(response, policy);
    return response;
}

HttpResponse redirectResponse(std::string location) {
    HttpResponse response;
    response.status = 303;
    response.headers.emplace_back("Location", std::move(location));
    addPageHeaders(response, "default-src 'none'; frame-ancestors 'none'");
    return response;
}

std::string htmlEscaped(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped.push_back(character);
        }
    }
    return escaped;
}

} // namespace lumivane::service
