#include "server/login/HandleSuggestion.h"

#include "server/accounts/Tokens.h"
#include "server/analysis/Utf8.h"

#include <boost/algorithm/string/case_conv.hpp>

#include <algorithm>
#include <array>
#include <locale>

namespace lumivane::service {

namespace {

// What is left over holds an ending.
constexpr std::size_t longestStem = 30;
constexpr std::size_t shortestStem = 2;
constexpr std::size_t endingLength = 6;

// The plain letters of U+00C0 to U+017F, "-" where there is none.
constexpr std::string_view plainLetters = "AAAAAAACEEEEIIIIDNOOOOO-OUUUUYTs"
                                          "aaaaaaaceeeeiiiidnooooo-ouuuuyty"
                                          "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGg"
                                          "GgGgHhHhIiIiIiIiIiIiJjKkkLlLlLlL"
                                          "lLlNnNnNnnNnOoOoOoOoRrRrRrSsSsSs"
                                          "SsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs";
constexpr char32_t firstMapped = 0xC0;
static_assert(plainLetters.size() == 0x180 - firstMapped);

char plain(char32_t codePoint) {
    const auto isBetween = [codePoint](char first, char last) {
        return codePoint >= static_cast<char32_t>(first) &&
               codePoint <= static_cast<char32_t>(last);
    };
    if (isBetween('a', 'z') || isBetween('A', 'Z') || isBetween('0', '9')) {
        return static_cast<char>(codePoint);
    }
    const bool isMapped = codePoint >= firstMapped && codePoint - firstMapped < plainLetters.size();
    return isMapped ? plainLetters[codePoint - firstMapped] : '-';
}

std::string stemOf(std::string_view name) {
    std::string stem;
    while (!name.empty() && stem.size() < longestStem) {
        const char next = plain(takeCodePoint(name));
        if (next != '-' || (!stem.empty() && stem.back() != '-')) {
            stem.push_back(next);
        }
    }
    while (!stem.empty() && stem.back() == '-') {
        stem.pop_back();
    }
    return foldedHandle(stem);
}

bool isReserved(const std::string& folded) {
    constexpr std::array reserved{
        "admin",     "administrator", "root",     "support",  "help",      "security",
        "abuse",     "api",           "www",      "mail",     "smtp",      "lumivane",
        "lumi-vane", "account",       "accounts", "settings", "login",     "logout",
        "signin",    "signup",        "oauth",    "auth",     "me",        "my",
        "system",    "staff",         "official", "null",     "undefined", "none",
        "anonymous", "user",          "users",    "device",   "devices",   "handle",
        "handles",   "profile",       "billing",  "payments", "privacy",   "terms",
        "legal",     "status",        "health",   "healthz",  "livez",     "docs",
        "blog",      "about",         "contact"};
    return std::find(reserved.begin(), reserved.end(), folded) != reserved.end();
}

std::string ending() {
    std::string result;
    while (result.size() < endingLength) {
        for (const char character : foldedHandle(makeIdentifier())) {
            const bool isFit = character != '-' && character != '_';
            if (isFit && result.size() < endingLength) {
                result.push_back(character);
            }
        }
    }
    return result;
}

} // namespace

std::string suggestHandle(std::string_view name, const HandleTest& isTaken) {
    std::string stem = stemOf(name);
    if (stem.size() < shortestStem) {
        stem = "user";
    }
    if (!isReserved(stem) && !isTaken(stem)) {
        return stem;
    }
    std::string handle;
    do {
        handle = stem + "-" + ending();
    } while (isTaken(handle));
    return handle;
}

std::string foldedHandle(std::string_view handle) {
    return boost::algorithm::to_lower_copy(std::string(handle), std::locale::classic());
}

} // namespace lumivane::service
