#pragma once

#include "domain/SecretText.h"

#include <QString>

namespace lumivane {

/// The address by which a login page hands its result to the program:
///
///     com.marnoth.lumivane.oauth://callback?transaction_id=T&handoff_code=C
///     com.marnoth.lumivane.oauth://callback?transaction_id=T&error=E
///
/// Any web page and any program can open such an address, so nothing in it is believed.
namespace LoginCallback {

inline constexpr QLatin1String scheme{"com.marnoth.lumivane.oauth"};

/// In characters of the address; a longer one is refused unread.
inline constexpr qsizetype maximumLength = 4096;

/// The handoff code of a callback that belongs to this transaction. Throws AuthenticationError:
/// `cancelled` or `unavailable` for an error that the page reports, `invalidCallback` for anything
/// that is not exactly of one of the two forms, in either order of the items, or that belongs to
/// another transaction.
SecretText handoffCode(const QString& url, const QString& transactionID);

} // namespace LoginCallback

} // namespace lumivane
