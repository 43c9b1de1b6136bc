#pragma once

#include "platform/UserDefaults.h"
#include "settings/SettingsStoring.h"

#include <QLatin1String>

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

namespace lumivane {

/// The one place that knows the history of the stored form: JSON in UTF-8, one key per version.
/// Newer wins. What is read from an older key is written under the current one, and only once it
/// stands there does the older key go.
///
/// A store that cannot be read ends at the defaults, and one that cannot be written is logged:
/// neither reaches the caller. Nothing of the settings is logged but two flags.
class SettingsStore final : public SettingsStoring {
public:
    static constexpr std::int64_t version = 10;
    static constexpr QLatin1String key{"Lumivane.native.settings.v10"};

    /// From the newest to the oldest form that still had most of today's keys.
    static constexpr std::array legacyKeys{
        QLatin1String{"Lumivane.native.settings.v9"}, QLatin1String{"Lumivane.native.settings.v8"},
        QLatin1String{"Lumivane.native.settings.v7"}, QLatin1String{"Lumivane.native.settings.v6"},
        QLatin1String{"Lumivane.native.settings.v5"}, QLatin1String{"Lumivane.native.settings.v4"},
        QLatin1String{"Lumivane.native.settings.v3"}, QLatin1String{"Lumivane.native.settings.v2"},
    };

    /// The first form, which was another one altogether.
    static constexpr QLatin1String legacyKey{"Lumivane.native.settings.v1"};

    /// `defaults` outlives the store.
    explicit SettingsStore(UserDefaults& defaults)
        : m_defaults(defaults) {}

    AppSettings load() override;
    void save(const AppSettings& settings) override;
    void reset() override;

private:
    enum class Outcome { stored, failed };

    std::optional<AppSettings> current() const;
    std::optional<AppSettings> migrated();
    std::optional<AppSettings> migratedFromFirstForm();

    /// Moves settings that were read under `oldKey` to the current key.
    Outcome adopt(const AppSettings& settings, QLatin1String oldKey);

    Outcome store(const AppSettings& settings);
    Outcome attempt(const std::function<void()>& write) const;

    UserDefaults& m_defaults;
};

} // namespace lumivane
