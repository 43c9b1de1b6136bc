#include "service/ApplicationInformationFile.h"

#include "domain/StrictJson.h"
#include "telemetry/LumivaneLog.h"

#include <QFile>
#include <QFileInfo>

#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

namespace lumivane {

namespace {

QByteArray readWhole(const QString& path) {
    QFile file(path);
    // To open anything but a file could wait for ever.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        throw std::system_error(std::make_error_code(std::errc::io_error));
    }
    QByteArray data = file.read(ApplicationInformationFile::longestFile + 1);
    if (file.error() != QFile::NoError) {
        throw std::system_error(std::make_error_code(std::errc::io_error));
    }
    return data;
}

void replace(std::optional<QString>& field, const JsonObjectReader& reader, std::string_view key) {
    try {
        if (auto later = reader.optional<QString>(key)) {
            field = std::move(later);
        }
    } catch (const DecodingError& error) {
        LumivaneLog::lifecycle.error(
            "A key of application information was ignored; errorType=%{public}s",
            LogTypeName(error));
    }
}

void readInto(ApplicationInformation& information, const QString& path) {
    constexpr JsonLimits limits{.maximumBytes = ApplicationInformationFile::longestFile};
    const Json object = parseJson(readWhole(path), limits);
    const JsonObjectReader reader(object);
    replace(information.CFBundleShortVersionString, reader, "CFBundleShortVersionString");
    replace(information.LumivaneAPIBaseURL, reader, "LumivaneAPIBaseURL");
}

} // namespace

QStringList ApplicationInformationFile::paths(const QString& programFolder,
                                              const QString& configurationFolder) {
    // The program finds its own data from where it stands, so that it can be installed anywhere.
    return {programFolder + u"/../share/lumivane/info.json"_qs,
            configurationFolder + u"/lumivane/info.json"_qs};
}

ApplicationInformation ApplicationInformationFile::load(const QStringList& paths) {
    ApplicationInformation information;
    for (const QString& path : paths) {
        if (!QFileInfo::exists(path)) {
            continue;
        }
        try {
            readInto(information, path);
        } catch (const std::exception& error) {
            LumivaneLog::lifecycle.error(
                "A file of application information was ignored; errorType=%{public}s",
                LogTypeName(error));
        }
    }
    return information;
}

} // namespace lumivane
