#pragma once

#include <QString>

#include <optional>

namespace lumivane {

/// What the installed application says of itself, read from its files by
/// ApplicationInformationFile. Each field has the name of its key there.
struct ApplicationInformation {
    std::optional<QString> CFBundleShortVersionString; ///< version, as in "0.3.0"
    std::optional<QString> LumivaneAPIBaseURL;         ///< where the service is, when set at all

    bool operator==(const ApplicationInformation&) const = default;
};

} // namespace lumivane
