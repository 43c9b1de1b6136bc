#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

namespace lumivane::service {

/// The token file cannot be used. `what()` names the file and says what to do, and never holds
/// what is in it.
class TokenError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The access token in `folder`/development-token: 64 hexadecimal digits and a line end. Made at
/// the first call from 256 random bits, in a file that only its owner can read, which appears
/// whole or not at all; of several first calls at one time all get the same token.
///
/// Throws TokenError: also for a file that is no regular file, belongs to someone else, can be
/// read or written by group or others, or does not hold a token.
std::string loadOrMakeDevelopmentToken(const std::filesystem::path& folder);

} // namespace lumivane::service
