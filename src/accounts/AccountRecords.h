#pragma once

#include "accounts/AccountVocabulary.h"
#include "domain/SecretText.h"

#include <QDateTime>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <optional>
#include <variant>
#include <vector>

namespace lumivane {

// The records of accounts. Dates are in UTC. Whatever opens a door is a SecretText. How each of
// them is read and written stands in AccountCoding.h.

/// The signed-in user.
struct UserSummary {
    QString displayName;
    std::optional<QString> verifiedEmail;
    std::vector<AuthProvider> linkedProviders; ///< in the service's order
    QString handle;                            ///< without its "@"

    bool isLinked(AuthProvider provider) const {
        return std::find(linkedProviders.begin(), linkedProviders.end(), provider) !=
               linkedProviders.end();
    }

    bool operator==(const UserSummary&) const = default;
};

/// A machine that the account knows; `deviceID` tells it from the others.
struct LinkedDevice {
    QString deviceID;
    QString name;
    DeviceKind kind = DeviceKind::unknown;
    std::optional<QString> osVersion;
    bool isCurrent = false;
    std::optional<QDateTime> lastSeenAt;
    QDateTime registeredAt;

    bool operator==(const LinkedDevice&) const = default;
};

struct LinkedDeviceList {
    std::vector<LinkedDevice> devices;

    bool operator==(const LinkedDeviceList&) const = default;
};

/// What the service says of the machine that holds the account now.
struct TakeoverDevice {
    QString name;
    DeviceKind kind = DeviceKind::unknown;
    std::optional<QString> osVersion;
    std::optional<QDateTime> lastSeenAt;

    bool operator==(const TakeoverDevice&) const = default;
};

/// A login that is complete but for moving the account away from another machine.
struct DeviceTakeoverRequired {
    QString status; ///< "device_takeover_required"
    SecretText takeoverTicket;
    QDateTime expiresAt;
    TakeoverDevice currentDevice;

    bool operator==(const DeviceTakeoverRequired&) const = default;
};

/// A takeover that waits for the user's choice. In memory only.
struct DeviceTakeoverContext {
    SecretText ticket;
    QDateTime expiresAt;
    AuthProvider provider = AuthProvider::google; ///< the one the user logged in with
    TakeoverDevice currentDevice;

    bool operator==(const DeviceTakeoverContext&) const = default;
};

/// Whether a handle can be had, in the service's word.
struct HandleAvailabilityResult {
    QString handle;
    bool available = false;
    std::optional<QString> reason;

    bool isReserved() const { return reason == u"reserved"; }

    bool operator==(const HandleAvailabilityResult&) const = default;
};

/// A complete login, as the service returns it. In memory only; it is never written to disk.
struct AuthCredentials {
    SecretText accessToken;
    SecretText refreshToken;
    QString tokenType;
    QDateTime accessExpiresAt;
    QDateTime refreshExpiresAt;
    UserSummary user;

    /// A copy with this user and every other field kept.
    AuthCredentials withUser(UserSummary newUser) const {
        AuthCredentials copy = *this;
        copy.user = std::move(newUser);
        return copy;
    }

    bool operator==(const AuthCredentials&) const = default;
};

/// The whole of a login that survives a restart.
struct StoredSession {
    SecretText refreshToken;
    QDateTime refreshExpiresAt;
    std::optional<QUuid> pendingRefreshOperationID; ///< while a refresh may be in flight

    bool operator==(const StoredSession&) const = default;
};

/// The answer to starting a login.
struct AuthTransaction {
    QString transactionID;
    QUrl authorizationURL;
    QDateTime expiresAt;

    bool operator==(const AuthTransaction&) const = default;
};

/// The proof that the user has just logged in again in order to delete the account.
struct DeleteReauthentication {
    SecretText reauthProof;
    QDateTime expiresAt;

    bool operator==(const DeleteReauthentication&) const = default;
};

/// What finishing a login can yield: a session, a proof for deletion, or the question of a
/// takeover.
using AuthCompletion =
    std::variant<AuthCredentials, DeleteReauthentication, DeviceTakeoverRequired>;

} // namespace lumivane
