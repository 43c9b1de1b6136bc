#include "server/text/StrictJson.h"

#include <boost/json/object.hpp>
#include <gtest/gtest.h>

#include <string>

namespace lumivane::service {

namespace {

std::string errorOf(const std::string& text, const JsonLimits& limits = {}) {
    try {
        parseStrictly(text, limits);
    } catch (const JsonError& error) {
        return error.what();
    }
    return "none";
}

constexpr auto notWellFormed = "it is not well-formed JSON in UTF-8";

} // namespace

TEST(StrictJson, ReadsOneWholeDocument) {
    const auto value = parseStrictly(R"( {"a": [1, true, null, "é"]} )");
    EXPECT_EQ(value.at("a").as_array().size(), 4U);
}

TEST(StrictJson, RefusesWhatIsNotJson) {
    for (const char* text :
         {"", " ", "{", "{}x", "{} {}", "{'a':1}", "{\"a\":1,}", "[01]", "nul", "// c\n1",
          "\"\xFF\"", "\"\xC0\x80\"", "\"\\ud800\"", "\"\xED\xA0\x80\"", "\"a\nb\"", "NaN"}) {
        EXPECT_EQ(errorOf(text), notWellFormed) << text;
    }
}

TEST(StrictJson, DepthCountsUpToItsLimit) {
    EXPECT_EQ(errorOf(std::string(16, '[') + std::string(16, ']')), "none");
    EXPECT_EQ(errorOf(std::string(17, '[') + std::string(17, ']')), "it is nested too deeply");
    EXPECT_EQ(errorOf(std::string(1'000'000, '[')), "it is nested too deeply");
}

TEST(StrictJson, AKeyStandsOnceInEachObject) {
    EXPECT_EQ(errorOf(R"({"a":1,"a":1})"), "a key stands twice in one object");
    EXPECT_EQ(errorOf(R"({"a":1,"\u0061":1})"), "a key stands twice in one object");
    EXPECT_EQ(errorOf(R"({"a":{"a":1},"b":{"a":1}})"), "none");
}

TEST(StrictJson, ValuesAndKeysAreBounded) {
    JsonLimits limits;
    limits.values = 4;
    EXPECT_EQ(errorOf("[1,2,3]", limits), "none");
    EXPECT_EQ(errorOf("[1,2,3,4]", limits), "there are too many values");
    limits.keyBytes = 3;
    EXPECT_EQ(errorOf(R"({"abc":1})", limits), "none");
    EXPECT_EQ(errorOf(R"({"abcd":1})", limits), "a key is too long");
}

TEST(StrictJson, NeverRepeatsTheText) {
    EXPECT_EQ(errorOf("{\"canary\": canary}").find("canary"), std::string::npos);
}

} // namespace lumivane::service
