#include "service/ApplicationInformationFile.h"

#include "domain/StrictJson.h"
#include "telemetry/LumivaneLog.h"

#include <QFile>
#include <QFileInfo>

#include <system_error>
#include <utility>

namespace lumivane {

template <>
struct JsonCoding<ApplicationInformation> {
    static ApplicationInformation decode(const Json& value) {
        const JsonObjectReader reader(value);
        return {.CFBundleShortVersionString =
                    reader.optional<QString>("CFBundleShortVersionString"),
                .LumivaneAPIBaseURL = reader.optional<QString>("LumivaneAPIBaseURL")};
    }
};

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

void replace(std::optional<QString>& field, std::optional<QString> later) {
    if (later) {
        field = std::move(later);
    }
}

void readInto(ApplicationInformation& information, const QString& path) {
    constexpr JsonLimits limits{.maximumBytes = ApplicationInformationFile::longestFile};
    auto later = decodeJson<ApplicationInformation>(readWhole(path), limits);
    replace(information.CFBundleShortVersionString, std::move(later.CFBundleShortVersionString));
    replace(information.LumivaneAPIBaseURL, std::move(later.LumivaneAPIBaseURL));
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
