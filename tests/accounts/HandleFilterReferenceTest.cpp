#include "accounts/HandleFilterSnapshot.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>
#include <vector>

namespace lumivane {

namespace {

// A filter written down a second time, from its definition and with nothing of the first: a digest
// of its own, bits as booleans, places by remainder of 128-bit sums.

// NOLINTNEXTLINE(modernize-use-using): no alias may be marked as an extension
__extension__ typedef unsigned __int128 Wide;

std::uint32_t rotated(std::uint32_t word, unsigned by) { return word >> by | word << (32U - by); }

/// The first 32 bits of the fractional part of a root of `prime`: the square root for `power` 2,
/// the cube root for 3. They are the digest's constants.
std::uint32_t fractionOfRoot(std::uint64_t prime, unsigned power) {
    // The largest r with r^power <= prime * 2^(32 * power), bit by bit in whole numbers.
    std::uint64_t root = 0;
    for (int bit = 36; bit >= 0; --bit) {
        const std::uint64_t candidate = root | std::uint64_t{1} << static_cast<unsigned>(bit);
        const Wide square = static_cast<Wide>(candidate) * candidate;
        const Wide whole = static_cast<Wide>(prime) << 64U;
        // For the cube compare candidate^2 with floor(prime * 2^96 / candidate).
        const bool fits = power == 2 ? square <= whole
                                     : square <= ((static_cast<Wide>(prime) << 96U) / candidate);
        root = fits ? candidate : root;
    }
    return static_cast<std::uint32_t>(root);
}

std::vector<std::uint64_t> firstPrimes(std::size_t count) {
    std::vector<std::uint64_t> primes;
    for (std::uint64_t number = 2; primes.size() < count; ++number) {
        bool isPrime = true;
        for (const std::uint64_t prime : primes) {
            isPrime = isPrime && number % prime != 0;
        }
        if (isPrime) {
            primes.push_back(number);
        }
    }
    return primes;
}

struct Constants {
    std::array<std::uint32_t, 8> start{};
    std::array<std::uint32_t, 64> round{};

    Constants() {
        const auto primes = firstPrimes(64);
        for (std::size_t index = 0; index < 8; ++index) {
            start.at(index) = fractionOfRoot(primes[index], 2);
        }
        for (std::size_t index = 0; index < 64; ++index) {
            round.at(index) = fractionOfRoot(primes[index], 3);
        }
    }
};

using State = std::array<std::uint32_t, 8>;

void compress(State& state, const std::vector<std::uint8_t>& bytes, std::size_t offset,
              const Constants& constants) {
    std::array<std::uint32_t, 64> word{};
    for (std::size_t t = 0; t < 64; ++t) {
        if (t < 16) {
            for (std::size_t byte = 0; byte < 4; ++byte) {
                word.at(t) = word.at(t) << 8U | bytes[offset + t * 4 + byte];
            }
            continue;
        }
        const std::uint32_t a = word.at(t - 15);
        const std::uint32_t b = word.at(t - 2);
        word.at(t) = word.at(t - 16) + (rotated(a, 7) ^ rotated(a, 18) ^ a >> 3U) + word.at(t - 7) +
                     (rotated(b, 17) ^ rotated(b, 19) ^ b >> 10U);
    }
    State s = state;
    for (std::size_t t = 0; t < 64; ++t) {
        const std::uint32_t one =
            s[7] + (rotated(s[4], 6) ^ rotated(s[4], 11) ^ rotated(s[4], 25)) +
            ((s[4] & s[5]) ^ (~s[4] & s[6])) + constants.round.at(t) + word.at(t);
        const std::uint32_t two = (rotated(s[0], 2) ^ rotated(s[0], 13) ^ rotated(s[0], 22)) +
                                  ((s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]));
        s = {one + two, s[0], s[1], s[2], s[3] + one, s[4], s[5], s[6]};
    }
    for (std::size_t index = 0; index < 8; ++index) {
        state.at(index) += s.at(index);
    }
}

State digestOf(std::vector<std::uint8_t> bytes) {
    static const Constants constants;
    const std::uint64_t bits = bytes.size() * 8;
    bytes.push_back(0x80);
    while (bytes.size() % 64 != 56) {
        bytes.push_back(0);
    }
    for (unsigned shift = 64; shift > 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(bits >> (shift - 8)));
    }
    State state = constants.start;
    for (std::size_t offset = 0; offset < bytes.size(); offset += 64) {
        compress(state, bytes, offset, constants);
    }
    return state;
}

struct Reference {
    std::vector<std::uint8_t> seed;
    std::uint64_t m = 0;
    std::uint64_t k = 0;
    std::vector<bool> bits;

    std::vector<std::uint64_t> places(const std::string& folded) const {
        std::vector<std::uint8_t> input = seed;
        input.push_back(0);
        input.insert(input.end(), folded.begin(), folded.end());
        const State digest = digestOf(input);
        const Wide start = static_cast<Wide>(digest[0]) << 32U | digest[1];
        Wide step = static_cast<Wide>(digest[2]) << 32U | digest[3];
        step += step % 2 == 0 ? 1 : 0;
        std::vector<std::uint64_t> found;
        for (std::uint64_t index = 0; index < k; ++index) {
            // The remainder of 2^64 is the remainder of m, since m divides it.
            found.push_back(static_cast<std::uint64_t>((start + step * index) % m));
        }
        return found;
    }

    bool mayContain(const std::string& folded) const {
        for (const std::uint64_t place : places(folded)) {
            if (!bits[place]) {
                return false;
            }
        }
        return true;
    }

    HandleFilterPayload payload() const {
        QByteArray bytes(static_cast<qsizetype>((m + 7) / 8), '\0');
        for (std::uint64_t place = 0; place < m; ++place) {
            if (bits[place]) {
                const auto index = static_cast<qsizetype>(place / 8);
                bytes[index] = static_cast<char>(bytes[index] + (1 << (place % 8)));
            }
        }
        const QByteArray seedBytes(reinterpret_cast<const char*>(seed.data()),
                                   static_cast<qsizetype>(seed.size()));
        return {u"v"_qs,
                static_cast<std::int64_t>(m),
                static_cast<std::int64_t>(k),
                u"h"_qs,
                QString::fromLatin1(seedBytes.toHex()),
                QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding))};
    }
};

class Source {
public:
    std::uint64_t below(std::uint64_t limit) { return m_random() % limit; }

    std::string handle() {
        static const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789._-";
        std::string text;
        for (std::uint64_t left = 2 + below(38); left > 0; --left) {
            text += letters[below(letters.size())];
        }
        return text;
    }

    Reference filter() {
        Reference reference;
        for (std::uint64_t left = 1 + below(40); left > 0; --left) {
            reference.seed.push_back(static_cast<std::uint8_t>(below(256)));
        }
        reference.m = std::uint64_t{1} << below(12);
        reference.k = 1 + below(12);
        reference.bits.resize(reference.m);
        return reference;
    }

private:
    std::mt19937_64 m_random{0x5eed};
};

} // namespace

TEST(HandleFilterReference, ItsDigestIsTheKnownOne) {
    const State empty = digestOf({});
    EXPECT_EQ(empty[0], 0xe3b0c442U);
    EXPECT_EQ(empty[7], 0x7852b855U);
    const State abc = digestOf({'a', 'b', 'c'});
    EXPECT_EQ(abc[0], 0xba7816bfU);
    EXPECT_EQ(abc[7], 0xf20015adU);
    const Reference known{{0, 1}, 1024, 3, {}};
    EXPECT_EQ(known.places("ab"), (std::vector<std::uint64_t>{785, 38, 315}));
}

TEST(HandleFilterReference, TenThousandRandomFiltersAgree) {
    Source source;
    int free = 0;
    int taken = 0;
    for (int round = 0; round < 10000; ++round) {
        Reference reference = source.filter();
        std::vector<std::string> members;
        for (std::uint64_t left = source.below(12); left > 0; --left) {
            members.push_back(source.handle());
            for (const std::uint64_t place : reference.places(members.back())) {
                reference.bits[place] = true;
            }
        }
        const auto snapshot = HandleFilterSnapshot::from(reference.payload());
        ASSERT_TRUE(snapshot) << round;
        for (const std::string& member : members) {
            ASSERT_TRUE(snapshot->mayContain(QString::fromStdString(member))) << round;
        }
        for (int others = 0; others < 6; ++others) {
            const std::string handle = source.handle();
            const QString text = QString::fromStdString(handle);
            const bool isTaken = reference.mayContain(handle);
            ASSERT_EQ(snapshot->mayContain(u" @"_qs + text.toUpper()), isTaken) << round;
            std::vector<std::uint64_t> places = reference.places(handle);
            places.resize(std::min(places.size(), static_cast<std::size_t>(reference.m)));
            ASSERT_EQ(snapshot->probes(text), places) << round;
            (isTaken ? taken : free) += 1;
        }
    }
    // Both answers were really put to the test.
    EXPECT_GT(free, 10000);
    EXPECT_GT(taken, 10000);
}

} // namespace lumivane
