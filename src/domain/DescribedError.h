#pragma once

#include <QString>

#include <exception>
#include <string_view>

namespace lumivane {

/// An error with words for the user. Every subsystem has one closed type of it.
class DescribedError : public std::exception {
public:
    /// The words that a user reads.
    virtual QString errorDescription() const = 0;

    /// The type's own name, a literal, for logs.
    virtual std::string_view typeName() const = 0;

    const char* what() const noexcept override { return typeName().data(); }
};

} // namespace lumivane
