#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

namespace lumivane {

/// A token or another text that must not outlive its use: its memory is overwritten when it goes.
///
/// It cannot be logged, compared by its order or turned into a text by accident. Whoever takes the
/// bytes out with `reveal` gives them to the wire or the keyring and keeps them no longer than
/// that. A plain value; several threads may read one copy.
class SecretText {
public:
    SecretText() = default;

    /// `utf8` is copied; the caller's own copy stays the caller's to wipe.
    explicit SecretText(QByteArrayView utf8);

    /// The same of a text.
    static SecretText of(const QString& text);

    SecretText(const SecretText& other);
    SecretText(SecretText&& other) noexcept;
    SecretText& operator=(const SecretText& other);
    SecretText& operator=(SecretText&& other) noexcept;
    ~SecretText();

    bool isEmpty() const { return m_bytes.isEmpty(); }

    /// UTF-8, valid for as long as this value is neither changed nor destroyed.
    QByteArrayView reveal() const { return m_bytes; }

    /// Takes as long for a difference at the front as for one at the end.
    bool operator==(const SecretText& other) const;

private:
    void wipe();

    QByteArray m_bytes; ///< never shared with another value
};

/// Overwrites with zeros the bytes of an array that nothing else shares.
void overwriteWithZeros(QByteArray& bytes);

} // namespace lumivane
