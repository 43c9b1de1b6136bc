#pragma once

#include "accounts/AccountCoding.h"

#include <QByteArray>

namespace lumivane::test {

/// Whether a body fails as a record, with the reason.
template <typename Record>
std::optional<DecodingError::Reason> failureOf(QByteArrayView body) {
    try {
        decodeSecretJson<Record>(body);
    } catch (const DecodingError& error) {
        return error.reason;
    }
    return std::nullopt;
}

inline SecretText secret(QByteArrayView text) { return SecretText(text); }

inline QDateTime utcDate(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                         int milli = 0) {
    return {QDate(year, month, day), QTime(hour, minute, second, milli), Qt::UTC};
}

inline const QByteArray userBody = R"({"display_name":"Ada","verified_email":"ada@example.com",)"
                                   R"("linked_providers":["github","google"],"handle":"ada"})";

inline UserSummary sampleUser() {
    return {
        u"Ada"_qs, u"ada@example.com"_qs, {AuthProvider::github, AuthProvider::google}, u"ada"_qs};
}

inline const QByteArray credentialsBody =
    R"({"access_token":"access-1","refresh_token":"refresh-1","token_type":"Bearer",)"
    R"("access_expires_at":"2026-11-15T06:25:30.123Z",)"
    R"("refresh_expires_at":"2026-12-15T06:25:30.000Z","user":)" +
    userBody + "}";

inline AuthCredentials sampleCredentials() {
    return {secret("access-1"),
            secret("refresh-1"),
            u"Bearer"_qs,
            utcDate(2026, 11, 15, 6, 25, 30, 123),
            utcDate(2026, 12, 15, 6, 25, 30),
            sampleUser()};
}

inline const QByteArray takeoverBody =
    R"({"status":"device_takeover_required","takeover_ticket":"ticket-1",)"
    R"("expires_at":"2026-11-15T06:30:00Z","current_device":{"name":"Studio","kind":"desktop",)"
    R"("os_version":"macOS 15.2","last_seen_at":"2026-11-14T00:00:00Z"}})";

inline DeviceTakeoverRequired sampleTakeover() {
    return {u"device_takeover_required"_qs,
            secret("ticket-1"),
            utcDate(2026, 11, 15, 6, 30),
            {u"Studio"_qs, DeviceKind::desktop, u"macOS 15.2"_qs, utcDate(2026, 11, 14)}};
}

inline const QByteArray proofBody =
    R"({"reauth_proof":"proof-1","expires_at":"2026-11-15T06:30:00.000Z"})";

inline const QByteArray devicesBody =
    R"({"devices":[{"device_id":"d-1","name":"Studio","kind":"desktop","os_version":"macOS 15.2",)"
    R"("is_current":true,"last_seen_at":"2026-11-14T00:00:00.000Z",)"
    R"("registered_at":"2026-01-02T03:04:05.006Z"},{"device_id":"d-2","name":"Air",)"
    R"("kind":"laptop","is_current":false,"registered_at":"2025-01-02T03:04:05.000Z"}]})";

inline LinkedDeviceList sampleDevices() {
    return {{{u"d-1"_qs, u"Studio"_qs, DeviceKind::desktop, u"macOS 15.2"_qs, true,
              utcDate(2026, 11, 14), utcDate(2026, 1, 2, 3, 4, 5, 6)},
             {u"d-2"_qs, u"Air"_qs, DeviceKind::laptop, std::nullopt, false, std::nullopt,
              utcDate(2025, 1, 2, 3, 4, 5)}}};
}

inline const QByteArray transactionBody =
    R"({"transaction_id":"t-1","authorization_url":"http://127.0.0.1:8787/login?t=t-1",)"
    R"("expires_at":"2026-11-15T06:30:00.000Z"})";

inline AuthTransaction sampleTransaction() {
    return {u"t-1"_qs, QUrl(u"http://127.0.0.1:8787/login?t=t-1"_qs), utcDate(2026, 11, 15, 6, 30)};
}

} // namespace lumivane::test
