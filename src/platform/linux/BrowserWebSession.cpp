#include "platform/linux/BrowserWebSession.h"

#include <utility>

namespace lumivane {

struct BrowserWebSession::Waiting {
    Completion<WebSessionEnd> ended;
    QString scheme;
    std::stop_token stop;

    bool isFor(const QString& url) const {
        return !stop.stop_requested() && url.startsWith(scheme + u':', Qt::CaseInsensitive);
    }
};

BrowserWebSession::BrowserWebSession(UrlOpener& opener)
    : m_opener(&opener) {}

QCoro::Task<WebSessionEnd> BrowserWebSession::run(QUrl page, QString callbackScheme,
                                                  std::stop_token stop) {
    throwIfStopped(stop);
    endWaiting({WebSessionEnd::Kind::cancelledByUser, QString()});
    // It waits before the page opens: a browser with a login state may come back at once.
    const auto waiting = std::make_shared<Waiting>();
    waiting->scheme = callbackScheme;
    waiting->stop = stop;
    m_waiting = waiting;
    if (!m_opener->open(page)) {
        endWaiting({WebSessionEnd::Kind::notStarted, QString()});
    }
    co_return co_await waiting->ended.wait(stop);
}

void BrowserWebSession::deliver(const QString& url) {
    if (m_waiting && m_waiting->isFor(url)) {
        endWaiting({WebSessionEnd::Kind::callback, url});
    } else if (onStrayCallback) {
        onStrayCallback();
    }
}

void BrowserWebSession::endWaiting(const WebSessionEnd& end) {
    if (const auto waiting = std::exchange(m_waiting, nullptr)) {
        waiting->ended.resolve(end);
    }
}

} // namespace lumivane
