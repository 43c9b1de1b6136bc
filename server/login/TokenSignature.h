#pragma once

#include <boost/json/object.hpp>

#include <string_view>

namespace lumivane::service {

/// Whether `signature` is that of `text` under a public key in the form of a JSON Web Key. Takes
/// RS256 with keys of 2048 to 8192 bits and ES256; false for everything else, and for a key that
/// says it is for another use or algorithm.
bool isSignedBy(const boost::json::object& key, std::string_view algorithm, std::string_view text,
                std::string_view signature);

} // namespace lumivane::service
