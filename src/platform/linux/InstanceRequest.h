#pragma once

#include <QByteArray>
#include <QStringList>

#include <optional>
#include <variant>

namespace lumivane {

/// What one instance asks of another: to come forward, or to open addresses.
///
/// On the socket a request is "LUM1", the length of the rest as four bytes with the highest first,
/// and each address in UTF-8 with a NUL behind it. No address means to come forward. The answer is
/// one byte, `accepted` or `refused`.
namespace InstanceRequest {

/// More, or longer ones, are refused whichever way they come.
inline constexpr qsizetype maximumUrls = 16;
inline constexpr qsizetype maximumUrlLength = 8192; ///< characters, that is UTF-16 units

inline constexpr char accepted = '+';
inline constexpr char refused = '-';

/// A character takes at most three bytes; with the header and the NULs.
inline constexpr qsizetype maximumBytes = maximumUrls * (3 * maximumUrlLength + 1) + 8;

/// Whether the addresses keep the limits, are not empty, and can be handed over as they stand.
bool mayOpen(const QStringList& urls);

/// None when `urls` are too many, too long, or hold what is no text.
std::optional<QByteArray> encode(const QStringList& urls);

struct Incomplete {};

struct Malformed {};

/// Reads the beginning of what came so far; what follows a whole request is not looked at.
std::variant<Incomplete, Malformed, QStringList> decode(const QByteArray& bytes);

} // namespace InstanceRequest

} // namespace lumivane
