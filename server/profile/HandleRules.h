#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// In code points, which are bytes in anything well formed.
inline constexpr std::size_t handleMinimumLength = 2;
inline constexpr std::size_t handleMaximumLength = 39;

/// What a person typed without white space around it and without leading "@"s. White space behind
/// an "@" stays, and makes the handle malformed.
std::string_view normaliseHandle(std::string_view text);

/// The form in which handles are stored a second time and compared: ASCII letters in lower case,
/// which is all there is to fold in a well-formed one.
std::string foldHandle(std::string_view text);

/// 2 to 39 of A-Z, a-z, 0-9, ".", "_" and "-", in any order.
bool isWellFormedHandle(std::string_view text);

/// Names that nobody can have, whatever their case.
bool isReservedHandle(std::string_view text);

/// Whether somebody holds the folded handle.
using HandleIsTaken = std::function<bool(const std::string& folded)>;

/// A number below `bound`, each as likely as any other.
using RandomBelow = std::function<std::uint64_t(std::uint64_t bound)>;

/// The machine's own randomness.
std::uint64_t randomBelow(std::uint64_t bound);

/// A handle for a new account: well formed, not reserved and not taken, all lower case. It follows
/// from the name a provider gave ("Zoë O'Neil" is "zoe-oneil") with a number behind it where that
/// is no handle or not free; the part of a mail address behind its "@" never shows. Called within
/// the transaction that stores the account; that the handle is still free at its end is for the
/// schema to say. Throws std::runtime_error where `isTaken` keeps saying yes.
std::string freeHandle(std::string_view displayName, const HandleIsTaken& isTaken,
                       const RandomBelow& random = randomBelow);

} // namespace lumivane::service
