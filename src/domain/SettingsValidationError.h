#pragma once

#include "domain/DescribedError.h"

namespace lumivane {

/// The one error of settings.
class SettingsValidationError final : public DescribedError {
public:
    enum class Case { invalidHotKey, missingCustomPrompt };

    explicit SettingsValidationError(Case errorCase)
        : errorCase(errorCase) {}

    QString errorDescription() const override {
        return errorCase == Case::invalidHotKey ? u"Enter a shortcut such as cmd+alt+ctrl+s."_qs
                                                : u"Enter a custom prompt."_qs;
    }

    std::string_view typeName() const override { return "SettingsValidationError"; }

    bool operator==(const SettingsValidationError& other) const {
        return errorCase == other.errorCase;
    }

    Case errorCase;
};

} // namespace lumivane
