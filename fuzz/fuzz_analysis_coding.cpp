#include "Require.h"
#include "domain/AppSettingsCoding.h"
#include "domain/LumivaneEndpointPolicy.h"
#include "records/APIErrorEnvelope.h"
#include "service/AnalysisCoding.h"

#include <cstdint>

using namespace lumivane;

namespace {

/// Decodes or says no; anything else that is thrown ends the process.
template <typename Record>
std::optional<Record> decoded(QByteArrayView data) {
    try {
        return decodeJson<Record>(data);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

void checkRecords(QByteArrayView data) {
    decoded<AnalyzeResponse>(data);
    decoded<HealthResponse>(data);
    decoded<APIErrorEnvelope>(data);
    if (const auto settings = decoded<AppSettings>(data)) {
        require(decodeJson<AppSettings>(encodeJson(*settings)) == *settings);
    }
}

void checkRequest(QByteArrayView data) {
    AnalyzeRequest request;
    request.imageDataURL = JpegDataURL{data.toByteArray()};
    request.screenText = QString::fromUtf8(data);
    request.clientVersion = QString::fromLatin1(data);
    const Json body = parseJson(encodeAnalyzeRequest(request));
    const JsonObjectReader reader(body);
    require(reader.required<QString>("screen_text") == request.screenText);
    require(reader.required<QString>("client_version") == request.clientVersion);
    const QString image = reader.required<QString>("image_data_url");
    require(QByteArray::fromBase64(image.section(u',', 1).toLatin1()) == data);
}

void checkEndpoint(QByteArrayView data) {
    const auto url = LumivaneEndpointPolicy::validate(QString::fromUtf8(data));
    if (url) {
        const QString host = url->host();
        require(url->scheme() == u"https" || host == u"127.0.0.1" || host == u"localhost" ||
                host == u"::1");
        require(!url->authority().contains(u'@') && !url->hasQuery() && !url->hasFragment());
        require(url->path().isEmpty() || url->path() == u"/");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QByteArrayView data(bytes, static_cast<qsizetype>(size));
    checkRecords(data);
    checkRequest(data);
    checkEndpoint(data);
    return 0;
}
