#include "Require.h"
#include "settings/SettingsStore.h"

#include <cstdint>
#include <map>

using namespace lumivane;

// The stored forms of the tests are a corpus: fuzz_settings_store CORPUS tests/data/settings

namespace {

class MemoryDefaults final : public UserDefaults {
public:
    std::optional<QByteArray> data(const QString& key) const override {
        const auto found = contents.find(key);
        return found == contents.end() ? std::nullopt : std::optional(found->second);
    }

    void set(const QByteArray& data, const QString& key) override { contents[key] = data; }

    void removeObject(const QString& key) override { contents.erase(key); }

    void removePersistentDomain() override { contents.clear(); }

    std::map<QString, QByteArray> contents;
};

/// Loads what lies under one key. What comes of it is stored for good or was not taken at all.
void checkUnder(const QString& key, const QByteArray& data) {
    MemoryDefaults defaults;
    defaults.contents[key] = data;
    SettingsStore store(defaults);
    const AppSettings settings = store.load();
    require(defaults.contents.size() == 1);
    const bool isMoved = !defaults.contents.contains(key);
    if (isMoved) {
        require(defaults.contents.contains(SettingsStore::key));
    } else {
        require(defaults.contents.at(key) == data);
    }
    require(key == SettingsStore::key || isMoved || settings == AppSettings::defaults());
    require(store.load() == settings);
    store.save(settings);
    require(store.load() == settings);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QByteArray data(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size));
    checkUnder(SettingsStore::key, data);
    checkUnder(SettingsStore::legacyKeys.front(), data);
    checkUnder(SettingsStore::legacyKey, data);
    return 0;
}
