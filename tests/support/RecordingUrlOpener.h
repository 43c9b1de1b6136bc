#pragma once

#include "platform/UrlOpener.h"

#include <QList>

#include <functional>

namespace lumivane::test {

/// Opens nothing and writes down what it was to open.
class RecordingUrlOpener final : public UrlOpener {
public:
    bool open(const QUrl& url) override {
        urls.append(url);
        if (opens && onOpen) {
            onOpen();
        }
        return opens;
    }

    QList<QUrl> urls;
    bool opens = true;
    std::function<void()> onOpen; ///< runs inside `open`, as what a fast program does at once
};

} // namespace lumivane::test
