#pragma once

#include "accounts/HandleFilterPayload.h"

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace lumivane {

/// A compact set of the handles that are taken. It errs in one direction: it may call a free
/// handle taken, never a taken one free. A plain value.
///
/// A handle has `k` bits among `m`. They follow from SHA-256 over the seed, a zero byte and the
/// folded handle: the digest's first eight bytes are where it starts, the next eight with the
/// lowest bit set the step, all in 64 bits that wrap around. The service builds it in the same way.
struct HandleFilterSnapshot {
    QString version;
    std::int64_t m = 0; ///< bits, a power of two
    std::int64_t k = 0; ///< probes, 1 or more
    QByteArray seed;
    QByteArray bits; ///< bit 0 is the lowest of the first byte

    /// None for a payload that makes no filter.
    static std::optional<HandleFilterSnapshot> from(const HandleFilterPayload& payload);

    /// Whether the handle may be taken.
    bool mayContain(const QString& handle) const;

    /// The places of a text that is folded already, in order. At most `m`, since they repeat then.
    std::vector<std::uint64_t> probes(const QString& folded) const;

    bool operator==(const HandleFilterSnapshot&) const = default;
};

} // namespace lumivane
