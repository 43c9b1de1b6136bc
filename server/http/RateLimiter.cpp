#include "server/http/RateLimiter.h"

#include <openssl/sha.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace lumivane::service {

RateLimiter::RateLimiter(std::uint32_t perMinute, Clock clock, std::size_t mostKeys)
    : m_perMinute(perMinute)
    , m_clock(std::move(clock))
    , m_mostKeys(mostKeys) {}

std::optional<std::chrono::seconds> RateLimiter::take(std::string_view key) {
    if (m_perMinute == 0) {
        return std::nullopt;
    }
    const Digest digest = digestOf(key);
    const std::lock_guard lock(m_mutex);
    const MonotonicTime now = m_clock();
    forgetFullBuckets(now);
    Bucket& bucket = bucketOf(digest, now);
    if (bucket.tokens >= 1) {
        bucket.tokens -= 1;
        return std::nullopt;
    }
    const double wait = (1 - bucket.tokens) * 60 / m_perMinute;
    return std::chrono::seconds(std::max(1L, std::lround(std::ceil(wait))));
}

std::size_t RateLimiter::size() const {
    const std::lock_guard lock(m_mutex);
    return m_buckets.size();
}

std::size_t RateLimiter::DigestHash::operator()(const Digest& digest) const {
    std::size_t hash = 0;
    std::memcpy(&hash, digest.data(), sizeof hash);
    return hash;
}

RateLimiter::Digest RateLimiter::digestOf(std::string_view key) {
    std::array<unsigned char, SHA256_DIGEST_LENGTH> whole{};
    SHA256(reinterpret_cast<const unsigned char*>(key.data()), key.size(), whole.data());
    Digest digest{};
    std::copy_n(whole.begin(), digest.size(), digest.begin());
    return digest;
}

RateLimiter::Bucket& RateLimiter::bucketOf(const Digest& key, MonotonicTime now) {
    const auto known = m_places.find(key);
    if (known != m_places.end()) {
        m_buckets.splice(m_buckets.begin(), m_buckets, known->second);
        Bucket& bucket = m_buckets.front();
        bucket.tokens = tokensAt(bucket, now);
        bucket.filledAt = now;
        return bucket;
    }
    if (m_buckets.size() >= m_mostKeys) {
        m_places.erase(m_buckets.back().key);
        m_buckets.pop_back();
    }
    m_buckets.push_front(Bucket{key, static_cast<double>(m_perMinute), now});
    m_places[key] = m_buckets.begin();
    return m_buckets.front();
}

double RateLimiter::tokensAt(const Bucket& bucket, MonotonicTime now) const {
    const std::chrono::duration<double> passed = now - bucket.filledAt;
    const double filled = bucket.tokens + passed.count() * m_perMinute / 60;
    return std::min(filled, static_cast<double>(m_perMinute));
}

// A full bucket is what a new key gets, so nothing is lost with it.
void RateLimiter::forgetFullBuckets(MonotonicTime now) {
    while (!m_buckets.empty() && tokensAt(m_buckets.back(), now) >= m_perMinute) {
        m_places.erase(m_buckets.back().key);
        m_buckets.pop_back();
    }
}

} // namespace lumivane::service
