#include "accounts/SecretJson.h"

#include "domain/SecretBytes.h"
#include "support/MemoryCanary.h"

#include <gtest/gtest.h>

#include <string>

namespace lumivane {

namespace {

const std::string longSecret(64, 's');

} // namespace

TEST(SecretJson, KeepsTheValueAndWritesIt) {
    const SecretJson json(Json{{"b", "x\"y"}, {"a", 1}});
    EXPECT_EQ(json.value().at("a"), 1);
    EXPECT_EQ(json.write(), R"({"b":"x\"y","a":1})");
}

TEST(SecretJson, WritesAsAllOtherJsonIsWritten) {
    std::string every;
    for (int code = 0; code < 128; ++code) {
        every += static_cast<char>(code);
    }
    for (const Json& value :
         {Json(every), Json("gr\xC3\xBCn \xE6\xBC\xA2 \xF0\x9F\x94\x91"), Json::object(),
          Json::array(),
          Json{{every, Json::array({1, -2, true, nullptr, Json::array(), "x"})}, {"", ""}},
          Json(""), Json{{"a", Json{{"b", Json::object()}}}, {"c", 3}}}) {
        const QByteArray written = SecretJson(value).write();
        EXPECT_EQ(written, writeJson(value));
        EXPECT_GE(written.capacity(), written.size());
    }
}

TEST(SecretJson, WritingLeavesNoPartOfASecretBehind) {
    const test::MemoryCanary canary;
    {
        const SecretJson json(JsonObjectWriter().write("refresh_token", canary.secret()).take());
        QByteArray written = json.write();
        EXPECT_EQ(written.size(), 96 + 20);
        overwriteWithZeros(written);
    }
    EXPECT_FALSE(canary.standsInMemory());
}

TEST(SecretJson, OverwritesEveryText) {
    SecretJson json(Json{{"a", longSecret}, {"b", Json::array({1, Json{{"c", longSecret}}})}});
    const std::string& outer = json.value().at("a").get_ref<const std::string&>();
    const std::string& inner = json.value().at("b").at(1).at("c").get_ref<const std::string&>();
    EXPECT_EQ(outer, longSecret);
    EXPECT_EQ(inner, longSecret);
    json.overwrite();
    EXPECT_EQ(outer, std::string(64, '\0'));
    EXPECT_EQ(inner, std::string(64, '\0'));
}

TEST(SecretTextCoding, IsATextLikeAnyOther) {
    EXPECT_EQ(JsonCoding<SecretText>::decode("token").reveal(), QByteArrayView("token"));
    EXPECT_EQ(JsonCoding<SecretText>::encode(SecretText(QByteArrayView("token"))), "token");
    EXPECT_TRUE(JsonCoding<SecretText>::decode("").isEmpty());
    for (const Json& value : {Json(1), Json(true), Json(nullptr), Json::array(), Json::object()}) {
        EXPECT_THROW(JsonCoding<SecretText>::decode(value), DecodingError) << value.dump();
    }
}

TEST(SecretBytes, HandsOutItsOwnBytesAndLeavesThemWholeToWhoeverSharesThem) {
    QByteArray shared;
    const char* memory = nullptr;
    {
        const SecretBytes bytes(QByteArray("a token"));
        memory = bytes.share().constData();
        shared = bytes.share();
    }
    EXPECT_EQ(shared.constData(), memory);
    EXPECT_EQ(shared, "a token");
}

TEST(SecretBytes, OverwritesWhatItHasToItself) {
    SecretBytes bytes(QByteArray("a token"));
    const char* const memory = bytes.share().constData();
    bytes.overwrite();
    EXPECT_EQ(bytes.share().constData(), memory);
    EXPECT_EQ(bytes.share(), QByteArray(7, '\0'));
}

TEST(SecretBytes, MovingLeavesNothingBehind) {
    SecretBytes first(QByteArray("a token"));
    const SecretBytes second = std::move(first);
    EXPECT_TRUE(first.share().isEmpty()); // NOLINT(bugprone-use-after-move): that is the promise
    EXPECT_EQ(second.share(), "a token");
}

} // namespace lumivane
