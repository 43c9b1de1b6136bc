#pragma once

#include "domain/StrictJson.h"

#include <QDateTime>
#include <QLatin1String>
#include <QString>
#include <QStringView>

#include <optional>

namespace lumivane {

/// Dates in their written forms: "2026-11-15T06:25:30.123Z", or an offset such as "+02:00" for the
/// "Z". Upper-case "T" and "Z"; no second 60, no hour 24; years 1 to 9999 in UTC.
namespace InternetTimestamp {

/// With a fraction of 1 to 9 digits or without one; none for any other text. The date is in UTC
/// and cut to whole milliseconds, so it is never later than what was written.
std::optional<QDateTime> read(QStringView text);

/// The same without a fraction; a text with one is refused. The form of the keyring.
std::optional<QDateTime> readPlain(QStringView text);

/// In UTC with three digits of fraction. Throws EncodingError for a date that is invalid or not of
/// the years above.
QString write(const QDateTime& date);

/// The same, the fraction cut off, so a date that is stored is never later than the date it was.
QString writePlain(const QDateTime& date);

} // namespace InternetTimestamp

} // namespace lumivane
