#include "domain/SecretText.h"

#include <cstring>
#include <utility>

namespace lumivane {

namespace {

QByteArray unsharedCopy(QByteArrayView bytes) { return {bytes.data(), bytes.size()}; }

} // namespace

void overwriteWithZeros(QByteArray& bytes) {
    if (!bytes.isEmpty()) {
        // Unlike memset, this one is not left out because nobody reads the bytes again.
        ::explicit_bzero(bytes.data(), static_cast<std::size_t>(bytes.size()));
    }
}

SecretText::SecretText(QByteArrayView utf8)
    : m_bytes(unsharedCopy(utf8)) {}

SecretText SecretText::of(const QString& text) {
    QByteArray utf8 = text.toUtf8();
    SecretText secret;
    secret.m_bytes = std::exchange(utf8, QByteArray());
    return secret;
}

SecretText::SecretText(const SecretText& other)
    : m_bytes(unsharedCopy(other.m_bytes)) {}

SecretText::SecretText(SecretText&& other) noexcept
    : m_bytes(std::exchange(other.m_bytes, QByteArray())) {}

SecretText& SecretText::operator=(const SecretText& other) {
    if (this != &other) {
        wipe();
        m_bytes = unsharedCopy(other.m_bytes);
    }
    return *this;
}

SecretText& SecretText::operator=(SecretText&& other) noexcept {
    if (this != &other) {
        wipe();
        m_bytes = std::exchange(other.m_bytes, QByteArray());
    }
    return *this;
}

SecretText::~SecretText() { wipe(); }

bool SecretText::operator==(const SecretText& other) const {
    if (m_bytes.size() != other.m_bytes.size()) {
        return false;
    }
    unsigned difference = 0;
    for (qsizetype index = 0; index < m_bytes.size(); ++index) {
        difference |= static_cast<unsigned char>(m_bytes[index]) ^
                      static_cast<unsigned char>(other.m_bytes[index]);
    }
    return difference == 0;
}

void SecretText::wipe() {
    overwriteWithZeros(m_bytes);
    m_bytes = QByteArray();
}

} // namespace lumivane
