#include "accounts/PKCE.h"

#include "accounts/AuthenticationError.h"

#include <QCryptographicHash>

#include <cstddef>

namespace lumivane::PKCE {

namespace {

constexpr qsizetype verifierBytes = 32;

} // namespace

SecretText makeVerifier(RandomSource& random) {
    QByteArray bytes(verifierBytes, '\0');
    const auto writable =
        std::as_writable_bytes(std::span(bytes.data(), std::size_t(verifierBytes)));
    if (!random.fill(writable)) {
        overwriteWithZeros(bytes);
        throw AuthenticationError(AuthenticationError::Case::unavailable);
    }
    QByteArray encoded = base64URLEncodedString(bytes);
    SecretText verifier(encoded);
    overwriteWithZeros(bytes);
    overwriteWithZeros(encoded);
    return verifier;
}

QString challenge(const SecretText& verifier) {
    const QByteArray digest =
        QCryptographicHash::hash(verifier.reveal(), QCryptographicHash::Sha256);
    return QString::fromLatin1(base64URLEncodedString(digest));
}

QByteArray base64URLEncodedString(QByteArrayView bytes) {
    return QByteArray::fromRawData(bytes.data(), bytes.size())
        .toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals);
}

} // namespace lumivane::PKCE
