#include "platform/linux/InstanceRequest.h"

#include <QStringDecoder>
#include <QtEndian>

#include <algorithm>

namespace lumivane::InstanceRequest {

namespace {

constexpr QByteArrayView magic("LUM1");
constexpr qsizetype headerBytes = magic.size() + qsizetype(sizeof(quint32));

bool mayOpenOne(const QString& url) {
    return !url.isEmpty() && url.size() <= maximumUrlLength && !url.contains(QChar::Null) &&
           url.isValidUtf16();
}

/// None where the bytes are no UTF-8.
std::optional<QString> textOf(QByteArrayView bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

} // namespace

bool mayOpen(const QStringList& urls) {
    return urls.size() <= maximumUrls && std::all_of(urls.begin(), urls.end(), mayOpenOne);
}

std::optional<QByteArray> encode(const QStringList& urls) {
    if (!mayOpen(urls)) {
        return std::nullopt;
    }
    QByteArray rest;
    for (const QString& url : urls) {
        rest += url.toUtf8() + '\0';
    }
    quint32 length = qToBigEndian(quint32(rest.size()));
    return magic.toByteArray() +
           QByteArray(reinterpret_cast<const char*>(&length), qsizetype(sizeof length)) + rest;
}

std::variant<Incomplete, Malformed, QStringList> decode(const QByteArray& bytes) {
    if (!bytes.startsWith(magic.first(std::min(magic.size(), bytes.size())))) {
        return Malformed{};
    }
    if (bytes.size() < headerBytes) {
        return Incomplete{};
    }
    const auto length = qsizetype(qFromBigEndian<quint32>(bytes.constData() + magic.size()));
    if (length > maximumBytes - headerBytes) {
        return Malformed{};
    }
    if (bytes.size() < headerBytes + length) {
        return Incomplete{};
    }
    const QByteArray rest = bytes.mid(headerBytes, length);
    QStringList urls;
    if (rest.isEmpty()) {
        return urls;
    }
    if (!rest.endsWith('\0') || rest.count('\0') > maximumUrls) {
        return Malformed{};
    }
    for (const QByteArray& part : rest.chopped(1).split('\0')) {
        const auto url = textOf(part);
        if (!url) {
            return Malformed{};
        }
        urls << *url;
    }
    if (!mayOpen(urls)) {
        return Malformed{};
    }
    return urls;
}

} // namespace lumivane::InstanceRequest
