#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace lumivane {

/// Which URLs the program talks to at all, and which of those that a server hands it are opened.
///
/// URLs are judged as they are written. The toolkit's URL type turns "127.1" into "127.0.0.1" and
/// other shapes of digits into plain ones, so these operations take text and nothing else.
class LumivaneEndpointPolicy {
public:
    LumivaneEndpointPolicy() = delete;

    /// The URL of a base: https with any host, http with a loopback name, and no user, password,
    /// path, query or fragment, not even empty ones. None when it is refused.
    static std::optional<QUrl> validate(const std::optional<QString>& text);

    /// The URL of a page that a server handed back: any path and query, on the origin of `base`.
    /// A port that is written out and one that is not differ. None when it is refused.
    static std::optional<QUrl> validate(const std::optional<QString>& text,
                                        const QString& matchingOriginOf);

private:
    static bool isPermittedTransport(const QString& scheme, const QString& host);
};

} // namespace lumivane
