#include "analysis/AuthenticationFixtures.h"

#include <QTimeZone>

namespace lumivane {

namespace {

QDateTime noonOf(int year, int month, int day) {
    return {QDate(year, month, day), QTime(12, 0), QTimeZone::utc()};
}

UserSummary user() {
    return {.displayName = u"Robin Example"_qs,
            .verifiedEmail = u"robin@example.org"_qs,
            .linkedProviders = {AuthProvider::github},
            .handle = u"robin"_qs};
}

std::vector<LinkedDevice> devices() {
    return {{.deviceID = u"fixture-device-1"_qs,
             .name = u"Example Laptop"_qs,
             .kind = DeviceKind::laptop,
             .osVersion = u"Debian 12.0"_qs,
             .isCurrent = true,
             .lastSeenAt = noonOf(2026, 11, 20),
             .registeredAt = noonOf(2026, 9, 1)},
            {.deviceID = u"fixture-device-2"_qs,
             .name = u"Example Desktop"_qs,
             .kind = DeviceKind::desktop,
             .osVersion = u"Debian 12.0"_qs,
             .isCurrent = false,
             .lastSeenAt = noonOf(2026, 8, 31),
             .registeredAt = noonOf(2026, 1, 15)}};
}

DeviceTakeoverContext takeover() {
    return {.ticket = SecretText("fixture-takeover-ticket"),
            .expiresAt = noonOf(2100, 1, 1),
            .provider = AuthProvider::github,
            .currentDevice = {.name = u"Example Desktop"_qs,
                              .kind = DeviceKind::desktop,
                              .osVersion = u"Debian 12.0"_qs,
                              .lastSeenAt = noonOf(2026, 8, 31)}};
}

} // namespace

AuthenticationStart AuthenticationFixtures::start(const TestingMode& testing) {
    return testing.isTesting() ? AuthenticationStart::signedOut : AuthenticationStart::restoring;
}

QString AuthenticationFixtures::keyringService(const TestingMode& testing,
                                               const QString& ordinary) {
    return testing.isTesting() ? ordinary + u".Testing"_qs : ordinary;
}

AuthenticationSeeds AuthenticationFixtures::seeds(const TestingMode& testing) {
    AuthenticationSeeds seeds;
    if (testing.isUnitTesting) {
        seeds.user = user();
    }
    if (testing.isUITesting && testing.signedIn) {
        seeds.user = user();
        seeds.devicesState =
            testing.devicesUnavailable ? DeviceListState::unavailable : DeviceListState::loaded;
        if (!testing.devicesUnavailable) {
            seeds.devices = devices();
        }
    }
    if (testing.isUITesting && testing.takeover) {
        seeds.takeover = takeover();
    }
    return seeds;
}

} // namespace lumivane
