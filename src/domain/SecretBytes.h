#pragma once

#include "domain/SecretText.h"

#include <QByteArray>

#include <utility>

namespace lumivane {

/// Bytes of a message that holds secrets, on their way to the wire or from it. They are overwritten
/// when this goes, unless somebody still shares them, whose they are then.
class SecretBytes {
public:
    explicit SecretBytes(QByteArray bytes)
        : m_bytes(std::move(bytes)) {}

    SecretBytes(SecretBytes&& other) noexcept
        : m_bytes(std::exchange(other.m_bytes, QByteArray())) {}

    SecretBytes& operator=(SecretBytes&&) = delete;

    ~SecretBytes() { overwrite(); }

    /// The value of an "Authorization" header: "Bearer " and the token.
    static SecretBytes bearer(const SecretText& token);

    /// The bytes themselves, not a copy, for as long as the caller holds what it gets.
    const QByteArray& share() const { return m_bytes; }

    /// What the destructor does, earlier.
    void overwrite();

private:
    QByteArray m_bytes;
};

} // namespace lumivane
