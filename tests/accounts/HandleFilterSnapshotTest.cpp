#include "accounts/HandleFilterSnapshot.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

HandleFilterPayload payload(std::int64_t m, std::int64_t k, const QByteArray& bits,
                            const QString& seed = u"0001"_qs) {
    return {u"v1"_qs, m, k, u"sha256"_qs, seed, QString::fromLatin1(bits.toBase64())};
}

HandleFilterSnapshot filter(std::int64_t m, std::int64_t k, const QByteArray& bits) {
    return HandleFilterSnapshot::from(payload(m, k, bits)).value();
}

bool makesNone(const HandleFilterPayload& given) { return !HandleFilterSnapshot::from(given); }

void setBit(QByteArray& bits, std::uint64_t place) {
    const auto index = static_cast<qsizetype>(place / 8);
    bits[index] = static_cast<char>(static_cast<unsigned char>(bits[index]) | 1U << (place % 8));
}

} // namespace

// What makes a filter

TEST(HandleFilterSnapshot, TakesAPayloadApart) {
    const auto snapshot = HandleFilterSnapshot::from(
        {u"v-7"_qs, 16, 3, u"anything at all"_qs, u"00fF"_qs, u"_-8"_qs});
    EXPECT_EQ(snapshot, (HandleFilterSnapshot{u"v-7"_qs, 16, 3, QByteArray("\x00\xff", 2),
                                              QByteArray("\xff\xef")}));
}

TEST(HandleFilterSnapshot, ProbesAndBitsAreAbove0AndBitsAPowerOfTwo) {
    const QByteArray bits(1024, '\0');
    for (const std::int64_t m : {1, 2, 4, 8, 1024, 8192}) {
        EXPECT_FALSE(makesNone(payload(m, 1, bits))) << m;
    }
    for (const std::int64_t m :
         {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-8}, std::int64_t{3}, std::int64_t{1000},
          std::int64_t{8191}, std::numeric_limits<std::int64_t>::min(),
          std::numeric_limits<std::int64_t>::max()}) {
        EXPECT_TRUE(makesNone(payload(m, 1, bits))) << m;
    }
    EXPECT_TRUE(makesNone(payload(8, 0, bits)));
    EXPECT_TRUE(makesNone(payload(8, -1, bits)));
    EXPECT_FALSE(makesNone(payload(8, std::numeric_limits<std::int64_t>::max(), bits)));
}

TEST(HandleFilterSnapshot, HoldsAtLeastAsManyBitsAsItSays) {
    EXPECT_FALSE(makesNone(payload(1024, 1, QByteArray(128, '\0'))));
    EXPECT_FALSE(makesNone(payload(1024, 1, QByteArray(129, '\0'))));
    EXPECT_TRUE(makesNone(payload(1024, 1, QByteArray(127, '\0'))));
    EXPECT_TRUE(makesNone(payload(1, 1, QByteArray())));
    EXPECT_TRUE(makesNone(payload(std::int64_t{1} << 62U, 1, QByteArray(128, '\0'))));
}

TEST(HandleFilterSnapshot, SeedAndBitsHaveToBeReadable) {
    const QByteArray bits(1, '\0');
    for (const QString& seed : {u""_qs, u"0"_qs, u"0g"_qs, u"+1"_qs, u" 00"_qs}) {
        EXPECT_TRUE(makesNone(payload(8, 1, bits, seed)));
    }
    HandleFilterPayload unreadable = payload(8, 1, bits);
    for (const QString& text : {u""_qs, u"A"_qs, u"A A"_qs, u"AA="_qs}) {
        unreadable.bits = text;
        EXPECT_TRUE(makesNone(unreadable)) << text.toStdString();
    }
}

// The arithmetic

TEST(HandleFilterSnapshot, TheKnownVectorHolds) {
    const HandleFilterSnapshot snapshot = filter(1024, 3, QByteArray(128, '\0'));
    EXPECT_EQ(snapshot.seed, QByteArray("\x00\x01", 2));
    EXPECT_EQ(snapshot.probes(u"ab"_qs), (std::vector<std::uint64_t>{785, 38, 315}));
}

TEST(HandleFilterSnapshot, WiderPlacesShowTheWholeStartAndStep) {
    // Places of a filter larger than any real one, so that no bits are needed.
    HandleFilterSnapshot wide;
    wide.m = std::int64_t{1} << 62U;
    wide.k = 3;
    wide.seed = QByteArray("\x00\x01", 2);
    constexpr std::uint64_t mask = (std::uint64_t{1} << 62U) - 1;
    constexpr std::uint64_t start = 0xbb6fe31597b3bf11;
    constexpr std::uint64_t step = 0x365e984db886bd15;
    EXPECT_EQ(wide.probes(u"ab"_qs),
              (std::vector<std::uint64_t>{start & mask, (start + step) & mask,
                                          (start + 2 * step) & mask}));
}

TEST(HandleFilterSnapshot, ATextIsTakenOnlyWhenAllItsBitsAreSet) {
    QByteArray bits(128, '\0');
    EXPECT_FALSE(filter(1024, 3, bits).mayContain(u"ab"_qs));
    setBit(bits, 785);
    setBit(bits, 38);
    EXPECT_FALSE(filter(1024, 3, bits).mayContain(u"ab"_qs));
    EXPECT_TRUE(filter(1024, 2, bits).mayContain(u"ab"_qs));
    setBit(bits, 315);
    EXPECT_TRUE(filter(1024, 3, bits).mayContain(u"ab"_qs));
    EXPECT_FALSE(filter(1024, 3, bits).mayContain(u"ac"_qs));
}

TEST(HandleFilterSnapshot, TheLowestBitOfAByteIsItsFirst) {
    QByteArray bits(128, '\0');
    bits[98] = 0x02; // 785 is 98 * 8 + 1
    EXPECT_TRUE(filter(1024, 1, bits).mayContain(u"ab"_qs));
    bits[98] = static_cast<char>(0xfd);
    EXPECT_FALSE(filter(1024, 1, bits).mayContain(u"ab"_qs));
}

TEST(HandleFilterSnapshot, HandlesAreNormalisedAndFoldedBeforehand) {
    QByteArray bits(128, '\0');
    setBit(bits, 785);
    setBit(bits, 38);
    setBit(bits, 315);
    const HandleFilterSnapshot snapshot = filter(1024, 3, bits);
    for (const QString& text : {u"AB"_qs, u" @@aB\n"_qs, u"@ab"_qs}) {
        EXPECT_TRUE(snapshot.mayContain(text));
    }
    EXPECT_FALSE(snapshot.mayContain(u"@ ab"_qs));
}

TEST(HandleFilterSnapshot, NothingMayAlwaysBeTaken) {
    const HandleFilterSnapshot snapshot = filter(1024, 3, QByteArray(128, '\0'));
    for (const QString& text : {u""_qs, u" "_qs, u"@@"_qs, u" @ "_qs}) {
        EXPECT_TRUE(snapshot.mayContain(text));
    }
}

TEST(HandleFilterSnapshot, APlaceBeyondTheBitsMayBeTaken) {
    HandleFilterSnapshot broken = filter(1024, 3, QByteArray(128, '\0'));
    broken.bits.truncate(98);
    EXPECT_TRUE(broken.mayContain(u"ab"_qs)); // its first place is in byte 98
    broken.bits.append('\0');
    EXPECT_FALSE(broken.mayContain(u"ab"_qs));
}

TEST(HandleFilterSnapshot, AnyNumberOfProbesEndsAndMeansWhatItSays) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    QByteArray bits(128, '\xff');
    EXPECT_TRUE(filter(1024, most, bits).mayContain(u"ab"_qs));
    EXPECT_EQ(filter(1024, most, bits).probes(u"ab"_qs).size(), 1024U);
    for (int place = 0; place < 1024; ++place) {
        QByteArray holed = bits;
        holed[place / 8] = static_cast<char>(~(1U << static_cast<unsigned>(place % 8)));
        EXPECT_FALSE(filter(1024, most, holed).mayContain(u"ab"_qs)) << place;
        EXPECT_FALSE(filter(1024, 1024, holed).mayContain(u"ab"_qs)) << place;
    }
    EXPECT_TRUE(filter(1, most, QByteArray(1, '\x01')).mayContain(u"ab"_qs));
    EXPECT_FALSE(filter(1, most, QByteArray(1, '\xfe')).mayContain(u"ab"_qs));
}

} // namespace lumivane
