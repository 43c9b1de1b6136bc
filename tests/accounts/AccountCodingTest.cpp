#include "accounts/AccountSamples.h"

#include <gtest/gtest.h>

namespace lumivane {

using Reason = DecodingError::Reason;
using namespace test;

// What is there

TEST(AccountCoding, ReadsAndWritesAUser) {
    EXPECT_EQ(decodeJson<UserSummary>(userBody), sampleUser());
    EXPECT_EQ(encodeJson(sampleUser()), userBody);
}

TEST(AccountCoding, AUserWithoutAnAddressLeavesTheKeyOut) {
    UserSummary user = sampleUser();
    user.verifiedEmail.reset();
    user.linkedProviders.clear();
    const QByteArray body = R"({"display_name":"Ada","linked_providers":[],"handle":"ada"})";
    EXPECT_EQ(encodeJson(user), body);
    EXPECT_EQ(decodeJson<UserSummary>(body), user);
}

TEST(AccountCoding, AnUnknownProviderFailsTheWholeUser) {
    EXPECT_EQ(failureOf<UserSummary>(
                  R"({"display_name":"A","linked_providers":["google","apple"],"handle":"a"})"),
              Reason::unknownValue);
}

TEST(AccountCoding, ReadsAndWritesDevices) {
    EXPECT_EQ(decodeJson<LinkedDeviceList>(devicesBody), sampleDevices());
    EXPECT_EQ(encodeJson(sampleDevices()), devicesBody);
    EXPECT_EQ(decodeJson<LinkedDeviceList>(R"({"devices":[]})"), LinkedDeviceList());
}

TEST(AccountCoding, ADeviceOfAnUnknownKindIsADevice) {
    const auto device = decodeJson<TakeoverDevice>(R"({"name":"Wrist","kind":"watch"})");
    EXPECT_EQ(device.kind, DeviceKind::unknown);
    EXPECT_EQ(device.osVersion, std::nullopt);
    EXPECT_EQ(device.lastSeenAt, std::nullopt);
}

TEST(AccountCoding, ReadsATakeover) {
    EXPECT_EQ(decodeSecretJson<DeviceTakeoverRequired>(takeoverBody), sampleTakeover());
}

TEST(AccountCoding, ReadsAndWritesCredentials) {
    EXPECT_EQ(decodeSecretJson<AuthCredentials>(credentialsBody), sampleCredentials());
    EXPECT_EQ(encodeSecretJson(sampleCredentials()), credentialsBody);
}

TEST(AccountCoding, ReadsAndWritesATransaction) {
    EXPECT_EQ(decodeJson<AuthTransaction>(transactionBody), sampleTransaction());
    EXPECT_EQ(encodeJson(sampleTransaction()), transactionBody);
}

TEST(AccountCoding, ReadsAndWritesAProof) {
    const DeleteReauthentication proof{secret("proof-1"), utcDate(2026, 11, 15, 6, 30)};
    EXPECT_EQ(decodeSecretJson<DeleteReauthentication>(proofBody), proof);
    EXPECT_EQ(encodeSecretJson(proof), proofBody);
}

TEST(AccountCoding, ReadsWhetherAHandleCanBeHad) {
    const auto free = decodeJson<HandleAvailabilityResult>(R"({"handle":"ada","available":true})");
    EXPECT_EQ(free, (HandleAvailabilityResult{u"ada"_qs, true, std::nullopt}));
    EXPECT_FALSE(free.isReserved());
}

TEST(HandleAvailabilityResult, OnlyTheReasonMakesItReserved) {
    EXPECT_FALSE((HandleAvailabilityResult{u"a"_qs, false, std::nullopt}).isReserved());
    EXPECT_FALSE((HandleAvailabilityResult{u"a"_qs, false, u"taken"_qs}).isReserved());
    EXPECT_FALSE((HandleAvailabilityResult{u"a"_qs, false, u"Reserved"_qs}).isReserved());
    EXPECT_FALSE((HandleAvailabilityResult{u"a"_qs, false, u""_qs}).isReserved());
    EXPECT_TRUE((HandleAvailabilityResult{u"a"_qs, false, u"reserved"_qs}).isReserved());
    EXPECT_TRUE((HandleAvailabilityResult{u"a"_qs, true, u"reserved"_qs}).isReserved());
}

TEST(AuthCredentials, WithUserKeepsEveryOtherField) {
    UserSummary renamed = sampleUser();
    renamed.handle = u"lovelace"_qs;
    AuthCredentials expected = sampleCredentials();
    expected.user = renamed;
    EXPECT_EQ(sampleCredentials().withUser(renamed), expected);
}

// Null, extra keys, dates

TEST(AccountCoding, NullCountsAsAbsent) {
    EXPECT_EQ(decodeJson<UserSummary>(R"({"display_name":"A","verified_email":null,)"
                                      R"("linked_providers":[],"handle":"a"})")
                  .verifiedEmail,
              std::nullopt);
    EXPECT_EQ(decodeJson<TakeoverDevice>(
                  R"({"name":"S","kind":"phone","os_version":null,"last_seen_at":null})"),
              (TakeoverDevice{u"S"_qs, DeviceKind::phone, std::nullopt, std::nullopt}));
    EXPECT_EQ(failureOf<TakeoverDevice>(R"({"name":null,"kind":"phone"})"), Reason::missing);
    EXPECT_EQ(failureOf<TakeoverDevice>(R"({"name":"S","kind":null})"), Reason::missing);
}

TEST(AccountCoding, ExtraKeysAreIgnoredAndOtherSpellingsAreExtraKeys) {
    EXPECT_EQ(decodeJson<TakeoverDevice>(R"({"name":"S","more":{"a":[1]},"kind":"phone"})").name,
              u"S");
    EXPECT_EQ(failureOf<DeleteReauthentication>(
                  R"({"reauthProof":"p","expires_at":"2026-11-15T06:30:00Z"})"),
              Reason::missing);
    EXPECT_EQ(failureOf<DeleteReauthentication>(
                  R"({"REAUTH_PROOF":"p","expires_at":"2026-11-15T06:30:00Z"})"),
              Reason::missing);
}

TEST(AccountCoding, ADateThatIsNoneFailsInItsOwnWords) {
    for (const char* date : {R"("2026-11-15")", R"("")", R"("2026-11-15T06:30:60Z")"}) {
        const QByteArray body =
            QByteArray(R"({"reauth_proof":"p","expires_at":)") + date + QByteArray("}");
        EXPECT_EQ(failureOf<DeleteReauthentication>(body), Reason::invalidTimestamp) << date;
    }
    EXPECT_STREQ(DecodingError(Reason::invalidTimestamp).what(), "Invalid ISO-8601 timestamp");
    EXPECT_STREQ(DecodingError(Reason::missing).what(), "The data is not in the expected form.");
    EXPECT_EQ(failureOf<DeleteReauthentication>(R"({"reauth_proof":"p","expires_at":1794723930})"),
              Reason::wrongType);
    EXPECT_EQ(failureOf<TakeoverDevice>(R"({"name":"S","kind":"phone","last_seen_at":"soon"})"),
              Reason::invalidTimestamp);
}

TEST(AccountCoding, AnAddressHasToBeOne) {
    const auto withAddress = [](const QByteArray& address) {
        return R"({"transaction_id":"t","authorization_url":)" + address +
               R"(,"expires_at":"2026-11-15T06:30:00Z"})";
    };
    EXPECT_EQ(failureOf<AuthTransaction>(withAddress(R"("https://a.example/x?y=z")")),
              std::nullopt);
    for (const char* address : {R"("")", R"("not a url")", R"("http://[::1")"}) {
        EXPECT_EQ(failureOf<AuthTransaction>(withAddress(address)), Reason::malformed) << address;
    }
    EXPECT_EQ(failureOf<AuthTransaction>(withAddress("1")), Reason::wrongType);
}

// The keyring

TEST(StoredSessionCoding, WritesThePlainDateAndTheUpperCaseIdentifier) {
    const QUuid identifier(u"{0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9}"_qs);
    const StoredSession session{secret("r"), utcDate(2026, 11, 15, 6, 25, 30, 999), identifier};
    const QByteArray body = R"({"refresh_token":"r","refresh_expires_at":"2026-11-15T06:25:30Z",)"
                            R"("pending_refresh_operation_id":)"
                            R"("0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9"})";
    EXPECT_EQ(encodeSecretJson(session), body);
    const auto read = decodeSecretJson<StoredSession>(body);
    EXPECT_EQ(read.refreshToken, secret("r"));
    EXPECT_EQ(read.refreshExpiresAt, utcDate(2026, 11, 15, 6, 25, 30));
    EXPECT_EQ(read.pendingRefreshOperationID, identifier);
}

TEST(StoredSessionCoding, AnAbsentIdentifierStaysAbsent) {
    const QByteArray body = R"({"refresh_token":"r","refresh_expires_at":"2026-11-15T06:25:30Z"})";
    const auto session = decodeSecretJson<StoredSession>(body);
    EXPECT_EQ(session.pendingRefreshOperationID, std::nullopt);
    EXPECT_EQ(encodeSecretJson(session), body);
}

TEST(StoredSessionCoding, ReadsBothCasesOfAnIdentifierAndNoOtherForm) {
    const auto withIdentifier = [](const QByteArray& text) {
        return R"({"refresh_token":"r","refresh_expires_at":"2026-11-15T06:25:30Z",)"
               R"("pending_refresh_operation_id":)" +
               text + "}";
    };
    const auto lower = decodeSecretJson<StoredSession>(
        withIdentifier(R"("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9")"));
    EXPECT_EQ(lower.pendingRefreshOperationID, QUuid(u"{0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9}"_qs));
    const auto null = decodeSecretJson<StoredSession>(
        withIdentifier(R"("00000000-0000-0000-0000-000000000000")"));
    EXPECT_EQ(null.pendingRefreshOperationID, QUuid());
    for (const char* text :
         {R"("")", R"("{0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9}")",
          R"("0a1b2c3d4e5f60718293a4b5c6d7e8f9")", R"("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f")",
          R"("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8fg")",
          R"("0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9 ")"}) {
        EXPECT_EQ(failureOf<StoredSession>(withIdentifier(text)), Reason::malformed) << text;
    }
    EXPECT_EQ(failureOf<StoredSession>(withIdentifier("7")), Reason::wrongType);
}

TEST(StoredSessionCoding, ADateWithAFractionIsOfAnotherForm) {
    EXPECT_EQ(failureOf<StoredSession>(
                  R"({"refresh_token":"r","refresh_expires_at":"2026-11-15T06:25:30.5Z"})"),
              Reason::invalidTimestamp);
}

TEST(StoredSessionCoding, TheTokenIsKeptByteForByte) {
    const QByteArray token = "a\"b\\c/\xc3\xa9\n\t\x01 \xf0\x9f\x94\x91";
    const StoredSession session{secret(token), utcDate(2026, 11, 15), std::nullopt};
    EXPECT_EQ(decodeSecretJson<StoredSession>(encodeSecretJson(session)), session);
}

} // namespace lumivane
