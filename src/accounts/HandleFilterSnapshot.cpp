#include "accounts/HandleFilterSnapshot.h"

#include "accounts/HandleFormat.h"
#include "accounts/TextDecoding.h"

#include <QCryptographicHash>
#include <QtEndian>

#include <algorithm>
#include <bit>

namespace lumivane {

namespace {

/// Where the probes of one text start and how far apart they are.
struct Walk {
    std::uint64_t start = 0;
    std::uint64_t step = 0;
    std::uint64_t mask = 0;

    Walk(const HandleFilterSnapshot& filter, const QString& folded)
        : mask(static_cast<std::uint64_t>(filter.m) - 1) {
        QCryptographicHash hash(QCryptographicHash::Sha256);
        hash.addData(filter.seed);
        hash.addData(QByteArrayView("\0", 1));
        hash.addData(folded.toUtf8());
        const QByteArray digest = hash.result();
        start = qFromBigEndian<std::uint64_t>(digest.constData());
        step = qFromBigEndian<std::uint64_t>(digest.constData() + sizeof start) | 1U;
    }

    std::uint64_t probe(std::int64_t index) const {
        return (start + step * static_cast<std::uint64_t>(index)) & mask;
    }
};

/// An odd step visits each of the `m` places once before it comes back to the first, so further
/// probes change nothing, however many the payload asks for.
std::int64_t distinctProbes(const HandleFilterSnapshot& filter) {
    return std::min(filter.k, filter.m);
}

} // namespace

std::optional<HandleFilterSnapshot> HandleFilterSnapshot::from(const HandleFilterPayload& payload) {
    const bool isSized = payload.k > 0 && payload.m > 0 &&
                         std::has_single_bit(static_cast<std::uint64_t>(payload.m));
    if (!isSized) {
        return std::nullopt;
    }
    const auto seed = decodeHexadecimal(payload.seed);
    const auto bits = decodeBase64URL(payload.bits);
    if (!seed || !bits || bits->size() * 8 < payload.m) {
        return std::nullopt;
    }
    return HandleFilterSnapshot{payload.version, payload.m, payload.k, *seed, *bits};
}

bool HandleFilterSnapshot::mayContain(const QString& handle) const {
    const QString folded = HandleFormat::fold(HandleFormat::normalise(handle));
    if (folded.isEmpty()) {
        return true;
    }
    const Walk walk(*this, folded);
    for (std::int64_t index = 0; index < distinctProbes(*this); ++index) {
        const std::uint64_t place = walk.probe(index);
        const std::uint64_t byte = place >> 3U;
        if (byte >= static_cast<std::uint64_t>(bits.size())) {
            return true;
        }
        const auto eight = static_cast<std::uint8_t>(bits.at(static_cast<qsizetype>(byte)));
        if ((eight >> (place % 8) & 1U) == 0) {
            return false;
        }
    }
    return true;
}

std::vector<std::uint64_t> HandleFilterSnapshot::probes(const QString& folded) const {
    const Walk walk(*this, folded);
    std::vector<std::uint64_t> places;
    for (std::int64_t index = 0; index < distinctProbes(*this); ++index) {
        places.push_back(walk.probe(index));
    }
    return places;
}

} // namespace lumivane
