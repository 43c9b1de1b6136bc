#include "accounts/TextDecoding.h"

#include <gtest/gtest.h>

#include <random>

namespace lumivane {

namespace {

std::optional<QByteArray> base64(const char* text) {
    return decodeBase64URL(QString::fromUtf8(text));
}

std::optional<QByteArray> hexadecimal(const char* text) {
    return decodeHexadecimal(QString::fromUtf8(text));
}

} // namespace

TEST(Hexadecimal, ReadsPairsOfDigitsInEitherCase) {
    EXPECT_EQ(hexadecimal("00"), QByteArray(1, '\0'));
    EXPECT_EQ(hexadecimal("0001fF"), QByteArray("\x00\x01\xff", 3));
    EXPECT_EQ(hexadecimal("DEADbeef"), QByteArray("\xde\xad\xbe\xef"));
}

TEST(Hexadecimal, OneBadPairRefusesTheWholeText) {
    for (const char* text : {"", "0", "000", "0g", "00 ", " 00", "0x00", "+1", "-1", "00+1", "1 ",
                             "\u0660\u0660", "\uff10\uff10", "00:11"}) {
        EXPECT_FALSE(hexadecimal(text)) << text;
    }
    EXPECT_FALSE(decodeHexadecimal(u"0\0"_qs));
}

TEST(Base64URL, ReadsBothAlphabetsWithWholePaddingOrNone) {
    EXPECT_EQ(base64(""), QByteArray());
    EXPECT_EQ(base64("AA"), QByteArray(1, '\0'));
    EXPECT_EQ(base64("AA=="), QByteArray(1, '\0'));
    EXPECT_EQ(base64("Zm8"), QByteArray("fo"));
    EXPECT_EQ(base64("Zm8="), QByteArray("fo"));
    EXPECT_EQ(base64("Zm9v"), QByteArray("foo"));
    EXPECT_EQ(base64("Zm9vYg"), QByteArray("foob"));
    EXPECT_EQ(base64("-_-_"), QByteArray("\xfb\xff\xbf"));
    EXPECT_EQ(base64("+/+/"), QByteArray("\xfb\xff\xbf"));
    EXPECT_EQ(base64("-/_+"), base64("+/_-"));
}

TEST(Base64URL, BitsThatMakeNoWholeByteAreIgnored) {
    EXPECT_EQ(base64("AB"), QByteArray(1, '\0'));
    EXPECT_EQ(base64("AP=="), QByteArray(1, '\0'));
    EXPECT_EQ(base64("AAD"), QByteArray(2, '\0'));
    EXPECT_EQ(base64("__"), QByteArray("\xff"));
    EXPECT_EQ(base64("__8"), QByteArray("\xff\xff"));
    EXPECT_EQ(base64("__9="), QByteArray("\xff\xff"));
}

TEST(Base64URL, RefusesEveryOtherText) {
    for (const char* text :
         {"A",      "AAAAA",    "A=",   "A==",       "A===",         "AA=",    "AAA==", "AAAA=",
          "AAAA==", "AAAA====", "=",    "==",        "====",         "AA==AA", "A=A=",  "AA A",
          "AA\n",   " AA",      "AA.A", "A\xc3\xa9", "\uff21\uff21", "AA=A",   "A,AA"}) {
        EXPECT_FALSE(base64(text)) << text;
    }
    EXPECT_FALSE(decodeBase64URL(u"AA\0A"_qs));
}

TEST(Base64URL, ReadsWhatTheToolkitWrites) {
    std::mt19937_64 random(7);
    for (int round = 0; round < 2000; ++round) {
        QByteArray bytes(static_cast<qsizetype>(random() % 70), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random());
        }
        using Option = QByteArray::Base64Option;
        for (const auto options : {QByteArray::Base64Options(Option::Base64UrlEncoding),
                                   Option::Base64UrlEncoding | Option::OmitTrailingEquals,
                                   QByteArray::Base64Options(Option::Base64Encoding)}) {
            EXPECT_EQ(decodeBase64URL(QString::fromLatin1(bytes.toBase64(options))), bytes);
        }
        EXPECT_EQ(bytes.isEmpty() ? bytes : decodeHexadecimal(QString::fromLatin1(bytes.toHex())),
                  bytes);
    }
}

} // namespace lumivane
