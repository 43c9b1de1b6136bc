#include "accounts/AccountSamples.h"
#include "accounts/HandleFilterPayload.h"

#include <gtest/gtest.h>

#include <functional>

namespace lumivane {

using Reason = DecodingError::Reason;
using namespace test;

namespace {

const QByteArray availabilityBody = R"({"handle":"ada","available":false,"reason":"reserved"})";
const QByteArray storedBody = R"({"refresh_token":"r","refresh_expires_at":"2026-11-15T06:25:30Z",)"
                              R"("pending_refresh_operation_id":)"
                              R"("0A1B2C3D-4E5F-6071-8293-A4B5C6D7E8F9"})";
const QByteArray filterBody =
    R"({"version":"v1","m":8,"k":1,"hash":"sha256","seed":"00","bits":"AA"})";

struct Kind {
    const char* name;
    QByteArray body;                   ///< a good one with every key
    std::vector<std::string> optional; ///< keys that may be absent
    std::function<std::optional<Reason>(QByteArrayView)> failure;
};

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all{
        {"user", userBody, {"verified_email"}, failureOf<UserSummary>},
        {"list", devicesBody, {}, failureOf<LinkedDeviceList>},
        {"takeover", takeoverBody, {}, failureOf<DeviceTakeoverRequired>},
        {"availability", availabilityBody, {"reason"}, failureOf<HandleAvailabilityResult>},
        {"credentials", credentialsBody, {}, failureOf<AuthCredentials>},
        {"stored", storedBody, {"pending_refresh_operation_id"}, failureOf<StoredSession>},
        {"transaction", transactionBody, {}, failureOf<AuthTransaction>},
        {"proof", proofBody, {}, failureOf<DeleteReauthentication>},
        {"filter", filterBody, {}, failureOf<HandleFilterPayload>},
        {"device",
         R"({"device_id":"d","name":"S","kind":"desktop","os_version":"o","is_current":true,)"
         R"("last_seen_at":"2026-11-14T00:00:00Z","registered_at":"2026-01-02T03:04:05Z"})",
         {"os_version", "last_seen_at"},
         failureOf<LinkedDevice>},
        {"takeover device",
         R"({"name":"S","kind":"desktop","os_version":"o","last_seen_at":"2026-11-14T00:00:00Z"})",
         {"os_version", "last_seen_at"},
         failureOf<TakeoverDevice>}};
    return all;
}

bool isOptional(const Kind& kind, const std::string& key) {
    return std::find(kind.optional.begin(), kind.optional.end(), key) != kind.optional.end();
}

} // namespace

TEST(AccountCodingGarbage, EveryRequiredKeyIsRequiredAndNoOther) {
    for (const Kind& kind : kinds()) {
        EXPECT_EQ(kind.failure(kind.body), std::nullopt) << kind.name;
        const Json good = parseJson(kind.body);
        for (const auto& [key, value] : good.get_ref<const Json::object_t&>()) {
            Json body = good;
            body.erase(key);
            const auto expected =
                isOptional(kind, key) ? std::nullopt : std::optional(Reason::missing);
            EXPECT_EQ(kind.failure(writeJson(body)), expected) << kind.name << ' ' << key;
            body = good;
            body[key] = nullptr;
            EXPECT_EQ(kind.failure(writeJson(body)), expected) << kind.name << ' ' << key;
        }
    }
}

TEST(AccountCodingGarbage, EveryKeyHasItsTypeAndStandsOnce) {
    for (const Kind& kind : kinds()) {
        const Json good = parseJson(kind.body);
        for (const auto& [key, value] : good.get_ref<const Json::object_t&>()) {
            for (const Json& wrong : {Json(1.5), Json(true), Json("text"), Json::array({Json(1)}),
                                      Json::object({{"a", 1}})}) {
                if (wrong.type() == value.type()) {
                    continue;
                }
                Json body = good;
                body[key] = wrong;
                EXPECT_EQ(kind.failure(writeJson(body)), Reason::wrongType)
                    << kind.name << ' ' << key << ' ' << wrong.dump();
            }
            QByteArray twice = kind.body;
            twice.chop(1);
            twice += ",\"" + QByteArray::fromStdString(key) + "\":" + writeJson(value) + "}";
            EXPECT_EQ(kind.failure(twice), Reason::duplicate) << kind.name << ' ' << key;
        }
    }
}

TEST(AccountCodingGarbage, NothingButOneObjectIsARecord) {
    const std::vector<QByteArray> bodies{"",
                                         " ",
                                         "null",
                                         "[]",
                                         "1",
                                         "\"x\"",
                                         "{",
                                         "{}}",
                                         "{} {}",
                                         "nonsense",
                                         "\xff\xfe",
                                         "<html>Error</html>",
                                         QByteArray("{}\0", 3),
                                         R"({"name":"\ud800"})",
                                         "{'a':1}"};
    for (const Kind& kind : kinds()) {
        for (const QByteArray& body : bodies) {
            EXPECT_TRUE(kind.failure(body)) << kind.name << ' ' << body.toStdString();
        }
        EXPECT_TRUE(kind.failure("{}")) << kind.name;
        EXPECT_TRUE(kind.failure(kind.body + kind.body)) << kind.name;
        EXPECT_EQ(kind.failure(" \n" + kind.body + "\t"), std::nullopt) << kind.name;
    }
}

TEST(AccountCodingGarbage, ABodyCutAnywhereFails) {
    for (const Kind& kind : kinds()) {
        for (qsizetype length = 0; length < kind.body.size(); ++length) {
            EXPECT_TRUE(kind.failure(kind.body.first(length))) << kind.name << ' ' << length;
        }
    }
}

TEST(AccountCodingGarbage, SizeAndNestingAreBounded) {
    const QByteArray deep = QByteArray(16, '[') + QByteArray(16, ']');
    const auto withExtra = [](const QByteArray& extra) {
        return R"({"name":"S","kind":"phone","extra":)" + extra + "}";
    };
    EXPECT_EQ(failureOf<TakeoverDevice>(withExtra(deep)), Reason::tooDeep);
    EXPECT_EQ(failureOf<TakeoverDevice>(withExtra(deep.sliced(1, 30))), std::nullopt);
    const QByteArray frame = withExtra(R"("")");
    const qsizetype room = accountJsonLimits.maximumBytes - frame.size();
    EXPECT_EQ(failureOf<TakeoverDevice>(withExtra('"' + QByteArray(room, 'x') + '"')),
              std::nullopt);
    EXPECT_EQ(failureOf<TakeoverDevice>(withExtra('"' + QByteArray(room + 1, 'x') + '"')),
              Reason::tooLarge);
}

TEST(AccountCodingGarbage, NumbersOfAFilterHaveToFitTheirFields) {
    const auto withBits = [](const QByteArray& m) {
        return R"({"version":"v","m":)" + m + R"(,"k":1,"hash":"h","seed":"00","bits":"AA"})";
    };
    EXPECT_EQ(failureOf<HandleFilterPayload>(withBits("-8")), std::nullopt);
    EXPECT_EQ(failureOf<HandleFilterPayload>(withBits("9223372036854775807")), std::nullopt);
    EXPECT_EQ(failureOf<HandleFilterPayload>(withBits("9223372036854775808")), Reason::outOfRange);
    EXPECT_EQ(failureOf<HandleFilterPayload>(withBits("8.5")), Reason::wrongType);
    EXPECT_EQ(failureOf<HandleFilterPayload>(withBits("\"8\"")), Reason::wrongType);
}

} // namespace lumivane
