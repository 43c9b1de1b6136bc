#include "server/profile/HandleFilter.h"

#include <boost/json/parse.hpp>
#include <boost/multiprecision/cpp_int.hpp>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/sha.h>

#include <random>
#include <set>

namespace lumivane::service {

namespace {

namespace json = boost::json;
using Integer = boost::multiprecision::cpp_int;

// A reader of the wire form that shares nothing with the code under test: text to bytes by the
// cryptography library, numbers of any length in place of ones that wrap.
class ReferenceReader {
public:
    explicit ReferenceReader(const std::string& body) {
        const json::object record = json::parse(body).as_object();
        m_bitCount = record.at("m").as_int64();
        m_probeCount = record.at("k").as_int64();
        m_seed = hexadecimal(std::string(record.at("seed").as_string()));
        m_bits = base64(std::string(record.at("bits").as_string()));
    }

    std::size_t byteCount() const { return m_bits.size(); }

    std::size_t bitsSet() const {
        std::size_t count = 0;
        for (const unsigned char byte : m_bits) {
            for (int bit = 0; bit < 8; ++bit) {
                count += (byte >> bit) % 2;
            }
        }
        return count;
    }

    bool mayContain(const std::string& folded) const {
        std::vector<unsigned char> input = m_seed;
        input.push_back(0);
        input.insert(input.end(), folded.begin(), folded.end());
        std::array<unsigned char, 32> digest{};
        SHA256(input.data(), input.size(), digest.data());
        const Integer start = number(digest.data());
        const Integer lowest = number(digest.data() + 8) % 2;
        const Integer step = number(digest.data() + 8) + (lowest == 0 ? 1 : 0);
        const Integer wrap = Integer(1) << 64;
        for (std::int64_t index = 0; index < m_probeCount; ++index) {
            const Integer place = ((start + step * index) % wrap) % m_bitCount;
            const auto position = static_cast<std::size_t>(place);
            if ((m_bits.at(position / 8) / (1 << position % 8)) % 2 == 0) {
                return false;
            }
        }
        return true;
    }

private:
    static Integer number(const unsigned char* eightBytes) {
        Integer value = 0;
        for (int index = 0; index < 8; ++index) {
            value = value * 256 + eightBytes[index];
        }
        return value;
    }

    static std::vector<unsigned char> hexadecimal(const std::string& text) {
        std::vector<unsigned char> bytes;
        for (std::size_t index = 0; index + 1 < text.size(); index += 2) {
            bytes.push_back(
                static_cast<unsigned char>(std::stoi(text.substr(index, 2), nullptr, 16)));
        }
        return bytes;
    }

    static std::vector<unsigned char> base64(std::string text) {
        for (char& character : text) {
            character = character == '-' ? '+' : character == '_' ? '/' : character;
        }
        const std::size_t padding = (4 - text.size() % 4) % 4;
        text.append(padding, '=');
        std::vector<unsigned char> bytes(text.size() / 4 * 3);
        const int length =
            EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<int>(text.size()));
        bytes.resize(static_cast<std::size_t>(length) - padding);
        return bytes;
    }

    std::int64_t m_bitCount = 0;
    std::int64_t m_probeCount = 0;
    std::vector<unsigned char> m_seed;
    std::vector<unsigned char> m_bits;
};

class RandomHandles {
public:
    explicit RandomHandles(std::uint64_t seed)
        : m_engine(seed) {}

    std::uint64_t below(std::uint64_t bound) { return m_engine() % bound; }

    std::string next() {
        static constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789._-";
        std::string handle;
        for (std::uint64_t left = 2 + below(38); left > 0; --left) {
            handle += letters[below(letters.size())];
        }
        return handle;
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace

TEST(HandleFilter, TheFixedVectorHasItsProbes) {
    const std::string seed("\x00\x01", 2);
    EXPECT_EQ(handleProbes({1024, 3}, seed, "ab"), (std::vector<std::uint64_t>{785, 38, 315}));
}

TEST(HandleFilter, TheFixedVectorSetsItsBits) {
    HandleFilter filter({1024, 3}, std::string("\x00\x01", 2));
    filter.insert("ab");
    std::string bits(128, '\0');
    bits[785 / 8] = 1 << (785 % 8);
    bits[38 / 8] = 1 << (38 % 8);
    bits[315 / 8] = 1 << (315 % 8);
    EXPECT_EQ(filter.bits(), bits);
}

TEST(HandleFilter, TheWireFormHasItsKeysInOrder) {
    HandleFilter filter({1024, 3}, std::string("\x00\xAB", 2));
    EXPECT_EQ(filter.encoded("v-1"), R"({"version":"v-1","m":1024,"k":3,"hash":"sha256",)"
                                     R"("seed":"00ab","bits":")" +
                                         std::string(171, 'A') + R"("})");
}

TEST(HandleFilter, AFilterOfNobodyIsSmallAndEmpty) {
    const HandleFilterShape shape = handleFilterShape(0, 0.01);
    EXPECT_EQ(shape, (HandleFilterShape{1024, 1}));
    EXPECT_EQ(falsePositiveRate(shape, 0), 0.0);
    const ReferenceReader reader(HandleFilter(shape, "s").encoded("v"));
    EXPECT_FALSE(reader.mayContain("cedar"));
    EXPECT_EQ(reader.byteCount(), 128U);
}

TEST(HandleFilter, TheSizeFollowsTheRate) {
    // 9.585 bits a handle give 1 %; the next power of two needs fewer probes than the best seven.
    EXPECT_EQ(handleFilterShape(106, 0.01).bits, 1024U);
    EXPECT_EQ(handleFilterShape(107, 0.01).bits, 2048U);
    EXPECT_EQ(handleFilterShape(100'000, 0.01), (HandleFilterShape{1 << 20, 5}));
    EXPECT_GT(falsePositiveRate({1 << 20, 4}, 100'000), 0.01);
    for (const std::uint64_t handles : {1U, 7U, 106U, 107U, 5'000U, 100'000U, 1'700'000U}) {
        for (const double rate : {0.1, 0.01, 0.001}) {
            const HandleFilterShape shape = handleFilterShape(handles, rate);
            EXPECT_EQ(shape.bits & (shape.bits - 1), 0U);
            if (shape.bits < handleFilterMostBits) {
                EXPECT_LE(falsePositiveRate(shape, handles), rate) << handles << " " << rate;
            }
        }
    }
}

TEST(HandleFilter, TheLargestStaysWithinWhatAClientReads) {
    const HandleFilterShape shape = handleFilterShape(100'000'000, 0.01);
    EXPECT_EQ(shape, (HandleFilterShape{handleFilterMostBits, 1}));
    EXPECT_EQ(handleFilterShape(1'700'000, 0.01).bits, handleFilterMostBits);
    EXPECT_LE(falsePositiveRate(handleFilterShape(1'700'000, 0.01), 1'700'000), 0.01);
    EXPECT_LT(HandleFilter(shape, "s").encoded("v").size(), 4U * 1024 * 1024);
}

TEST(HandleFilter, TenThousandRandomFiltersReadAsTheReferenceSays) {
    RandomHandles handles(7);
    for (int round = 0; round < 10'000; ++round) {
        const HandleFilterShape shape{std::uint64_t{1} << (3 + handles.below(10)),
                                      1 + handles.below(9)};
        std::string seed;
        for (std::uint64_t left = 1 + handles.below(20); left > 0; --left) {
            seed += static_cast<char>(handles.below(256));
        }
        HandleFilter filter(shape, seed);
        std::set<std::string> taken;
        std::set<std::uint64_t> places;
        for (std::uint64_t left = handles.below(4); left > 0; --left) {
            const std::string handle = handles.next();
            filter.insert(handle);
            taken.insert(handle);
            const auto probes = handleProbes(shape, seed, handle);
            places.insert(probes.begin(), probes.end());
        }
        const ReferenceReader reader(filter.encoded("v"));
        ASSERT_EQ(reader.bitsSet(), places.size());
        for (const std::string& handle : taken) {
            ASSERT_TRUE(reader.mayContain(handle)) << handle;
        }
        const std::string other = handles.next();
        bool isThere = true;
        for (const std::uint64_t place : handleProbes(shape, seed, other)) {
            isThere = isThere && places.contains(place);
        }
        ASSERT_EQ(reader.mayContain(other), isThere) << other;
    }
}

TEST(HandleFilter, NoTakenHandleIsMissedAndFreeOnesRarelyHit) {
    RandomHandles handles(11);
    const std::size_t count = 20'000;
    const HandleFilterShape shape = handleFilterShape(count, 0.01);
    HandleFilter filter(shape, makeHandleFilterSeed());
    std::set<std::string> taken;
    while (taken.size() < count) {
        taken.insert(handles.next());
    }
    for (const std::string& handle : taken) {
        filter.insert(handle);
    }
    const ReferenceReader reader(filter.encoded("v"));
    for (const std::string& handle : taken) {
        ASSERT_TRUE(reader.mayContain(handle)) << handle;
    }
    int wrong = 0;
    const int asked = 20'000;
    for (int round = 0; round < asked; ++round) {
        const std::string handle = handles.next() + "!"; // in no set of handles
        wrong += reader.mayContain(handle) ? 1 : 0;
    }
    EXPECT_LT(wrong, asked * 0.015);
    EXPECT_GT(wrong, asked * falsePositiveRate(shape, count) / 2);
}

TEST(HandleFilter, EverySeedIsNew) {
    std::set<std::string> seeds;
    for (int round = 0; round < 100; ++round) {
        seeds.insert(makeHandleFilterSeed());
    }
    EXPECT_EQ(seeds.size(), 100U);
    EXPECT_EQ(seeds.begin()->size(), 16U);
}

} // namespace lumivane::service
