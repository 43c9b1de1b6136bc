#include "server/profile/ProfileRecords.h"

#include "server/accounts/AccountError.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivane::service {

namespace {

std::string repeated(std::string_view text, int times) {
    std::string result;
    for (int count = 0; count < times; ++count) {
        result += text;
    }
    return result;
}

// The status and code that a body is refused with; nothing for one that is taken.
std::string refusalOf(const std::string& body) {
    try {
        decodeProfileChange(body);
        return {};
    } catch (const AccountError& error) {
        return std::to_string(error.refusal().status) + " " + error.refusal().code;
    }
}

std::string messageOf(const std::string& body) {
    try {
        decodeProfileChange(body);
        return {};
    } catch (const AccountError& error) {
        return error.refusal().message;
    }
}

std::string handleBody(const std::string& handle) { return R"({"handle":")" + handle + R"("})"; }

} // namespace

TEST(ProfileRecords, ADisplayNameIsTrimmedAndCounted) {
    EXPECT_EQ(displayNameFrom("  Ada Lovelace\n"), "Ada Lovelace");
    EXPECT_EQ(displayNameFrom("A"), "A");
    EXPECT_EQ(displayNameFrom(""), std::nullopt);
    EXPECT_EQ(displayNameFrom(" \t\u00A0\u3000"), std::nullopt);
}

TEST(ProfileRecords, SixtyCodePointsAreTheMostWhateverTheirBytes) {
    for (const std::string_view one : {"x", "é", "山", "😀"}) {
        EXPECT_EQ(displayNameFrom(repeated(one, 60)), repeated(one, 60)) << one;
        EXPECT_EQ(displayNameFrom(repeated(one, 61)), std::nullopt) << one;
        EXPECT_EQ(displayNameFrom("  " + repeated(one, 60) + " "), repeated(one, 60)) << one;
    }
}

TEST(ProfileRecords, ADisplayNameIsOneLineWithoutControlCharacters) {
    for (const char* text :
         {"a\nb", "a\tb",
          "a\x01"
          "b",
          "a\x7F", "a\u0080b", "a\u009F", "\u0085a\u009Bb", "a\u2028b", "a\u2029b"}) {
        EXPECT_EQ(displayNameFrom(text), std::nullopt) << text;
    }
    // Characters that only join or shape others stay: emoji and scripts need them.
    for (const char* text :
         {"a\u00A0b", "👩\u200D💻", "<b>Ada</b>", "Robert'); DROP TABLE accounts;--", "\u200Fא"}) {
        EXPECT_EQ(displayNameFrom(text), text) << text;
    }
}

TEST(ProfileRecords, OneFieldOrBothMayChange) {
    EXPECT_EQ(decodeProfileChange(R"({"handle":"Cedar"})"), (ProfileChange{"Cedar", std::nullopt}));
    EXPECT_EQ(decodeProfileChange(R"({"display_name":" Ada "})"),
              (ProfileChange{std::nullopt, "Ada"}));
    EXPECT_EQ(decodeProfileChange(R"({"handle":" @@cedar ","display_name":"Ada","more":[1]})"),
              (ProfileChange{"cedar", "Ada"}));
    EXPECT_EQ(decodeProfileChange(R"({"handle":null,"display_name":"Ada"})"),
              (ProfileChange{std::nullopt, "Ada"}));
}

TEST(ProfileRecords, AChangeOfNothingIsRefused) {
    EXPECT_EQ(refusalOf("{}"), "422 invalid_request");
    EXPECT_EQ(refusalOf(R"({"handle":null,"display_name":null})"), "422 invalid_request");
    EXPECT_EQ(refusalOf(R"({"Handle":"cedar"})"), "422 invalid_request");
}

TEST(ProfileRecords, WhatIsNoJsonIsTold) {
    for (const std::string& body :
         {std::string(), std::string("{"), std::string("handle=cedar"),
          std::string(R"({"handle":"a1","handle":"b2"})"), std::string(R"({"handle":"cedar"} x)"),
          std::string("{\"handle\":\"ce\xFF"
                      "dar\"}"),
          R"({"handle":)" + repeated("[", 40) + repeated("]", 40) + "}"}) {
        EXPECT_EQ(refusalOf(body), "400 invalid_json") << body;
    }
}

TEST(ProfileRecords, FieldsOfAnotherShapeAreRefused) {
    for (const char* body :
         {"[]", "\"cedar\"", "null", "7", R"({"handle":7})", R"({"handle":true})",
          R"({"handle":["cedar"]})", R"({"handle":{"a":"b"}})", R"({"display_name":7})",
          R"({"display_name":""})", R"({"display_name":"  "})", R"({"display_name":"a\u0000b"})",
          R"({"handle":"ce\u0000dar"})", R"({"handle":"cedar","display_name":""})"}) {
        EXPECT_EQ(refusalOf(body), "422 invalid_request") << body;
    }
    EXPECT_EQ(refusalOf(handleBody(std::string(2'000, 'a'))), "422 invalid_request");
    EXPECT_EQ(refusalOf(R"({"display_name":")" + std::string(2'000, ' ') + R"(a"})"),
              "422 invalid_request");
}

TEST(ProfileRecords, AMalformedHandleIsRefused) {
    for (const char* handle : {"", "@", "a", "@ cedar", "ced ar", "cédar", "cedar!", "<b>", "a';--",
                               "cedar@oak", "\u200Bcedar"}) {
        EXPECT_EQ(refusalOf(handleBody(handle)), "422 invalid_request") << handle;
    }
    EXPECT_EQ(refusalOf(handleBody(std::string(40, 'a'))), "422 invalid_request");
    EXPECT_EQ(refusalOf(handleBody(std::string(39, 'a'))), "");
}

TEST(ProfileRecords, AReservedHandleIsAConflict) {
    EXPECT_EQ(refusalOf(handleBody("ADMIN")), "409 handle_reserved");
    EXPECT_EQ(refusalOf(handleBody("@lumi-vane")), "409 handle_reserved");
    EXPECT_EQ(refusalOf(handleBody("admins")), "");
}

TEST(ProfileRecords, RefusalsNeverRepeatTheText) {
    EXPECT_EQ(messageOf(handleBody("canary!")).find("canary"), std::string::npos);
    EXPECT_EQ(messageOf(R"({"display_name":"canary\n2"})").find("canary"), std::string::npos);
    EXPECT_FALSE(messageOf(handleBody("canary!")).empty());
}

TEST(ProfileRecords, AQuestionIsNormalisedAndNotJudged) {
    EXPECT_EQ(decodeHandleQuestion(R"({"handle":"  @@Cedar "})"), "Cedar");
    EXPECT_EQ(decodeHandleQuestion(R"({"handle":"@ cedar"})"), " cedar");
    EXPECT_EQ(decodeHandleQuestion(R"({"handle":"admin"})"), "admin");
    EXPECT_EQ(decodeHandleQuestion(R"({"handle":""})"), "");
    EXPECT_THROW(decodeHandleQuestion("{}"), AccountError);
    EXPECT_THROW(decodeHandleQuestion(R"({"handle":null})"), AccountError);
    EXPECT_THROW(decodeHandleQuestion(R"({"handle":")" + std::string(1'025, 'a') + R"("})"),
                 AccountError);
}

TEST(ProfileRecords, AnAnswerSaysWhyNot) {
    using Reason = HandleAvailability::Reason;
    EXPECT_EQ(encodeHandleAvailability({"Cedar", std::nullopt}),
              R"({"handle":"Cedar","available":true})");
    EXPECT_EQ(encodeHandleAvailability({"a\"", Reason::malformed}),
              R"({"handle":"a\"","available":false,"reason":"invalid"})");
    EXPECT_EQ(encodeHandleAvailability({"admin", Reason::reserved}),
              R"({"handle":"admin","available":false,"reason":"reserved"})");
    EXPECT_EQ(encodeHandleAvailability({"cedar", Reason::taken}),
              R"({"handle":"cedar","available":false,"reason":"taken"})");
}

} // namespace lumivane::service
