#include "server/login/IdToken.h"

#include "server/TokenMaker.h"
#include "server/accounts/Tokens.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <gtest/gtest.h>

namespace lumivane::service::test {

namespace json = boost::json;

namespace {

constexpr std::int64_t now = 1'794'723'930;

IdTokenRules rules() { return {"https://issuer.example", "client-1", "nonce-1", now}; }

json::object claims() {
    json::object result;
    result["iss"] = "https://issuer.example";
    result["aud"] = "client-1";
    result["nonce"] = "nonce-1";
    result["sub"] = "subject-1";
    result["iat"] = now;
    result["exp"] = now + 300;
    return result;
}

json::object with(const std::string& key, const json::value& value) {
    json::object result = claims();
    result[key] = value;
    return result;
}

json::object without(const std::string& key) {
    json::object result = claims();
    result.erase(key);
    return result;
}

} // namespace

class IdTokenTest : public testing::TestWithParam<TokenMaker::Kind> {
protected:
    bool isBelieved(const std::string& token) const {
        return claimsOfIdToken(token, json::parse(maker.keySet()), rules()).has_value();
    }

    bool isBelieved(const json::object& said) const { return isBelieved(maker.sign(said)); }

    TokenMaker maker{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Kinds, IdTokenTest,
                         testing::Values(TokenMaker::Kind::rsa, TokenMaker::Kind::curve));

TEST_P(IdTokenTest, WhatIsRightIsBelieved) {
    const auto found = claimsOfIdToken(maker.sign(claims()), json::parse(maker.keySet()), rules());
    ASSERT_TRUE(found);
    EXPECT_EQ(found->at("sub"), "subject-1");
    EXPECT_TRUE(isBelieved(with("aud", json::array{"client-1"})));
    EXPECT_TRUE(isBelieved(with("iss", "issuer.example")));
}

TEST_P(IdTokenTest, EachClaimIsChecked) {
    EXPECT_FALSE(isBelieved(with("iss", "https://other.example")));
    EXPECT_FALSE(isBelieved(with("aud", "client-2")));
    EXPECT_FALSE(isBelieved(with("aud", json::array{"client-1", "client-2"})));
    EXPECT_FALSE(isBelieved(with("aud", json::array())));
    EXPECT_FALSE(isBelieved(with("nonce", "nonce-2")));
    EXPECT_FALSE(isBelieved(with("sub", "")));
    EXPECT_FALSE(isBelieved(with("exp", "tomorrow")));
    for (const char* key : {"iss", "aud", "nonce", "sub", "iat", "exp"}) {
        EXPECT_FALSE(isBelieved(without(key))) << key;
    }
}

TEST_P(IdTokenTest, TimesMayDifferByAMinute) {
    EXPECT_TRUE(isBelieved(with("exp", now - 59)));
    EXPECT_FALSE(isBelieved(with("exp", now - 60)));
    EXPECT_TRUE(isBelieved(with("iat", now + 60)));
    EXPECT_FALSE(isBelieved(with("iat", now + 61)));
}

TEST_P(IdTokenTest, AChangedTokenIsNotBelieved) {
    const std::string token = maker.sign(claims());
    const auto first = token.find('.');
    const auto second = token.find('.', first + 1);
    const std::string other = maker.sign(with("sub", "subject-2"));
    const auto otherFirst = other.find('.');
    const auto otherSecond = other.find('.', otherFirst + 1);
    EXPECT_FALSE(isBelieved(token.substr(0, first) +
                            other.substr(otherFirst, otherSecond - otherFirst) +
                            token.substr(second)));
    EXPECT_FALSE(isBelieved(token.substr(0, second + 1)));
    EXPECT_FALSE(isBelieved(token.substr(0, second)));
    EXPECT_FALSE(isBelieved(std::string()));
    EXPECT_FALSE(isBelieved(token + "!"));
}

TEST_P(IdTokenTest, AnotherKeyIsNotBelieved) {
    const TokenMaker stranger(GetParam());
    EXPECT_FALSE(isBelieved(stranger.sign(claims())));
    const TokenMaker unnamed(GetParam(), "key-2");
    EXPECT_FALSE(isBelieved(unnamed.sign(claims())));
}

TEST_P(IdTokenTest, TheHeaderCannotChooseAWeakerWay) {
    for (const char* algorithm : {"none", "HS256", "RS512", "rs256", ""}) {
        EXPECT_FALSE(isBelieved(maker.sign(claims(), algorithm))) << algorithm;
    }
    const bool isRsa = GetParam() == TokenMaker::Kind::rsa;
    EXPECT_FALSE(isBelieved(maker.sign(claims(), isRsa ? "ES256" : "RS256")));
    const std::string bare =
        base64Url(R"({"alg":"none"})") + "." + base64Url(json::serialize(claims())) + ".";
    EXPECT_FALSE(isBelieved(bare));
}

TEST_P(IdTokenTest, AKeySetThatIsNoneIsNotBelieved) {
    const std::string token = maker.sign(claims());
    for (const char* keys : {"[]", "{}", R"({"keys":7})", R"({"keys":[7]})",
                             R"({"keys":[{"kty":"RSA","kid":"key-1","n":"AQAB","e":"AQAB"}]})",
                             R"({"keys":[{"kty":"EC","kid":"key-1","crv":"P-256","x":"AA"}]})"}) {
        EXPECT_FALSE(claimsOfIdToken(token, json::parse(keys), rules())) << keys;
    }
    json::value meant = json::parse(maker.keySet());
    meant.at("keys").as_array().front().as_object()["use"] = "enc";
    EXPECT_FALSE(claimsOfIdToken(token, meant, rules()));
}

TEST_P(IdTokenTest, AnOldLoginIsNotBelievedWhereAFreshOneWasAskedFor) {
    IdTokenRules fresh = rules();
    fresh.authenticatedSince = now - 600;
    const auto isFresh = [&](const json::object& said) {
        return claimsOfIdToken(maker.sign(said), json::parse(maker.keySet()), fresh).has_value();
    };
    EXPECT_FALSE(isFresh(claims()));
    EXPECT_TRUE(isBelieved(claims()));
    EXPECT_TRUE(isFresh(with("auth_time", now)));
    EXPECT_TRUE(isFresh(with("auth_time", now - 660)));
    EXPECT_FALSE(isFresh(with("auth_time", now - 661)));
    EXPECT_FALSE(isFresh(with("auth_time", "now")));
    EXPECT_TRUE(isBelieved(with("auth_time", now - 661)));
}

} // namespace lumivane::service::test
