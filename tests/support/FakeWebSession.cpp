#include "support/FakeWebSession.h"

#include <utility>

namespace lumivane::test {

QCoro::Task<WebSessionEnd> FakeWebSession::run(QUrl page, QString callbackScheme,
                                               std::stop_token stop) {
    throwIfStopped(stop);
    end({WebSessionEnd::Kind::cancelledByUser, QString()});
    m_pages.append(page);
    m_scheme = callbackScheme;
    if (!startsPages) {
        co_return WebSessionEnd{WebSessionEnd::Kind::notStarted, QString()};
    }
    const Completion<WebSessionEnd> ended;
    m_waiting = std::make_unique<Waiting>(Waiting{ended, stop});
    co_return co_await ended.wait(stop);
}

bool FakeWebSession::isWaiting() const { return m_waiting && !m_waiting->stop.stop_requested(); }

void FakeWebSession::deliver(const QString& url) {
    if (isWaiting() && url.startsWith(m_scheme + u':', Qt::CaseInsensitive)) {
        end({WebSessionEnd::Kind::callback, url});
    } else if (onStrayCallback) {
        onStrayCallback();
    }
}

void FakeWebSession::end(const WebSessionEnd& end) {
    if (const auto waiting = std::exchange(m_waiting, nullptr)) {
        waiting->ended.resolve(end);
    }
}

} // namespace lumivane::test
