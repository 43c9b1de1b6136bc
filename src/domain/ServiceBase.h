#pragma once

#include "domain/ApplicationInformation.h"

#include <QString>
#include <QUrl>

#include <optional>

namespace lumivane {

/// Where the service is. Both clients choose it in the same way, once, when they are made.
class ServiceBase {
public:
    /// `baseURL`, else the base that the application is set to, else the local service. None when
    /// the endpoint policy refuses the choice; nothing is put in its place.
    static std::optional<ServiceBase> choose(const std::optional<QString>& baseURL,
                                             const ApplicationInformation& information);

    /// The URL of "v1/analyze" and the like.
    QUrl endpoint(const QString& path) const;

    /// The base as it was written, to compare origins with.
    const QString& text() const { return m_text; }

private:
    ServiceBase(QString text, QUrl url);

    QString m_text;
    QUrl m_url;
};

} // namespace lumivane
