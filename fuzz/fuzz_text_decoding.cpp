#include "Require.h"
#include "accounts/TextDecoding.h"

#include <cstdint>

using namespace lumivane;

namespace {

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QString text = QString::fromUtf8(QByteArrayView(bytes, static_cast<qsizetype>(size)));
    checkBase64(text);
    checkHexadecimal(text);
    return 0;
}
