#pragma once

#include "platform/UrlOpener.h"

#include <QList>

namespace lumivane::test {

/// Opens addresses of the web in thought, as the desktops do that have a browser and nothing else.
class FakeUrlOpener final : public UrlOpener {
public:
    bool open(const QUrl& url) override {
        asked << url;
        const bool isOfTheWeb = url.scheme() == u"http" || url.scheme() == u"https";
        return hasBrowser && isOfTheWeb && url.isValid() && !url.host().isEmpty();
    }

    bool hasBrowser = true;
    QList<QUrl> asked; ///< refused ones included
};

} // namespace lumivane::test
