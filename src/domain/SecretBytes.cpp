#include "domain/SecretBytes.h"

namespace lumivane {

SecretBytes SecretBytes::bearer(const SecretText& token) {
    constexpr QByteArrayView scheme = "Bearer ";
    const QByteArrayView text = token.reveal();
    QByteArray bytes;
    // In one piece, since growing would leave a part behind.
    bytes.reserve(scheme.size() + text.size());
    bytes.append(scheme).append(text);
    return SecretBytes(std::move(bytes));
}

void SecretBytes::overwrite() {
    if (m_bytes.isDetached()) {
        overwriteWithZeros(m_bytes);
    }
}

} // namespace lumivane
