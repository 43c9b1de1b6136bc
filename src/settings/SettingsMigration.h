#pragma once

#include "domain/AppSettings.h"
#include "domain/StrictJson.h"

#include <QByteArrayView>

#include <optional>

namespace lumivane {

/// The first stored form, in the order of its keys, all of which are required.
struct LegacyAppSettings {
    bool configured = false;
    bool paused = false;
    ActivationMode activationMode = ActivationMode::corner;
    ScreenCorner corner = ScreenCorner::bottomRight;
    HotKey hotKey;
    Preset preset = Preset::summary;
    QString customPrompt;
    bool launchAtLogin = false;
    double cornerSize = 0;
    double dwellSeconds = 0;
    double countdownSeconds = 0; ///< was waited for after the dwell; today there is one time only
    double pollSeconds = 0;
    double requestTimeoutSeconds = 0;
    double resultSeconds = 0;

    /// Today's settings: what was chosen then, with the two waits as one, the result where it
    /// stood then, and defaults for all that came later.
    AppSettings migrated() const;
};

/// The first form is read and never written again.
template <>
struct JsonCoding<LegacyAppSettings> {
    static LegacyAppSettings decode(const Json& value);
};

/// Reads every form from the second to the last but one: renames what was renamed and adds what
/// came later. None for data that is not such a form, or that lacks anything else.
std::optional<AppSettings> migrateAddingCurrentDefaults(QByteArrayView data);

} // namespace lumivane
