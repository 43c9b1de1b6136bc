#pragma once

#include <boost/json/value.hpp>

#include <cstddef>
#include <stdexcept>
#include <string_view>

namespace lumivane::service {

/// The text is no JSON that the service accepts. `what()` names the rule, never the text.
class JsonError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// How large a document may be, apart from its bytes, which the caller bounds.
struct JsonLimits {
    std::size_t depth = 16;
    std::size_t values = 4096; ///< members and elements of all objects and arrays together
    std::size_t keyBytes = 128;
};

/// Reads one whole JSON document: valid UTF-8, within the limits, no key twice in one object,
/// nothing behind its end. Throws JsonError.
boost::json::value parseStrictly(std::string_view text, const JsonLimits& limits = {});

} // namespace lumivane::service
