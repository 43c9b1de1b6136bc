#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lumivane::service {

class Database;

/// How many characters a token of this service has. Anything longer is none, and is not hashed.
constexpr std::size_t tokenLength = 43;

/// A new secret nobody can guess: 32 random bytes as base64url without padding. Used for tokens,
/// tickets, proofs, handoff codes and states alike. Throws std::runtime_error where the system has
/// no randomness. Any thread.
std::string makeToken();

/// A new name for a row, of 22 characters: unique, and no secret.
std::string makeIdentifier();

/// The form in which a secret is stored and found: lower-case hexadecimal SHA-256.
std::string tokenHash(std::string_view token);

/// The base64url form without padding, of any bytes.
std::string base64Url(std::string_view bytes);

/// Makes the tokens that must come out the same when the same question is asked again, out of what
/// the question held: so that a lost answer can be given once more without being stored. Immutable;
/// any thread.
class TokenDerivation {
public:
    enum class Purpose { access, refresh };

    /// Takes the key from the database, where it is made once for all replicas. Throws StoreError.
    static TokenDerivation load(Database& database);

    explicit TokenDerivation(std::string pepper)
        : m_pepper(std::move(pepper)) {}

    /// The token for `purpose` that follows from `secret`, a raw token or ticket, in `operation`.
    std::string derive(Purpose purpose, std::string_view secret, std::string_view operation) const;

private:
    std::string m_pepper;
};

} // namespace lumivane::service
