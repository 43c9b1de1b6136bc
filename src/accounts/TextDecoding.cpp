#include "accounts/TextDecoding.h"

#include <algorithm>

namespace lumivane {

namespace {

// The toolkit's own readers pass over characters that they do not know, so both texts are checked
// before they are handed on.

bool isBetween(QChar unit, char16_t first, char16_t last) {
    return unit.unicode() >= first && unit.unicode() <= last;
}

bool isHexadecimal(QChar unit) {
    return isBetween(unit, u'0', u'9') || isBetween(unit, u'a', u'f') ||
           isBetween(unit, u'A', u'F');
}

bool isBase64(QChar unit) {
    return isBetween(unit, u'A', u'Z') || isBetween(unit, u'a', u'z') ||
           isBetween(unit, u'0', u'9') || unit == u'+' || unit == u'/';
}

/// The text without its padding; none when the padding is not whole.
std::optional<QStringView> unpadded(QStringView text) {
    QStringView body = text;
    while (body.endsWith(u'=')) {
        body.chop(1);
    }
    const qsizetype padding = text.size() - body.size();
    const bool isWhole = padding == 0 || (padding <= 2 && text.size() % 4 == 0);
    return isWhole ? std::optional(body) : std::nullopt;
}

} // namespace

std::optional<QByteArray> decodeHexadecimal(QStringView text) {
    const bool isWhole = !text.isEmpty() && text.size() % 2 == 0;
    if (!isWhole || !std::all_of(text.begin(), text.end(), isHexadecimal)) {
        return std::nullopt;
    }
    return QByteArray::fromHex(text.toLatin1());
}

std::optional<QByteArray> decodeBase64URL(QStringView text) {
    const auto body = unpadded(text);
    if (!body || body->size() % 4 == 1) {
        return std::nullopt;
    }
    QString standard = body->toString();
    standard.replace(u'-', u'+').replace(u'_', u'/');
    if (!std::all_of(standard.begin(), standard.end(), isBase64)) {
        return std::nullopt;
    }
    return QByteArray::fromBase64(standard.toLatin1());
}

} // namespace lumivane
