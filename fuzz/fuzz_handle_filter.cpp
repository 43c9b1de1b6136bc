#include "Require.h"
#include "accounts/HandleFilterSnapshot.h"
#include "accounts/HandleFormat.h"

#include <bit>
#include <cstdint>

using namespace lumivane;

namespace {

std::optional<HandleFilterPayload> payload(QByteArrayView data) {
    try {
        return decodeJson<HandleFilterPayload>(data);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

void checkFilter(const HandleFilterPayload& given) {
    const auto filter = HandleFilterSnapshot::from(given);
    if (!filter) {
        return;
    }
    require(std::has_single_bit(static_cast<std::uint64_t>(filter->m)) && filter->k > 0);
    require(filter->m <= filter->bits.size() * 8 && !filter->seed.isEmpty());
    bool isTaken = true;
    for (const std::uint64_t place : filter->probes(HandleFormat::fold(u"Cedar"_qs))) {
        require(place < static_cast<std::uint64_t>(filter->m));
        const auto byte =
            static_cast<unsigned char>(filter->bits[static_cast<qsizetype>(place / 8)]);
        isTaken = isTaken && (byte >> place % 8 & 1U) != 0;
    }
    require(filter->mayContain(u" @Cedar"_qs) == isTaken);
    require(filter->mayContain(u"@"_qs));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QByteArrayView data(bytes, static_cast<qsizetype>(size));
    const QString text = QString::fromUtf8(data);
    if (const auto given = payload(data)) {
        checkFilter(*given);
    }
    const QString handle = HandleFormat::normalise(text);
    require(!handle.startsWith(u'@'));
    require(!HandleFormat::isWellFormed(handle) || handle.size() <= HandleFormat::maximumLength);
    return 0;
}
