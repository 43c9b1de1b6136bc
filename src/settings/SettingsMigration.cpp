#include "settings/SettingsMigration.h"

#include "domain/AppSettingsCoding.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

namespace lumivane {

namespace {

struct Renaming {
    std::string_view key;
    std::string_view oldValue;
    std::string_view newValue;
};

constexpr std::array renamings{
    Renaming{"preset", "interview", "leetcode"},
    Renaming{"overlayBackground", "glass", "graphite"},
    Renaming{"overlayBackground", "tint", "blue"},
    Renaming{"overlayBackground", "purple", "blue"},
    Renaming{"overlayBackground", "amber", "light"},
    Renaming{"overlayTextColor", "teal", "mint"},
    Renaming{"overlayTextColor", "green", "mint"},
    Renaming{"overlayTextColor", "blue", "white"},
    Renaming{"overlayTextColor", "dim", "white"},
    Renaming{"overlayTextColor", "pink", "amber"},
};

/// A stored form before anybody knows its keys and values. A key that is there with null is there.
class StoredForm {
public:
    explicit StoredForm(Json object)
        : m_object(std::move(object)) {
        if (!m_object.is_object()) {
            throw DecodingError(DecodingError::Reason::wrongType);
        }
    }

    const Json& json() const { return m_object; }

    Json* find(std::string_view key) {
        Json* found = nullptr;
        for (auto& [name, value] : m_object.get_ref<Json::object_t&>()) {
            if (name == key) {
                // Which of the two was meant, nobody knows.
                if (found != nullptr) {
                    throw DecodingError(DecodingError::Reason::duplicate);
                }
                found = &value;
            }
        }
        return found;
    }

    std::optional<Json> take(std::string_view key) {
        Json* const found = find(key);
        if (found == nullptr) {
            return std::nullopt;
        }
        std::optional<Json> taken(std::in_place, std::move(*found));
        m_object.erase(std::string(key));
        return taken;
    }

    void addIfMissing(std::string_view key, Json value) {
        if (find(key) == nullptr) {
            m_object[std::string(key)] = std::move(value);
        }
    }

private:
    Json m_object;
};

void rename(StoredForm& form) {
    for (std::size_t index = 0; index < renamings.size(); ++index) {
        const Renaming& renaming = renamings[index];
        Json* const value = form.find(renaming.key);
        if (value != nullptr && *value == renaming.oldValue) {
            *value = renaming.newValue;
        }
    }
}

AnalysisMode formerAnalysisMode(StoredForm& form) {
    const Json* const sendScreenText = form.find("sendScreenText");
    const bool isSent = sendScreenText == nullptr || *sendScreenText != false;
    return isSent ? AnalysisMode::hyperPrivate : AnalysisMode::hyperAccurate;
}

void addWhatCameLater(StoredForm& form) {
    if (auto saveInterviewNotes = form.take("saveInterviewNotes")) {
        form.addIfMissing("saveLeetCodeNotes", *std::move(saveInterviewNotes));
    }
    form.addIfMissing("showInMenuBar", true);
    form.addIfMissing("useDarkAppearance", true);
    form.addIfMissing("showProcessingOverlay", true);
    form.addIfMissing("analysisMode", JsonCoding<AnalysisMode>::encode(formerAnalysisMode(form)));
    form.addIfMissing("saveLeetCodeNotes", true);
}

} // namespace

AppSettings LegacyAppSettings::migrated() const {
    AppSettings settings = AppSettings::defaults();
    settings.configured = configured;
    settings.paused = paused;
    settings.activationMode = activationMode;
    settings.corner = corner;
    settings.hotKey = hotKey;
    settings.preset = preset;
    settings.customPrompt = customPrompt;
    settings.launchAtLogin = launchAtLogin;
    settings.cornerSize = cornerSize;
    settings.pollSeconds = pollSeconds;
    settings.requestTimeoutSeconds = requestTimeoutSeconds;
    settings.dwellSeconds = std::clamp(dwellSeconds + countdownSeconds, 0.0, 2.0);
    settings.resultSeconds = std::clamp(resultSeconds, 1.0, 20.0);
    settings.overlayPosition = OverlayPosition::topRight;
    return settings;
}

LegacyAppSettings JsonCoding<LegacyAppSettings>::decode(const Json& value) {
    const JsonObjectReader reader(value);
    return {
        .configured = reader.required<bool>("configured"),
        .paused = reader.required<bool>("paused"),
        .activationMode = reader.required<ActivationMode>("activationMode"),
        .corner = reader.required<ScreenCorner>("corner"),
        .hotKey = reader.required<HotKey>("hotKey"),
        .preset = reader.required<Preset>("preset"),
        .customPrompt = reader.required<QString>("customPrompt"),
        .launchAtLogin = reader.required<bool>("launchAtLogin"),
        .cornerSize = reader.required<double>("cornerSize"),
        .dwellSeconds = reader.required<double>("dwellSeconds"),
        .countdownSeconds = reader.required<double>("countdownSeconds"),
        .pollSeconds = reader.required<double>("pollSeconds"),
        .requestTimeoutSeconds = reader.required<double>("requestTimeoutSeconds"),
        .resultSeconds = reader.required<double>("resultSeconds"),
    };
}

std::optional<AppSettings> migrateAddingCurrentDefaults(QByteArrayView data) {
    try {
        StoredForm form(parseJson(data));
        rename(form);
        addWhatCameLater(form);
        return JsonCoding<AppSettings>::decode(form.json());
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

} // namespace lumivane
