#pragma once

#include "server/work/MonotonicTime.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace lumivane::service {

/// Counts by key what each may do, as a bucket of tokens that fills up evenly: in bursts of up to
/// a minute's worth, and on average no more than that. Each replica counts for itself. For any
/// thread.
///
/// Memory is bounded: keys are kept as digests, at most `mostKeys` of them, and the one unused
/// for longest gives way.
class RateLimiter {
public:
    using Clock = std::function<MonotonicTime()>;

    /// With `perMinute` 0 everything may be done as often as one likes.
    explicit RateLimiter(std::uint32_t perMinute, Clock clock = monotonicNow,
                         std::size_t mostKeys = 20'000);

    /// Takes one token of the key's bucket. None when there was one; else how long it takes until
    /// there is one again, in whole seconds from 1 up.
    std::optional<std::chrono::seconds> take(std::string_view key);

    /// How many keys are remembered at present.
    std::size_t size() const;

private:
    using Digest = std::array<unsigned char, 16>;

    struct Bucket {
        Digest key;
        double tokens;
        MonotonicTime filledAt;
    };

    struct DigestHash {
        std::size_t operator()(const Digest& digest) const;
    };

    static Digest digestOf(std::string_view key);
    Bucket& bucketOf(const Digest& key, MonotonicTime now);
    double tokensAt(const Bucket& bucket, MonotonicTime now) const;
    void forgetFullBuckets(MonotonicTime now);

    std::uint32_t m_perMinute;
    Clock m_clock;
    std::size_t m_mostKeys;
    mutable std::mutex m_mutex;
    std::list<Bucket> m_buckets; // the one used last stands first
    std::unordered_map<Digest, std::list<Bucket>::iterator, DigestHash> m_places;
};

} // namespace lumivane::service
