#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane::service {

/// How large a filter is.
struct HandleFilterShape {
    std::uint64_t bits = 0;   ///< a power of two, "m" on the wire
    std::uint64_t probes = 0; ///< bits that each handle sets, "k" on the wire

    bool operator==(const HandleFilterShape&) const = default;
};

/// Bounds of `bits`. The upper one keeps the encoded filter under the 4 MiB that a client reads;
/// it holds the rate of 1 % for 1.7 million handles, and only the rate suffers beyond.
inline constexpr std::uint64_t handleFilterFewestBits = 1024;
inline constexpr std::uint64_t handleFilterMostBits = std::uint64_t{1} << 24U;

/// The smallest filter that calls at most `falsePositiveRate` of the free handles taken once it
/// holds `handles` of them, and the fewest probes that do so with it.
HandleFilterShape handleFilterShape(std::uint64_t handles, double falsePositiveRate);

/// The share of free handles that such a filter calls taken.
double falsePositiveRate(const HandleFilterShape& shape, std::uint64_t handles);

/// The bits of one handle, in order: SHA-256 over the seed, a zero byte and the folded handle; the
/// digest's first eight bytes are where they start, the next eight with the lowest bit set the
/// step, all in 64 bits that wrap around.
std::vector<std::uint64_t> handleProbes(const HandleFilterShape& shape, std::string_view seed,
                                        std::string_view folded);

/// A compact set of taken handles that clients ask in place of the service: it may call a free
/// handle taken, never a taken one free. A plain value, to be filled on a work thread.
class HandleFilter {
public:
    /// `seed` is any bytes, at least one; another one per version, so that a name which one version
    /// wrongly calls taken is no more likely to be in the next one.
    HandleFilter(HandleFilterShape shape, std::string seed);

    void insert(std::string_view folded);

    const HandleFilterShape& shape() const { return m_shape; }

    /// Bit 0 is the lowest of the first byte.
    const std::string& bits() const { return m_bits; }

    /// The body in which a client gets it. `version` is opaque, and the entity tag as well.
    std::string encoded(std::string_view version) const;

private:
    HandleFilterShape m_shape;
    std::string m_seed;
    std::string m_bits;
};

/// A seed nobody knew before.
std::string makeHandleFilterSeed();

} // namespace lumivane::service
