#include "platform/linux/InstanceRequest.h"

#include <gtest/gtest.h>

namespace lumivane::test {

namespace {

QByteArray withLength(quint32 length, const QByteArray& rest) {
    QByteArray bytes("LUM1");
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += char((length >> shift) & 0xFF);
    }
    return bytes + rest;
}

QByteArray whole(const QByteArray& rest) { return withLength(quint32(rest.size()), rest); }

bool isMalformed(const QByteArray& bytes) {
    return std::holds_alternative<InstanceRequest::Malformed>(InstanceRequest::decode(bytes));
}

bool isIncomplete(const QByteArray& bytes) {
    return std::holds_alternative<InstanceRequest::Incomplete>(InstanceRequest::decode(bytes));
}

QStringList decoded(const QByteArray& bytes) {
    return std::get<QStringList>(InstanceRequest::decode(bytes));
}

} // namespace

TEST(InstanceRequest, StandsOnTheWireAsWritten) {
    EXPECT_EQ(InstanceRequest::encode({}), QByteArray("LUM1\0\0\0\0", 8));
    EXPECT_EQ(InstanceRequest::encode({u"a:é"_qs, u"b:"_qs}), QByteArray("LUM1\0\0\0\x08"
                                                                         "a:\xC3\xA9\0b:\0",
                                                                         16));
}

TEST(InstanceRequest, ComesBackCharacterForCharacter) {
    const QStringList urls{u"com.example:/callback?code=%C3%A9&state=a+b#x"_qs,
                           u"\uFEFFé\u202E\U0001F600 \t\n\u0001"_qs, QString(8192, u'\uFFFD')};
    EXPECT_EQ(decoded(*InstanceRequest::encode(urls)), urls);
    EXPECT_EQ(decoded(*InstanceRequest::encode({})), QStringList());
}

TEST(InstanceRequest, TheLimitsAreMet) {
    const QStringList most(16, QString(8192, u'€'));
    const auto bytes = InstanceRequest::encode(most);
    ASSERT_TRUE(bytes);
    EXPECT_LE(bytes->size(), InstanceRequest::maximumBytes);
    EXPECT_EQ(decoded(*bytes), most);
    EXPECT_FALSE(InstanceRequest::encode(QStringList(17, u"a"_qs)));
    EXPECT_FALSE(InstanceRequest::encode({QString(8193, u'a')}));
}

TEST(InstanceRequest, WhatIsNoTextIsNotSent) {
    EXPECT_FALSE(InstanceRequest::encode({QString()}));
    EXPECT_FALSE(InstanceRequest::encode({u"a"_qs, QString(QChar::Null)}));
    EXPECT_FALSE(InstanceRequest::encode({QString(QChar(0xD800))}));
}

TEST(InstanceRequest, EveryBeginningIsIncomplete) {
    const QByteArray bytes = *InstanceRequest::encode({u"one:1"_qs, u"two:2"_qs});
    for (qsizetype length = 0; length < bytes.size(); ++length) {
        EXPECT_TRUE(isIncomplete(bytes.first(length))) << length;
    }
    EXPECT_EQ(decoded(bytes + "more"), QStringList({u"one:1"_qs, u"two:2"_qs}));
}

TEST(InstanceRequest, GarbageIsKnownByItsFirstByte) {
    EXPECT_TRUE(isMalformed("G"));
    EXPECT_TRUE(isMalformed("LUM2"));
    EXPECT_TRUE(isMalformed(QByteArray(1000, '\xFF')));
}

TEST(InstanceRequest, LengthsBeyondTheLimitAreRefusedAtOnce) {
    EXPECT_TRUE(isMalformed(withLength(0xFFFFFFFF, {})));
    EXPECT_TRUE(isMalformed(withLength(quint32(InstanceRequest::maximumBytes - 7), {})));
    EXPECT_TRUE(isIncomplete(withLength(quint32(InstanceRequest::maximumBytes - 8), {})));
}

TEST(InstanceRequest, WrongContentsAreRefused) {
    EXPECT_TRUE(isMalformed(whole("a:")));                                 // without its end
    EXPECT_TRUE(isMalformed(whole(QByteArray("\0", 1))));                  // an empty one
    EXPECT_TRUE(isMalformed(whole(QByteArray("a\0\0", 3))));               // a second, empty one
    EXPECT_TRUE(isMalformed(whole(QByteArray("\xC3\0", 2))));              // no UTF-8
    EXPECT_TRUE(isMalformed(whole(QByteArray("\xED\xA0\x80\0", 4))));      // half a pair
    EXPECT_TRUE(isMalformed(whole(QByteArray(8193, 'a') + '\0')));         // too long
    EXPECT_TRUE(isMalformed(whole(QByteArray("a\0", 2).repeated(17))));    // too many
    EXPECT_TRUE(isMalformed(whole(QByteArray("a\0", 2).repeated(10000)))); // far too many
}

} // namespace lumivane::test
