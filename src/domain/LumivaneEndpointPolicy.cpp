#include "domain/LumivaneEndpointPolicy.h"

#include <QRegularExpression>

namespace lumivane {

namespace {

/// A URL with the parts that the toolkit does not keep as they were written.
struct WrittenUrl {
    QUrl url;
    QString host; ///< lower case, an IPv6 address without its brackets
    bool hasUser = false;
};

std::optional<WrittenUrl> read(const std::optional<QString>& text) {
    // The authority by the generic grammar: between "//" and the next "/", "?" or "#".
    static const QRegularExpression grammar(
        u"^[^:/?#]+://(?<user>[^/?#]*@)?(?:\\[(?<address>[^/?#]*)\\]|(?<name>[^/?#:]*))(?::[0-9]*)?"
        u"(?:[/?#]|\\z)"_qs);
    if (!text) {
        return std::nullopt;
    }
    const QUrl url(*text, QUrl::StrictMode);
    const QRegularExpressionMatch match = grammar.match(*text);
    if (!url.isValid() || !match.hasMatch()) {
        return std::nullopt;
    }
    const QString host = match.captured(u"address") + match.captured(u"name");
    // An empty user is a user.
    return WrittenUrl{url, host.toLower(), !match.captured(u"user").isEmpty()};
}

} // namespace

std::optional<QUrl> LumivaneEndpointPolicy::validate(const std::optional<QString>& text) {
    const auto candidate = read(text);
    if (!candidate || candidate->hasUser || candidate->url.hasQuery() ||
        candidate->url.hasFragment()) {
        return std::nullopt;
    }
    const QString path = candidate->url.path(QUrl::FullyEncoded);
    if ((!path.isEmpty() && path != u"/") ||
        !isPermittedTransport(candidate->url.scheme(), candidate->host)) {
        return std::nullopt;
    }
    return candidate->url;
}

std::optional<QUrl> LumivaneEndpointPolicy::validate(const std::optional<QString>& text,
                                                     const QString& matchingOriginOf) {
    const auto candidate = read(text);
    const auto base = read(matchingOriginOf);
    if (!candidate || !base || candidate->hasUser || candidate->url.hasFragment() ||
        !isPermittedTransport(candidate->url.scheme(), candidate->host)) {
        return std::nullopt;
    }
    const bool isSameOrigin = candidate->url.scheme() == base->url.scheme() &&
                              candidate->host == base->host &&
                              candidate->url.port() == base->url.port();
    return isSameOrigin ? std::optional(candidate->url) : std::nullopt;
}

bool LumivaneEndpointPolicy::isPermittedTransport(const QString& scheme, const QString& host) {
    if (host.isEmpty()) {
        return false;
    }
    if (scheme == u"https") {
        return true;
    }
    return scheme == u"http" && (host == u"127.0.0.1" || host == u"localhost" || host == u"::1");
}

} // namespace lumivane
