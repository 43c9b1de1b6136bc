#include "server/accounts/SessionRecords.h"

#include "server/AccountFixture.h"
#include "server/accounts/BodyFields.h"
#include "server/accounts/WireTime.h"

namespace lumivane::service::test {

using namespace std::chrono_literals;

namespace {

const std::string uuid = "6f1c2d3e-4a5b-4c6d-8e7f-0123456789ab";

std::string refresh(const std::string& body) {
    return refusalOf([&] { decodeRefreshRequest(body); });
}

std::string takeover(const std::string& body) {
    return refusalOf([&] { decodeTakeover(body); });
}

std::string device(const std::string& members) { return "{" + members + "}"; }

const std::string goodDevice =
    R"("device_id":"0123456789abcdef","device_name":"N","device_kind":"laptop","device_os":"O")";

} // namespace

TEST(WireTime, IsUtcWithMillisecondsAndZ) {
    EXPECT_EQ(wireTime(wallTime(0)), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(wireTime(ManualWallClock::start + 7ms), "2026-11-15T06:25:30.007Z");
    EXPECT_EQ(wireTime(wallTime(-1)), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(wireTime(wallTime(951'827'696'789)), "2000-02-29T12:34:56.789Z");
}

TEST(RefreshRecord, IsDecodedWithTheOperationInLowerCase) {
    const auto request = decodeRefreshRequest(
        R"({"refresh_token":"T","operation_id":"6F1C2D3E-4A5B-4C6D-8E7F-0123456789AB","x":[1]})");

    EXPECT_EQ(request.refreshToken, "T");
    EXPECT_EQ(request.operationId, uuid);
}

TEST(RefreshRecord, WhatIsNoJsonIsInvalidJson) {
    for (const std::string& body :
         {std::string(), std::string("{"), std::string("x"), std::string("{} {}"),
          std::string(R"({"refresh_token":"a","refresh_token":"b"})"),
          std::string("{\"refresh_token\":\"\xff\"}"), std::string("{\"a\":\"\0\"}", 9),
          R"({"a":)" + std::string(40, '[') + std::string(40, ']') + "}",
          std::string(10'000, '[')}) {
        EXPECT_EQ(refresh(body), "invalid_json") << body;
    }
}

TEST(RefreshRecord, ARecordOfAnotherShapeIsInvalid) {
    const std::string operation = R"("operation_id":")" + uuid + "\"";
    for (const std::string& body :
         {std::string("[]"), std::string("null"), std::string("\"text\""), std::string("{}"),
          "{" + operation + "}", "{" + operation + R"(,"refresh_token":null})",
          "{" + operation + R"(,"refresh_token":7})", "{" + operation + R"(,"refresh_token":{}})",
          "{" + operation + R"(,"refresh_token":["T"]})",
          "{" + operation + R"(,"refresh_token":"a\u0000b"})",
          "{" + operation + R"(,"refresh_token":")" + std::string(4097, 'x') + "\"}",
          std::string(R"({"refresh_token":"T"})"),
          std::string(R"({"refresh_token":"T","operation_id":""})"),
          std::string(R"({"refresh_token":"T","operation_id":"x"})"),
          R"({"refresh_token":"T","operation_id":")" + uuid + " \"}",
          R"({"refresh_token":"T","operation_id":"{)" + uuid + "}\"}",
          std::string(
              R"({"refresh_token":"T","operation_id":"6f1c2d3e04a5b-4c6d-8e7f-0123456789ab"})"),
          std::string(
              R"({"refresh_token":"T","operation_id":"6g1c2d3e-4a5b-4c6d-8e7f-0123456789ab"})")}) {
        EXPECT_EQ(refresh(body), "invalid_request") << body;
    }
}

TEST(RefreshRecord, RefusalsNameKeysAndNeverValues) {
    try {
        decodeRefreshRequest(R"({"refresh_token":"canary","operation_id":"canary"})");
        FAIL();
    } catch (const AccountError& error) {
        EXPECT_EQ(error.refusal().status, 422);
        EXPECT_EQ(error.refusal().message, "\"operation_id\" must be a UUID.");
    }
    try {
        decodeRefreshRequest("canary");
        FAIL();
    } catch (const AccountError& error) {
        EXPECT_EQ(error.refusal().status, 400);
        EXPECT_EQ(error.refusal().message.find("canary"), std::string::npos);
    }
}

TEST(RevocationRecord, IsTheTokenAlone) {
    EXPECT_EQ(decodeRevocation(R"({"refresh_token":"T"})"), "T");
    EXPECT_EQ(refusalOf([] { decodeRevocation("{}"); }), "invalid_request");
    EXPECT_EQ(refusalOf([] { decodeRevocation(R"({"refresh_token":false})"); }), "invalid_request");
}

TEST(DeviceRecord, IsDecodedWhenItIsComplete) {
    const auto decoded = decodeTakeover(device(goodDevice + R"(,"more":true)"));

    EXPECT_EQ(decoded, (DeviceRegistration{"0123456789abcdef", "N", "laptop", "O"}));
    EXPECT_EQ(decodeDevice(BodyFields(device(goodDevice))), decoded);
    EXPECT_EQ(decodeDevice(BodyFields("{}")), std::nullopt);
}

TEST(DeviceRecord, WithoutOneOfItsFieldsIsRequired) {
    const std::string id = R"("device_id":"0123456789abcdef")";
    const std::string name = R"("device_name":"N")";
    const std::string kind = R"("device_kind":"laptop")";
    const std::string os = R"("device_os":"O")";
    for (const std::string& members :
         {std::string(), name + "," + kind + "," + os, id + "," + kind + "," + os,
          id + "," + name + "," + os, id + "," + name + "," + kind,
          id + "," + name + "," + kind + R"(,"device_os":null)"}) {
        EXPECT_EQ(takeover(device(members)), "device_required") << members;
    }
}

TEST(DeviceRecord, OfAnotherShapeIsInvalid) {
    EXPECT_EQ(takeover(R"({"device_id":1234567890123456})"), "invalid_request");
    EXPECT_EQ(takeover(R"({"device_kind":["laptop"]})"), "invalid_request");
    EXPECT_EQ(takeover(R"({"device_name":"a\u0000b"})"), "invalid_request");
    EXPECT_EQ(takeover(R"({"device_name":")" + std::string(5000, 'x') + "\"}"), "invalid_request");
    EXPECT_EQ(takeover("no"), "invalid_json");
}

TEST(DeviceRegistration, IsCompleteWithinItsLengths) {
    const auto with = [](auto change) {
        DeviceRegistration device = laptop;
        change(device);
        return device.isComplete();
    };
    const std::string emoji = "\xF0\x9F\x98\x80";
    std::string sixty;
    std::string thirtyTwo;
    for (int i = 0; i < 60; ++i) {
        sixty += emoji;
    }
    for (int i = 0; i < 32; ++i) {
        thirtyTwo += "\xC3\xA4";
    }

    EXPECT_TRUE(laptop.isComplete());
    EXPECT_FALSE(with([](auto& d) { d.identifier = std::string(15, 'x'); }));
    EXPECT_TRUE(with([](auto& d) { d.identifier = std::string(16, 'x'); }));
    EXPECT_TRUE(with([](auto& d) { d.identifier = std::string(64, 'x'); }));
    EXPECT_FALSE(with([](auto& d) { d.identifier = std::string(65, 'x'); }));
    EXPECT_FALSE(with([](auto& d) { d.identifier = "0123456789abcde\n"; }));
    EXPECT_FALSE(with([](auto& d) { d.name = ""; }));
    EXPECT_TRUE(with([&](auto& d) { d.name = sixty; }));
    EXPECT_FALSE(with([&](auto& d) { d.name = sixty + "x"; }));
    EXPECT_FALSE(with([](auto& d) { d.name = "a\x1b[2Jb"; }));
    EXPECT_FALSE(with([](auto& d) { d.name = "a\x7f"; }));
    EXPECT_FALSE(with([](auto& d) { d.name = "a\xC2\x85"; }));
    EXPECT_TRUE(with([](auto& d) { d.name = "<script>'; DROP TABLE devices; --"; }));
    EXPECT_FALSE(with([](auto& d) { d.osVersion = ""; }));
    EXPECT_TRUE(with([&](auto& d) { d.osVersion = thirtyTwo; }));
    EXPECT_FALSE(with([&](auto& d) { d.osVersion = thirtyTwo + "x"; }));
    for (const auto& kind : {"laptop", "desktop", "phone", "tablet"}) {
        EXPECT_TRUE(with([&](auto& d) { d.kind = kind; })) << kind;
    }
    for (const auto& kind : {"unknown", "watch", "", "Laptop"}) {
        EXPECT_FALSE(with([&](auto& d) { d.kind = kind; })) << kind;
    }
}

TEST(LoginRecord, HasEveryKeyOfTheFormat) {
    IssuedLogin login;
    login.tokens = {"A", "R", ManualWallClock::start, ManualWallClock::start + 1s};
    login.user.displayName = "Ada \"L\" <b>";
    login.user.handle = "ada";
    login.user.linkedProviders = {AuthProvider::google, AuthProvider::github};
    EXPECT_EQ(encodeLogin(login),
              R"({"access_token":"A","refresh_token":"R","token_type":"Bearer",)"
              R"("access_expires_at":"2026-11-15T06:25:30.000Z",)"
              R"("refresh_expires_at":"2026-11-15T06:25:31.000Z",)"
              R"("user":{"display_name":"Ada \"L\" <b>","linked_providers":["google","github"],)"
              R"("handle":"ada"}})");

    login.user.verifiedEmail = "a@b.c";
    EXPECT_NE(encodeLogin(login).find(R"("verified_email":"a@b.c")"), std::string::npos);
}

TEST(TakeoverRecord, HasEveryKeyOfTheFormat) {
    TakeoverOffer offer;
    offer.ticket = "T";
    offer.expiresAt = ManualWallClock::start;
    offer.currentDevice = {"hidden", "Laptop", "laptop", "Debian 12", {}, wallTime(0)};

    EXPECT_EQ(encodeTakeoverOffer(offer),
              R"({"status":"device_takeover_required","takeover_ticket":"T",)"
              R"("expires_at":"2026-11-15T06:25:30.000Z","current_device":{"name":"Laptop",)"
              R"("kind":"laptop","os_version":"Debian 12",)"
              R"("last_seen_at":"1970-01-01T00:00:00.000Z"}})");
}

TEST(DevicesRecord, MarksTheOneThatAsks) {
    const KnownDevice first{"a", "N", "tablet", "O", wallTime(0), wallTime(1)};
    const KnownDevice second{"b", "N", "phone", "O", wallTime(0), wallTime(1)};

    EXPECT_EQ(encodeDevices({}, "a"), R"({"devices":[]})");
    EXPECT_EQ(encodeDevices({first, second}, "b"),
              R"({"devices":[{"device_id":"a","name":"N","kind":"tablet","os_version":"O",)"
              R"("is_current":false,"last_seen_at":"1970-01-01T00:00:00.001Z",)"
              R"("registered_at":"1970-01-01T00:00:00.000Z"},{"device_id":"b","name":"N",)"
              R"("kind":"phone","os_version":"O","is_current":true,)"
              R"("last_seen_at":"1970-01-01T00:00:00.001Z",)"
              R"("registered_at":"1970-01-01T00:00:00.000Z"}]})");
    EXPECT_EQ(encodeDevices({first}, std::nullopt).find("true"), std::string::npos);
}

} // namespace lumivane::service::test
