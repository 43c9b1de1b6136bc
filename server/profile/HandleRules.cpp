#include "server/profile/HandleRules.h"

#include "server/text/Utf8.h"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>

namespace lumivane::service {

namespace {

// The words of the client's own table; what it lets through and this refuses shows only at saving.
constexpr std::array<std::string_view, 51> reserved{
    "admin",     "administrator", "root",     "support",  "help",      "security",
    "abuse",     "api",           "www",      "mail",     "smtp",      "lumivane",
    "lumi-vane", "account",       "accounts", "settings", "login",     "logout",
    "signin",    "signup",        "oauth",    "auth",     "me",        "my",
    "system",    "staff",         "official", "null",     "undefined", "none",
    "anonymous", "user",          "users",    "device",   "devices",   "handle",
    "handles",   "profile",       "billing",  "payments", "privacy",   "terms",
    "legal",     "status",        "health",   "healthz",  "livez",     "docs",
    "blog",      "about",         "contact"};

// The plain letters of U+00C0 to U+017F, one for one; a blank where there is none.
constexpr char32_t firstAccented = 0xC0;
constexpr std::string_view plainLetters = "aaaaaaaceeeeiiii"
                                          "dnooooo ouuuuyts"
                                          "aaaaaaaceeeeiiii"
                                          "dnooooo ouuuuyty"
                                          "aaaaaaccccccccdd"
                                          "ddeeeeeeeeeegggg"
                                          "gggghhhhiiiiiiii"
                                          "iiiijjkkklllllll"
                                          "lllnnnnnnnnnoooo"
                                          "oooorrrrrrssssss"
                                          "ssttttttuuuuuuuu"
                                          "uuuuwwyyyzzzzzzs";
static_assert(plainLetters.size() == 0x180 - firstAccented);

// The longest number behind a stem, and the sign in front of it.
constexpr std::size_t numberRoom = 11;
constexpr std::size_t stemLength = handleMaximumLength - numberRoom;

// Stands in for a name that leaves no letter.
constexpr std::string_view namelessStem = "member";

char lowerAscii(char character) {
    const bool isUpper = character >= 'A' && character <= 'Z';
    return isUpper ? static_cast<char>(character - 'A' + 'a') : character;
}

bool isAllowed(char character) {
    const char lower = lowerAscii(character);
    return (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9') || lower == '.' ||
           lower == '_' || lower == '-';
}

bool isPunctuation(char character) {
    return character == '.' || character == '_' || character == '-';
}

// What a character of a name becomes: one of a handle, "-" for what parts words, or nothing.
std::string_view handlePart(char32_t codePoint) {
    static constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789._-";
    if (codePoint >= firstAccented && codePoint < firstAccented + plainLetters.size()) {
        const std::string_view plain = plainLetters.substr(codePoint - firstAccented, 1);
        return plain == " " ? std::string_view("-") : plain;
    }
    if (codePoint < 0x80) {
        const auto place = letters.find(lowerAscii(static_cast<char>(codePoint)));
        const bool isApostrophe = codePoint == U'\'';
        return place != std::string_view::npos ? letters.substr(place, 1)
               : isApostrophe                  ? std::string_view()
                                               : std::string_view("-");
    }
    return isSpace(codePoint) ? std::string_view("-") : std::string_view();
}

std::string stemOf(std::string_view displayName) {
    std::string_view rest = normaliseHandle(displayName);
    rest = rest.substr(0, rest.find('@'));
    std::string stem;
    while (!rest.empty() && stem.size() < stemLength) {
        const std::string_view part = handlePart(takeCodePoint(rest));
        const bool startsOrDoubles = !part.empty() && isPunctuation(part.front()) &&
                                     (stem.empty() || isPunctuation(stem.back()));
        if (!startsOrDoubles) {
            stem += part;
        }
    }
    while (!stem.empty() && isPunctuation(stem.back())) {
        stem.pop_back();
    }
    return stem;
}

} // namespace

std::string_view normaliseHandle(std::string_view text) {
    const std::string_view inner = trimmed(text);
    return inner.substr(std::min(inner.find_first_not_of('@'), inner.size()));
}

std::string foldHandle(std::string_view text) {
    std::string folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), lowerAscii);
    return folded;
}

bool isWellFormedHandle(std::string_view text) {
    return text.size() >= handleMinimumLength && text.size() <= handleMaximumLength &&
           std::all_of(text.begin(), text.end(), isAllowed);
}

bool isReservedHandle(std::string_view text) {
    return std::find(reserved.begin(), reserved.end(), foldHandle(text)) != reserved.end();
}

std::uint64_t randomBelow(std::uint64_t bound) {
    std::random_device device;
    return std::uniform_int_distribution<std::uint64_t>(0, bound - 1)(device);
}

std::string freeHandle(std::string_view displayName, const HandleIsTaken& isTaken,
                       const RandomBelow& random) {
    std::string stem = stemOf(displayName);
    const auto isFree = [&isTaken](const std::string& handle) {
        return isWellFormedHandle(handle) && !isReservedHandle(handle) && !isTaken(handle);
    };
    if (isFree(stem)) {
        return stem;
    }
    const std::string base = (stem.empty() ? std::string(namelessStem) : stem) + "-";
    // A popular name has all its short numbers taken at some time; one in ten thousand million is
    // free at once.
    for (const std::uint64_t most : {10'000ULL, 10'000ULL, 1'000'000ULL, 1'000'000ULL,
                                     10'000'000'000ULL, 10'000'000'000ULL, 10'000'000'000ULL}) {
        std::string handle = base + std::to_string(random(most));
        if (isFree(handle)) {
            return handle;
        }
    }
    throw std::runtime_error("no free handle was found");
}

} // namespace lumivane::service
