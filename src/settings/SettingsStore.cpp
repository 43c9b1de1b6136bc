#include "settings/SettingsStore.h"

#include "domain/AppSettingsCoding.h"
#include "settings/SettingsMigration.h"
#include "telemetry/LumivaneLog.h"

#include <exception>

namespace lumivane {

namespace {

template <typename Record>
std::optional<Record> decoded(const std::optional<QByteArray>& data) {
    if (!data) {
        return std::nullopt;
    }
    try {
        return decodeJson<Record>(*data);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

} // namespace

AppSettings SettingsStore::load() {
    if (const auto settings = current()) {
        LumivaneLog::settings.info(
            "Loaded settings; configured=%{bool,public}d paused=%{bool,public}d",
            settings->configured, settings->paused);
        return *settings;
    }
    if (const auto settings = migrated()) {
        return *settings;
    }
    if (const auto settings = migratedFromFirstForm()) {
        return *settings;
    }
    LumivaneLog::settings.info("No valid saved settings; using defaults");
    return AppSettings::defaults();
}

void SettingsStore::save(const AppSettings& settings) { store(settings); }

void SettingsStore::reset() {
    Outcome outcome = Outcome::stored;
    const auto remove = [this, &outcome](QLatin1String stored) {
        if (attempt([this, stored] { m_defaults.removeObject(stored); }) == Outcome::failed) {
            outcome = Outcome::failed;
        }
    };
    remove(key);
    for (const QLatin1String older : legacyKeys) {
        remove(older);
    }
    remove(legacyKey);
    if (outcome == Outcome::stored) {
        LumivaneLog::settings.log("Reset settings");
    }
}

std::optional<AppSettings> SettingsStore::current() const {
    return decoded<AppSettings>(m_defaults.data(key));
}

std::optional<AppSettings> SettingsStore::migrated() {
    for (const QLatin1String older : legacyKeys) {
        const auto data = m_defaults.data(older);
        auto settings = data ? migrateAddingCurrentDefaults(*data) : std::nullopt;
        if (settings) {
            if (adopt(*settings, older) == Outcome::stored) {
                LumivaneLog::settings.log("Migrated settings; from=%{public}s to=%{public}ld",
                                          LogIdentifier(older), version);
            }
            return settings;
        }
    }
    return std::nullopt;
}

std::optional<AppSettings> SettingsStore::migratedFromFirstForm() {
    const auto legacy = decoded<LegacyAppSettings>(m_defaults.data(legacyKey));
    if (!legacy) {
        return std::nullopt;
    }
    const AppSettings settings = legacy->migrated();
    if (adopt(settings, legacyKey) == Outcome::stored) {
        LumivaneLog::settings.log("Migrated legacy settings; to=%{public}ld", version);
    }
    return settings;
}

SettingsStore::Outcome SettingsStore::adopt(const AppSettings& settings, QLatin1String oldKey) {
    // With nothing stored anew, the older form is all there is for the next start.
    if (store(settings) == Outcome::failed) {
        return Outcome::failed;
    }
    attempt([this, oldKey] { m_defaults.removeObject(oldKey); });
    return Outcome::stored;
}

SettingsStore::Outcome SettingsStore::store(const AppSettings& settings) {
    QByteArray data;
    try {
        data = encodeJson(settings);
    } catch (const EncodingError&) {
        LumivaneLog::settings.error("Could not encode settings");
        return Outcome::failed;
    }
    const Outcome outcome = attempt([this, &data] { m_defaults.set(data, key); });
    if (outcome == Outcome::stored) {
        LumivaneLog::settings.info(
            "Saved settings; configured=%{bool,public}d paused=%{bool,public}d",
            settings.configured, settings.paused);
    }
    return outcome;
}

SettingsStore::Outcome SettingsStore::attempt(const std::function<void()>& write) const {
    try {
        write();
        return Outcome::stored;
    } catch (const std::exception&) {
        LumivaneLog::settings.error("Could not store settings");
        return Outcome::failed;
    }
}

} // namespace lumivane
