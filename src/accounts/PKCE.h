#pragma once

#include "domain/SecretText.h"
#include "platform/RandomSource.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace lumivane {

/// The proof that whoever finishes a login is the one who began it (RFC 7636).
namespace PKCE {

/// A new verifier: 32 random bytes as 43 characters of A-Z, a-z, 0-9, "-" and "_". Throws
/// AuthenticationError::Case::unavailable when the system has no random bytes.
SecretText makeVerifier(RandomSource& random);

/// What may be known of a verifier before the login ends, by the method "S256".
QString challenge(const SecretText& verifier);

/// Base64 with "-" and "_" in place of "+" and "/", without padding.
QByteArray base64URLEncodedString(QByteArrayView bytes);

} // namespace PKCE

} // namespace lumivane
