#include "provisional/StoredFiles.h"

#include "domain/AppSettingsCoding.h"
#include "domain/StrictJson.h"

#include <QFile>
#include <QStandardPaths>

#include <optional>

namespace lumivane::StoredFiles {

namespace {

std::optional<Json> readJson(const QString& name) {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    QFile file(folder + u"/lumivane/"_qs + name);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    constexpr qint64 longestFile = 1024 * 1024;
    return parseJson(file.read(longestFile));
}

} // namespace

AppSettings settings() {
    try {
        if (const auto json = readJson(u"settings.json"_qs)) {
            return JsonCoding<AppSettings>::decode(*json);
        }
    } catch (const DecodingError&) {
        // As with no file at all.
    }
    AppSettings settings = AppSettings::defaults();
    settings.configured = true;
    return settings;
}

ApplicationInformation applicationInformation() {
    ApplicationInformation information;
    try {
        if (const auto json = readJson(u"info.json"_qs)) {
            const JsonObjectReader reader(*json);
            information.CFBundleShortVersionString =
                reader.optional<QString>("CFBundleShortVersionString");
            information.LumivaneAPIBaseURL = reader.optional<QString>("LumivaneAPIBaseURL");
        }
    } catch (const DecodingError&) {
        // As with no file at all.
    }
    return information;
}

QString developmentTokenFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           u"/lumivane-service/development-token"_qs;
}

} // namespace lumivane::StoredFiles
