#include "accounts/HandleFilterSnapshot.h"
#include "accounts/HandleFormat.h"
#include "accounts/TextDecoding.h"

#include <bit>
#include <cstdint>
#include <cstdlib>

using namespace lumivane;

namespace {

void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void checkBase64(const QString& text) {
    const auto bytes = decodeBase64URL(text);
    if (!bytes) {
        return;
    }
    // Written again it is the same text, but for the alphabet, the padding and the ignored bits.
    const QString again = QString::fromLatin1(
        bytes->toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
    QString given = text;
    given.replace(u'+', u'-').replace(u'/', u'_').remove(u'=');
    require(given.size() == again.size());
    const qsizetype whole = bytes->size() / 3 * 4;
    require(given.left(whole) == again.left(whole));
    require(decodeBase64URL(again) == bytes);
}

void checkHexadecimal(const QString& text) {
    if (const auto bytes = decodeHexadecimal(text)) {
        require(QString::fromLatin1(bytes->toHex()) == text.toLower());
    }
}

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
    checkBase64(text);
    checkHexadecimal(text);
    if (const auto given = payload(data)) {
        checkFilter(*given);
    }
    const QString handle = HandleFormat::normalise(text);
    require(!handle.startsWith(u'@'));
    require(!HandleFormat::isWellFormed(handle) || handle.size() <= HandleFormat::maximumLength);
    return 0;
}
