#pragma once

#include "domain/DescribedError.h"

namespace lumivane {

/// The one error of triggers. A key without a code and a combination that the desktop refuses read
/// alike to the user.
class TriggerError final : public DescribedError {
public:
    enum class Case { unavailableHotKey };

    explicit TriggerError(Case errorCase)
        : errorCase(errorCase) {}

    QString errorDescription() const override {
        return u"That keyboard shortcut is already used by macOS or another app."_qs;
    }

    std::string_view typeName() const override { return "TriggerError"; }

    bool operator==(const TriggerError& other) const { return errorCase == other.errorCase; }

    Case errorCase;
};

} // namespace lumivane
