#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <optional>

namespace lumivane {

/// The bytes behind hexadecimal digits of either case; none for an empty text, an odd number of
/// digits or any other character.
std::optional<QByteArray> decodeHexadecimal(QStringView text);

/// The bytes behind base64 in either alphabet, with whole padding or none; bits that make no whole
/// byte are ignored. None for any other text. An empty text is no bytes.
std::optional<QByteArray> decodeBase64URL(QStringView text);

} // namespace lumivane
