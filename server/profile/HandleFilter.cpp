#include "server/profile/HandleFilter.h"

#include "server/accounts/Tokens.h"

#include <boost/algorithm/hex.hpp>
#include <boost/endian/conversion.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <iterator>
#include <stdexcept>

namespace lumivane::service {

namespace {

// More probes than this gain nothing for any rate that a filter is wanted for.
constexpr std::uint64_t mostProbes = 32;

using Digest = std::array<unsigned char, EVP_MAX_MD_SIZE>;

Digest sha256(std::string_view input) {
    Digest digest{};
    if (EVP_Digest(input.data(), input.size(), digest.data(), nullptr, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("the hash of a handle cannot be computed");
    }
    return digest;
}

} // namespace

double falsePositiveRate(const HandleFilterShape& shape, std::uint64_t handles) {
    const auto probes = static_cast<double>(shape.probes);
    const double load = probes * static_cast<double>(handles) / static_cast<double>(shape.bits);
    return std::pow(1.0 - std::exp(-load), probes);
}

HandleFilterShape handleFilterShape(std::uint64_t handles, double falsePositiveRate) {
    const double ln2 = std::log(2.0);
    const double wanted =
        std::ceil(-static_cast<double>(handles) * std::log(falsePositiveRate) / (ln2 * ln2));
    const double bounded = std::clamp(wanted, static_cast<double>(handleFilterFewestBits),
                                      static_cast<double>(handleFilterMostBits));
    HandleFilterShape best{std::bit_ceil(static_cast<std::uint64_t>(bounded)), 1};
    for (std::uint64_t probes = 1; probes <= mostProbes; ++probes) {
        const HandleFilterShape shape{best.bits, probes};
        const double rate = service::falsePositiveRate(shape, handles);
        if (rate <= falsePositiveRate) {
            return shape;
        }
        if (rate < service::falsePositiveRate(best, handles)) {
            best = shape;
        }
    }
    return best;
}

std::vector<std::uint64_t> handleProbes(const HandleFilterShape& shape, std::string_view seed,
                                        std::string_view folded) {
    std::string input(seed);
    input += '\0';
    input += folded;
    const Digest digest = sha256(input);
    const std::uint64_t start = boost::endian::load_big_u64(digest.data());
    const std::uint64_t step = boost::endian::load_big_u64(digest.data() + sizeof start) | 1U;
    std::vector<std::uint64_t> places;
    places.reserve(shape.probes);
    for (std::uint64_t index = 0; index < shape.probes; ++index) {
        places.push_back((start + step * index) & (shape.bits - 1));
    }
    return places;
}

HandleFilter::HandleFilter(HandleFilterShape shape, std::string seed)
    : m_shape(shape)
    , m_seed(std::move(seed))
    , m_bits(shape.bits / 8, '\0') {}

void HandleFilter::insert(std::string_view folded) {
    for (const std::uint64_t place : handleProbes(m_shape, m_seed, folded)) {
        const auto byte = static_cast<unsigned char>(m_bits[place >> 3U]);
        m_bits[place >> 3U] = static_cast<char>(byte | (1U << (place % 8)));
    }
}

std::string HandleFilter::encoded(std::string_view version) const {
    std::string seed;
    boost::algorithm::hex_lower(m_seed, std::back_inserter(seed));
    const boost::json::object record{{"version", version},  {"m", m_shape.bits},
                                     {"k", m_shape.probes}, {"hash", "sha256"},
                                     {"seed", seed},        {"bits", base64Url(m_bits)}};
    return boost::json::serialize(record);
}

std::string makeHandleFilterSeed() {
    std::array<char, 16> seed{};
    if (RAND_bytes(reinterpret_cast<unsigned char*>(seed.data()), static_cast<int>(seed.size())) !=
        1) {
        throw std::runtime_error("the system gives no random bytes");
    }
    return {seed.data(), seed.size()};
}

} // namespace lumivane::service
