#pragma once

#include "platform/UrlOpener.h"

#include <QList>

#include <functional>

namespace lumivane::test {

/// Opens addresses of the web in thought, as the desktops do that have a browser and nothing else.
class FakeUrlOpener final : public UrlOpener {
public:
    bool open(const QUrl& url) override {
        asked << url;
        const bool isOfTheWeb = url.scheme() == u"http" || url.scheme() == u"https";
        const bool isOpened = hasBrowser && isOfTheWeb && url.isValid() && !url.host().isEmpty();
        if (isOpened && onOpen) {
            onOpen();
        }
        return isOpened;
    }

    bool hasBrowser = true;
    QList<QUrl> asked;            ///< refused ones included
    std::function<void()> onOpen; ///< runs inside `open`, as what a fast program does at once
};

} // namespace lumivane::test
