#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <map>
#include <optional>

namespace lumivane {

/// Data under keys as one JSON object that a person can read: data in UTF-8 is a string, any other
/// is `{"base64": "..."}`. Any thread.
namespace UserDefaultsText {

using Entries = std::map<QString, QByteArray>;

/// Neither read nor written beyond this.
inline constexpr qsizetype maximumBytes = qsizetype{1024} * 1024;

/// None for anything that is not exactly such an object, one with a key twice included.
std::optional<Entries> read(QByteArrayView text);

QByteArray write(const Entries& entries);

} // namespace UserDefaultsText

} // namespace lumivane
