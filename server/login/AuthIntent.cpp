#include "server/login/AuthIntent.h"

#include <array>

namespace lumivane::service {

namespace {

struct IntentRow {
    AuthIntent intent;
    std::string_view rawValue;
};

constexpr std::array rows{
    IntentRow{AuthIntent::signIn, "sign_in"},
    IntentRow{AuthIntent::link, "link"},
    IntentRow{AuthIntent::deleteReauth, "delete_reauth"},
};

} // namespace

std::string_view rawValue(AuthIntent intent) {
    return rows[static_cast<std::size_t>(intent)].rawValue;
}

std::optional<AuthIntent> authIntentNamed(std::string_view text) {
    for (const IntentRow& row : rows) {
        if (row.rawValue == text) {
            return row.intent;
        }
    }
    return std::nullopt;
}

std::string_view title(AuthProvider provider) {
    switch (provider) {
    case AuthProvider::google:
        return "Google";
    case AuthProvider::facebook:
        return "Facebook";
    case AuthProvider::github:
        break;
    }
    return "GitHub";
}

} // namespace lumivane::service
