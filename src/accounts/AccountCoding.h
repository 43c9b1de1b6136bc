#pragma once

#include "accounts/AccountRecords.h"
#include "accounts/SecretJson.h"

namespace lumivane {

/// A date of the wire; any other text fails as DecodingError::Reason::invalidTimestamp.
template <>
struct JsonCoding<QDateTime> {
    static QDateTime decode(const Json& value);
    static Json encode(const QDateTime& date);
};

// For decodeSecretJson and encodeSecretJson, or decodeJson where nothing in a record is secret.
// Extra keys are ignored and null counts as absent; anything else amiss fails the whole record.

template <>
struct JsonCoding<UserSummary> {
    static UserSummary decode(const Json& value);
    static Json encode(const UserSummary& user);
};

template <>
struct JsonCoding<LinkedDevice> {
    static LinkedDevice decode(const Json& value);
    static Json encode(const LinkedDevice& device);
};

template <>
struct JsonCoding<LinkedDeviceList> {
    static LinkedDeviceList decode(const Json& value);
    static Json encode(const LinkedDeviceList& list);
};

template <>
struct JsonCoding<TakeoverDevice> {
    static TakeoverDevice decode(const Json& value);
};

template <>
struct JsonCoding<DeviceTakeoverRequired> {
    static DeviceTakeoverRequired decode(const Json& value);
};

template <>
struct JsonCoding<HandleAvailabilityResult> {
    static HandleAvailabilityResult decode(const Json& value);
};

template <>
struct JsonCoding<AuthCredentials> {
    static AuthCredentials decode(const Json& value);
    static Json encode(const AuthCredentials& credentials);
};

/// The form of the keyring: the date without a fraction, the identifier in upper case. Both cases
/// of an identifier are read.
template <>
struct JsonCoding<StoredSession> {
    static StoredSession decode(const Json& value);
    static Json encode(const StoredSession& session);
};

template <>
struct JsonCoding<AuthTransaction> {
    static AuthTransaction decode(const Json& value);
    static Json encode(const AuthTransaction& transaction);
};

template <>
struct JsonCoding<DeleteReauthentication> {
    static DeleteReauthentication decode(const Json& value);
    static Json encode(const DeleteReauthentication& proof);
};

} // namespace lumivane
