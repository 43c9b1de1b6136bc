#include "domain/ServiceBase.h"

#include "domain/LumivaneEndpointPolicy.h"

#include <utility>

namespace lumivane {

namespace {

/// A configured text that is no URL at all counts as not set.
QString candidate(const std::optional<QString>& baseURL,
                  const ApplicationInformation& information) {
    if (baseURL) {
        return *baseURL;
    }
    const auto& configured = information.LumivaneAPIBaseURL;
    const bool isUrl = configured && QUrl(*configured, QUrl::StrictMode).isValid();
    return isUrl ? *configured : u"http://127.0.0.1:8787"_qs;
}

} // namespace

ServiceBase::ServiceBase(QString text, QUrl url)
    : m_text(std::move(text))
    , m_url(std::move(url)) {}

std::optional<ServiceBase> ServiceBase::choose(const std::optional<QString>& baseURL,
                                               const ApplicationInformation& information) {
    const QString text = candidate(baseURL, information);
    const std::optional<QUrl> url = LumivaneEndpointPolicy::validate(text);
    return url ? std::optional(ServiceBase(text, *url)) : std::nullopt;
}

QUrl ServiceBase::endpoint(const QString& path) const {
    // Only bases with an empty path or "/" pass the policy.
    QUrl url = m_url;
    url.setPath(u'/' + path);
    return url;
}

} // namespace lumivane
