#pragma once

#include "domain/AppSettings.h"

namespace lumivane {

/// Keeps the settings across starts. Main thread only. A bad store is never an error to the user:
/// the worst case is the defaults.
class SettingsStoring {
public:
    virtual ~SettingsStoring() = default;

    /// What was stored last, as it stands: nothing is normalised. Never fails.
    virtual AppSettings load() = 0;

    /// Stores validated values. Never fails to the caller.
    virtual void save(const AppSettings& settings) = 0;

    /// Forgets every stored form, old ones included.
    virtual void reset() = 0;
};

} // namespace lumivane
