#pragma once

#include <stdexcept>
#include <string_view>

namespace lumivane::service {

/// The database could not do what was asked of it. `what()` is fit for a log and for a person: it
/// never repeats a statement, a value or a place.
class StoreError : public std::runtime_error {
public:
    enum class Case {
        unavailable,  ///< gone, unreachable, out of space, damaged
        busy,         ///< others held it for longer than may be waited
        incompatible, ///< no database of this service, or one of a newer version
        conflict,     ///< a rule of the schema refused the change: a doubled key, a missing row
    };

    StoreError(Case errorCase, const char* words)
        : std::runtime_error(words)
        , m_case(errorCase) {}

    Case errorCase() const { return m_case; }

private:
    Case m_case;
};

/// One word for a log.
std::string_view rawValue(StoreError::Case errorCase);

} // namespace lumivane::service
