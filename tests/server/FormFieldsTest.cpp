#include "server/http/FormFields.h"

#include <gtest/gtest.h>

namespace lumivane::service {

namespace {

std::string valueIn(std::string_view text, std::string_view name) {
    const auto fields = FormFields::decode(text);
    if (!fields) {
        return "refused";
    }
    return std::string(fields->find(name).value_or("absent"));
}

bool isTaken(std::string_view text) { return FormFields::decode(text).has_value(); }

} // namespace

TEST(FormFields, ReadsNamesAndValues) {
    EXPECT_EQ(valueIn("a=1&b=2", "a"), "1");
    EXPECT_EQ(valueIn("a=1&b=2", "b"), "2");
    EXPECT_EQ(valueIn("a=1&b=2", "c"), "absent");
    EXPECT_EQ(valueIn("a=1&b=2", "A"), "absent");
    EXPECT_EQ(valueIn("a=", "a"), "");
    EXPECT_EQ(valueIn("a", "a"), "");
    EXPECT_EQ(valueIn("a=b=c", "a"), "b=c");
    EXPECT_EQ(valueIn("", "a"), "absent");
}

TEST(FormFields, DecodesPlusAndPercent) {
    EXPECT_EQ(valueIn("n=Ada+Lovelace", "n"), "Ada Lovelace");
    EXPECT_EQ(valueIn("n=a%2Bb%26c%3Dd", "n"), "a+b&c=d");
    EXPECT_EQ(valueIn("n=%C3%A4%e2%82%ac%F0%9F%92%A1", "n"), "ä€💡");
    EXPECT_EQ(valueIn("%6e=1", "n"), "1");
    EXPECT_EQ(valueIn("n=*-._~!", "n"), "*-._~!");
    EXPECT_EQ(valueIn("n=%3Cscript%3E", "n"), "<script>");
}

TEST(FormFields, BrokenEscapesAreRefused) {
    for (const char* text : {"a=%", "a=%4", "a=%zz", "a=%4z", "a=%-1", "a=% 1", "%=1", "a=1%2"}) {
        EXPECT_FALSE(isTaken(text)) << text;
    }
}

TEST(FormFields, RawBytesOutsideVisibleAsciiAreRefused) {
    EXPECT_FALSE(isTaken("a=b c"));
    EXPECT_FALSE(isTaken("a=\n"));
    EXPECT_FALSE(isTaken("a=\xC3\xA4"));
    EXPECT_FALSE(isTaken("a=\x7F"));
    EXPECT_FALSE(isTaken(std::string_view("a=\0", 3)));
}

TEST(FormFields, NulAndBrokenUtf8AreRefused) {
    for (const char* text : {"a=%00", "a=%C3", "a=%FF", "a=%C0%80", "a=%ED%A0%80", "a=%E2%82",
                             "a=%F4%90%80%80", "%FF=1"}) {
        EXPECT_FALSE(isTaken(text)) << text;
    }
}

TEST(FormFields, TwiceTheSameNameIsRefused) {
    EXPECT_FALSE(isTaken("a=1&a=1"));
    EXPECT_FALSE(isTaken("a=1&b=2&%61=3"));
}

TEST(FormFields, EmptyNamesAndPiecesAreRefused) {
    for (const char* text : {"=1", "&", "a=1&", "&a=1", "a=1&&b=2", "a=1&=2"}) {
        EXPECT_FALSE(isTaken(text)) << text;
    }
}

TEST(FormFields, SizesAreBounded) {
    EXPECT_TRUE(isTaken(std::string(64, 'n') + "=1"));
    EXPECT_FALSE(isTaken(std::string(65, 'n') + "=1"));
    EXPECT_TRUE(isTaken("a=" + std::string(8192, 'v')));
    EXPECT_FALSE(isTaken("a=" + std::string(8193, 'v')));
    std::string many;
    for (int field = 0; field < 32; ++field) {
        many += (field > 0 ? "&f" : "f") + std::to_string(field) + "=1";
    }
    EXPECT_TRUE(isTaken(many));
    EXPECT_FALSE(isTaken(many + "&one=1"));
}

TEST(FormFields, WhatIsPercentEncodedComesBack) {
    std::string every;
    for (char32_t character = 1; character < 0x80; ++character) {
        every.push_back(static_cast<char>(character));
    }
    every += "ä€💡";
    EXPECT_EQ(valueIn("a=" + percentEncoded(every), "a"), every);
    EXPECT_EQ(percentEncoded("aZ09-._~ /ä"), "aZ09-._~%20%2F%C3%A4");
}

} // namespace lumivane::service
