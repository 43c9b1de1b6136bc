#pragma once

#include "domain/ClosedSet.h"
#include "domain/StrictJson.h"

#include <array>
#include <string_view>

namespace lumivane {

/// Who vouches for a user. Case order is the order of every list; the raw text is the identifier
/// as well.
enum class AuthProvider { google, facebook, github };

/// What a web login is for.
enum class AuthIntent { signIn, link, deleteReauth };

/// What kind of machine holds an account. A text from a newer service reads as `unknown`.
enum class DeviceKind { laptop, desktop, phone, tablet, unknown };

namespace tables {

struct AuthProviderRow {
    AuthProvider value;
    std::string_view rawValue;
    std::string_view title;
};

inline constexpr std::array authProvider{
    AuthProviderRow{AuthProvider::google, "google", "Google"},
    AuthProviderRow{AuthProvider::facebook, "facebook", "Facebook"},
    AuthProviderRow{AuthProvider::github, "github", "GitHub"},
};

struct AuthIntentRow {
    AuthIntent value;
    std::string_view rawValue;
};

inline constexpr std::array authIntent{
    AuthIntentRow{AuthIntent::signIn, "sign_in"},
    AuthIntentRow{AuthIntent::link, "link"},
    AuthIntentRow{AuthIntent::deleteReauth, "delete_reauth"},
};

struct DeviceKindRow {
    DeviceKind value;
    std::string_view rawValue;
};

inline constexpr std::array deviceKind{
    DeviceKindRow{DeviceKind::laptop, "laptop"},   DeviceKindRow{DeviceKind::desktop, "desktop"},
    DeviceKindRow{DeviceKind::phone, "phone"},     DeviceKindRow{DeviceKind::tablet, "tablet"},
    DeviceKindRow{DeviceKind::unknown, "unknown"},
};

static_assert(isInCaseOrder(authProvider) && isInCaseOrder(authIntent) &&
              isInCaseOrder(deviceKind));

} // namespace tables

constexpr const auto& closedSetTable(AuthProvider) { return tables::authProvider; }

constexpr const auto& closedSetTable(AuthIntent) { return tables::authIntent; }

constexpr const auto& closedSetTable(DeviceKind) { return tables::deviceKind; }

/// The provider's name on screen.
constexpr QLatin1String title(AuthProvider provider) {
    return toLatin1(closedSetRow(provider).title);
}

/// Forgiving, unlike other closed sets: any text outside the set is `unknown`. Anything but a text
/// still fails.
template <>
struct JsonCoding<DeviceKind> {
    static DeviceKind decode(const Json& value);
    static Json encode(DeviceKind kind);
};

} // namespace lumivane
