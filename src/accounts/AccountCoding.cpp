#include "accounts/AccountCoding.h"

#include "accounts/InternetTimestamp.h"

#include <QRegularExpression>

namespace lumivane {

namespace {

using Reason = DecodingError::Reason;

/// The keyring's form of a date.
struct PlainDate {
    QDateTime date;
};

QDateTime present(const std::optional<QDateTime>& date) {
    if (!date) {
        throw DecodingError(Reason::invalidTimestamp);
    }
    return *date;
}

} // namespace

template <>
struct JsonCoding<PlainDate> {
    static PlainDate decode(const Json& value) {
        return {present(InternetTimestamp::readPlain(JsonCoding<QString>::decode(value)))};
    }

    static Json encode(const PlainDate& plain) {
        return JsonCoding<QString>::encode(InternetTimestamp::writePlain(plain.date));
    }
};

template <>
struct JsonCoding<QUuid> {
    static QUuid decode(const Json& value) {
        // The toolkit's own reader takes braces and other forms.
        static const QRegularExpression form(
            u"\\A[0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\\z"_qs);
        const QString text = JsonCoding<QString>::decode(value);
        if (!form.match(text).hasMatch()) {
            throw DecodingError(Reason::malformed);
        }
        return QUuid::fromString(text);
    }

    static Json encode(const QUuid& identifier) {
        return JsonCoding<QString>::encode(identifier.toString(QUuid::WithoutBraces).toUpper());
    }
};

template <>
struct JsonCoding<QUrl> {
    static QUrl decode(const Json& value) {
        QUrl url(JsonCoding<QString>::decode(value), QUrl::StrictMode);
        if (!url.isValid()) {
            throw DecodingError(Reason::malformed);
        }
        return url;
    }

    static Json encode(const QUrl& url) {
        return JsonCoding<QString>::encode(url.toString(QUrl::FullyEncoded));
    }
};

QDateTime JsonCoding<QDateTime>::decode(const Json& value) {
    return present(InternetTimestamp::read(JsonCoding<QString>::decode(value)));
}

Json JsonCoding<QDateTime>::encode(const QDateTime& date) {
    return JsonCoding<QString>::encode(InternetTimestamp::write(date));
}

UserSummary JsonCoding<UserSummary>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.displayName = reader.required<QString>("display_name"),
            .verifiedEmail = reader.optional<QString>("verified_email"),
            .linkedProviders = reader.required<std::vector<AuthProvider>>("linked_providers"),
            .handle = reader.required<QString>("handle")};
}

Json JsonCoding<UserSummary>::encode(const UserSummary& user) {
    return JsonObjectWriter()
        .write("display_name", user.displayName)
        .writeIfPresent("verified_email", user.verifiedEmail)
        .write("linked_providers", user.linkedProviders)
        .write("handle", user.handle)
        .take();
}

LinkedDevice JsonCoding<LinkedDevice>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.deviceID = reader.required<QString>("device_id"),
            .name = reader.required<QString>("name"),
            .kind = reader.required<DeviceKind>("kind"),
            .osVersion = reader.optional<QString>("os_version"),
            .isCurrent = reader.required<bool>("is_current"),
            .lastSeenAt = reader.optional<QDateTime>("last_seen_at"),
            .registeredAt = reader.required<QDateTime>("registered_at")};
}

Json JsonCoding<LinkedDevice>::encode(const LinkedDevice& device) {
    return JsonObjectWriter()
        .write("device_id", device.deviceID)
        .write("name", device.name)
        .write("kind", device.kind)
        .writeIfPresent("os_version", device.osVersion)
        .write("is_current", device.isCurrent)
        .writeIfPresent("last_seen_at", device.lastSeenAt)
        .write("registered_at", device.registeredAt)
        .take();
}

LinkedDeviceList JsonCoding<LinkedDeviceList>::decode(const Json& value) {
    return {.devices = JsonObjectReader(value).required<std::vector<LinkedDevice>>("devices")};
}

Json JsonCoding<LinkedDeviceList>::encode(const LinkedDeviceList& list) {
    return JsonObjectWriter().write("devices", list.devices).take();
}

TakeoverDevice JsonCoding<TakeoverDevice>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.name = reader.required<QString>("name"),
            .kind = reader.required<DeviceKind>("kind"),
            .osVersion = reader.optional<QString>("os_version"),
            .lastSeenAt = reader.optional<QDateTime>("last_seen_at")};
}

DeviceTakeoverRequired JsonCoding<DeviceTakeoverRequired>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.status = reader.required<QString>("status"),
            .takeoverTicket = reader.required<SecretText>("takeover_ticket"),
            .expiresAt = reader.required<QDateTime>("expires_at"),
            .currentDevice = reader.required<TakeoverDevice>("current_device")};
}

HandleAvailabilityResult JsonCoding<HandleAvailabilityResult>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.handle = reader.required<QString>("handle"),
            .available = reader.required<bool>("available"),
            .reason = reader.optional<QString>("reason")};
}

AuthCredentials JsonCoding<AuthCredentials>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.accessToken = reader.required<SecretText>("access_token"),
            .refreshToken = reader.required<SecretText>("refresh_token"),
            .tokenType = reader.required<QString>("token_type"),
            .accessExpiresAt = reader.required<QDateTime>("access_expires_at"),
            .refreshExpiresAt = reader.required<QDateTime>("refresh_expires_at"),
            .user = reader.required<UserSummary>("user")};
}

Json JsonCoding<AuthCredentials>::encode(const AuthCredentials& credentials) {
    return JsonObjectWriter()
        .write("access_token", credentials.accessToken)
        .write("refresh_token", credentials.refreshToken)
        .write("token_type", credentials.tokenType)
        .write("access_expires_at", credentials.accessExpiresAt)
        .write("refresh_expires_at", credentials.refreshExpiresAt)
        .write("user", credentials.user)
        .take();
}

StoredSession JsonCoding<StoredSession>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.refreshToken = reader.required<SecretText>("refresh_token"),
            .refreshExpiresAt = reader.required<PlainDate>("refresh_expires_at").date,
            .pendingRefreshOperationID = reader.optional<QUuid>("pending_refresh_operation_id")};
}

Json JsonCoding<StoredSession>::encode(const StoredSession& session) {
    return JsonObjectWriter()
        .write("refresh_token", session.refreshToken)
        .write("refresh_expires_at", PlainDate{session.refreshExpiresAt})
        .writeIfPresent("pending_refresh_operation_id", session.pendingRefreshOperationID)
        .take();
}

AuthTransaction JsonCoding<AuthTransaction>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.transactionID = reader.required<QString>("transaction_id"),
            .authorizationURL = reader.required<QUrl>("authorization_url"),
            .expiresAt = reader.required<QDateTime>("expires_at")};
}

Json JsonCoding<AuthTransaction>::encode(const AuthTransaction& transaction) {
    return JsonObjectWriter()
        .write("transaction_id", transaction.transactionID)
        .write("authorization_url", transaction.authorizationURL)
        .write("expires_at", transaction.expiresAt)
        .take();
}

DeleteReauthentication JsonCoding<DeleteReauthentication>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {.reauthProof = reader.required<SecretText>("reauth_proof"),
            .expiresAt = reader.required<QDateTime>("expires_at")};
}

Json JsonCoding<DeleteReauthentication>::encode(const DeleteReauthentication& proof) {
    return JsonObjectWriter()
        .write("reauth_proof", proof.reauthProof)
        .write("expires_at", proof.expiresAt)
        .take();
}

} // namespace lumivane
